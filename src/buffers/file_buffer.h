// FileBuffer: the one store that compiled code goes into before it reaches the target file. It holds numbered byte
// buffers, the labels in them, the pointers that wait for their targets, and the file positions of labels.
//
// file_buffer.cpp fills and reads it, burn.cpp writes it into the target file, buffer_file.cpp writes and reads all of
// it as a buffer file.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/collection.h"
#include "buffers/burn_record.h"
#include "buffers/foffsett.h"
#include "files/file_handle.h"
#include "script/smart_num.h"

namespace tidewright {

/// Something that is no bytes, kept in a buffer slot by add_Picture.
struct Picture {
  std::string type_name;
};

/// What a buffer slot holds: nothing, bytes (one per character), or an object.
using Slot = std::variant<std::monostate, std::string, Picture>;

class BufferFields;

class FileBuffer {
 public:
  static constexpr int kSlots = 17;      // 16 is the text buffer: comments and decoded text
  static constexpr int kLabelSets = 16;  // one per buffer 0 to 15
  static constexpr int kTextBuffer = 16;

  /// A registered pointer's Offset is buffer x kBufferSpan + position, so positions must stay below it.
  static constexpr std::int32_t kBufferSpan = 100000;

  /// Messages and the target file go through `files`, pointer values through `bank`; both outlive the buffers.
  FileBuffer(FileHandle& files, const Bank& bank);

  /// The buffer that lines are written into when nothing else is said; "org" sets it.
  std::uint8_t default_buffer = 0;

  // The current point, which the next write describes.
  const std::string& inname() const { return point_.name; }
  void inname(std::string name) { point_.name = std::move(name); }
  std::int32_t inoffsett() const { return point_.Offset; }
  void inoffsett(std::int32_t offset) { point_.Offset = offset; }
  std::int16_t inmode() const { return point_.mode; }
  void inmode(std::int16_t mode) { point_.mode = mode; }
  std::uint8_t inbuffer() const { return point_.buffer; }
  void inbuffer(std::uint8_t buffer);
  std::uint8_t previous_buffer() const { return previous_buffer_; }

  /// Makes the record under `key`, or at 1-based `position`, the current point and returns it: a label of set 0 to 15,
  /// a pointer for 16 and above. What is not found leaves a fresh record. A negative set raises SubscriptOutOfRange.
  const fOffsett& get_Point(std::string_view key, int set);
  const fOffsett& get_Point(std::size_t position, int set);

  /// The number of labels in set 0 to 15, of pointers for 16. Raises SubscriptOutOfRange.
  std::int32_t count(int set) const;

  /// Slot 0 to 16, whole. Raises SubscriptOutOfRange.
  const Slot& buffer(int index) const { return slots_[slot_index(index)]; }
  void buffer(int index, Slot content) { slots_[slot_index(index)] = std::move(content); }
  bool has_label(std::string_view name, int set) const { return labels_[set_index(set)].find(name) != nullptr; }
  /// The bytes of a slot; empty where it holds none.
  std::string_view bytes(int index) const;
  /// Appends to a slot that is empty or holds bytes. Raises TypeMismatch for one that holds an object.
  void append(int index, std::string_view bytes);

  /// Whether there is nothing in any slot, label or pointer set, and nothing is pushed.
  bool blank() const;

  /// The pointers that are registered in buffer 0 to 15, by position; their Offsets are the combined ones. Those that
  /// pointerpoke() made are not among them. They are gone with the next change.
  std::vector<const fOffsett*> placed_pointers(int buffer) const;

  /// Puts an object into a slot that is empty; index -1 takes, and becomes, the current buffer. A slot that holds
  /// something else is told in a notice and stays.
  void add_Picture(Picture picture, std::int16_t& index);

  /// Compiles blank-separated values by a kind list and appends them through add_Data.
  void add_Value(std::string_view values, std::string kinds);

  /// Appends `bytes` to the current buffer, registers the pointers of `pointers` (triples value,position,kind) and,
  /// where the current point has a name, the label at their start. The current point is fresh afterwards. Raises
  /// SubscriptOutOfRange for a buffer that is none, DuplicateKey, and Overflow for a pointer at position 100000 and
  /// above; nothing is appended then.
  void add_Data(std::string_view bytes, std::string_view pointers);
  /// The same with the pointers themselves.
  void add_Data(std::string_view bytes, std::span<const CodedPointer> pointers);

  /// The name of a label that no byte followed yet, and what to do with it: make it mark the end of the default buffer,
  /// or forget it.
  bool label_waits() const { return !point_.name.empty(); }
  void place_waiting_label();
  void forget_waiting_label() { point_ = {}; }

  /// The bytes from the label at 1-based `position` of a set to the next label or the buffer's end. That label becomes
  /// the current point. Empty where anything of it is wrong; set 16 and above raise SubscriptOutOfRange.
  std::string_view Get_Data(std::size_t position, int set);

  /// Gives `name` a file position, in place of an earlier one.
  void pushoffsett(std::string_view name, std::int32_t offset);
  /// The file position of `name`, 0 when it has none.
  std::int32_t pushed(std::string_view name) const;

  /// For each first item n of the pairs in `list` (comma-separated): where a pointer is registered n - 1 bytes behind
  /// the current point, every "$n" of `text` that no further digit follows becomes that pointer's name.
  void PointerPeek(std::string& text, std::string_view list) const;

  /// Registers a pointer, under its value text, for each pair (value, kind) of `list`. While autobank is on its Offset
  /// is the value without the bank base, else 0. A value that is registered already is left alone.
  void pointerpoke(std::string_view list);

  /// Gives every label a file position, patches every pointer and writes every labelled chunk into the current file. A
  /// label or pointer that fails is skipped and told; nothing is raised. The chunks are written whole or not at all,
  /// with a journal of the burn beside the file while `journal` is set: see BurnJournal. The buffers stay, so a burn
  /// can be repeated.
  void burnbuffer(bool journal = true);

  /// Patches the pointer at 1-based `index` of the pointer set in its buffer; the user is asked for a target that
  /// nothing gives. Failures are told.
  void pointerpop(std::size_t index);

  /// Places a waiting label, and raises Overflow where the buffers hold more than a buffer file can: so a file need not
  /// be opened, and an old one replaced, in vain.
  void check_writable();

  /// Writes bytes, labels, pointers and comment into the current file, after check_writable(). An empty text buffer
  /// becomes "NO COMMENT". Objects are not written, nor pointers that stand in no buffer. Raises what writing raises.
  void writebuffer();

  /// Adds what a buffer file, the current file, holds. `name`, when it is not empty, becomes its lower-case form and a
  /// dot, and is put before every label's and pointer's name. False, and a message box, for a file that is no buffer
  /// file. One that is damaged raises an error that names the field and its place: InputPastEnd where the file was cut
  /// short, and all before that field is kept; for any other fault the buffers stay as they were.
  bool readbuffer(std::string& name);

 private:
  static std::size_t slot_index(int index);
  static std::size_t set_index(int index);
  static std::string pointer_key(std::int32_t combined);
  struct Registration {
    std::string key;
    fOffsett pointer;
  };
  std::vector<Registration> registrations(std::span<const CodedPointer> pointers, std::uint8_t buffer,
                                          std::size_t length) const;

  bool stands_in_buffer(const fOffsett& pointer) const;
  std::size_t standing_pointers() const;
  void drop_comment();
  void drop_record(const fOffsett& record);
  void drop_contents();
  void grab(BufferFields& fields, std::string_view prefix);
  void grab_pointer(BufferFields& fields, std::string_view prefix);
  void grab_label(BufferFields& fields, std::string_view prefix, std::uint8_t group);
  void grab_section(BufferFields& fields);

  void place_labels();
  void place_label(const fOffsett& label, std::optional<std::int32_t>& position, std::int16_t& last_offset);
  std::int32_t named_position(std::string_view name, std::string_view text) const;
  std::int32_t target_of(const std::string& name);
  void patch(const fOffsett& pointer);
  std::vector<BurnChunk> planned(std::string_view filler);
  BurnChunk planned_chunk(std::size_t position, int set, std::int32_t place, std::string_view filler);
  std::string filler() const;
  bool agreed(const std::vector<BurnChunk>& chunks);
  void tell_overlaps(const std::vector<BurnChunk>& chunks);
  void tell_unwritten(int buffer);
  void tell_failure(std::string_view what, const fOffsett& point, std::string_view why);

  FileHandle* files_;
  const Bank* bank_;
  SmartNum num_;
  std::array<Slot, kSlots> slots_;
  std::array<Collection<fOffsett>, kLabelSets> labels_;
  Collection<fOffsett> pointers_;
  Collection<std::int32_t> pushed_;
  fOffsett point_;
  std::uint8_t previous_buffer_ = 0;
  std::int16_t fill_ = -1;  // 0 to 255 burns that byte in place of the data
};

}  // namespace tidewright

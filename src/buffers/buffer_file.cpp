// FileBuffer's buffer files: all that the buffers hold, written into a file ("dropped") and read back ("grabbed").
// docs/buffer-files.md shows the bytes.
#include <algorithm>
#include <utility>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "base/version.h"
#include "buffers/file_buffer.h"

namespace tidewright {
namespace {

constexpr std::string_view kSiblingTitle = "Platten";  // the sibling tool marks its files so
constexpr std::string_view kNoComment = "NO COMMENT";
constexpr std::size_t kMost = FileHandle::kLongestPut;

void refuse_above_most(std::size_t count, std::initializer_list<Piece> what) {
  if (count > kMost) raise(ErrorNumber::overflow, cat({count, cat(what), ": a buffer file holds ", kMost}));
}

// A pointer "$shop" finds the label `shop`, so the mark stays in front: "$house.shop" finds "house.shop".
std::string prefixed(std::string_view prefix, std::string name) {
  return name.insert(!prefix.empty() && name.starts_with('$') ? 1 : 0, prefix);
}

}  // namespace

/// The fields of a buffer file, in order. What is no such field, or is cut short, raises an error that names the field
/// and its place; nothing beyond the file's end is ever read or kept room for.
class BufferFields {
 public:
  /// Whose fields are read: "label 3 of buffer 0", or the file's own.
  struct Owner {
    std::string_view kind;
    std::size_t number = 0;
    std::string_view group_kind = {};
    std::size_t group = 0;
  };

  explicit BufferFields(FileHandle& files) : files_(files), length_(files.length()) {}

  void owner(const Owner& owner) { owner_ = owner; }
  bool at_end() const { return left() <= 0; }

  /// Whether the file begins with the marker of a buffer file; reads it then.
  bool has_marker();

  std::uint8_t byte(std::string_view field) { return static_cast<std::uint8_t>(whole(field, "byte", 1)); }
  std::int16_t integer(std::string_view field) { return static_cast<std::int16_t>(whole(field, "int", 2)); }
  std::int32_t long_integer(std::string_view field) { return whole(field, "long", 4); }
  /// A buffer's number, 0 to 16.
  std::uint8_t buffer();
  /// A number of things that follow.
  std::size_t count(std::string_view field);
  std::string text(std::string_view field);
  std::string name();

  /// Raises an error about the field read last.
  [[noreturn]] void fail(ErrorNumber number, std::string_view why = {}) const;

 private:
  std::int64_t left() const { return length_ - files_.position(); }
  void begin(std::string_view field, std::int64_t size);
  std::int32_t number(std::string_view type);
  std::int32_t whole(std::string_view field, std::string_view type, std::int64_t size);

  FileHandle& files_;
  std::int64_t length_;
  Owner owner_;
  std::string_view field_;
  std::int64_t start_ = 0;
};

bool BufferFields::has_marker() {
  for (const std::string_view title : {kTitle, kSiblingTitle}) {
    const std::string marker =
        cat({static_cast<char>(FileHandle::kStringTag), '\0', static_cast<char>(title.size()), '\0', title});
    files_.SeekData(0);
    if (left() >= static_cast<std::int64_t>(marker.size()) && files_.getblock(marker.size()) == marker) return true;
  }
  return false;
}

void BufferFields::begin(std::string_view field, std::int64_t size) {
  field_ = field;
  start_ = files_.position();
  if (left() < size) fail(ErrorNumber::input_past_end);
}

std::int32_t BufferFields::number(std::string_view type) {
  files_.lineno(0);  // a 16-bit counter of lines: fields are too many for it
  return static_cast<std::int32_t>(std::get<double>(files_.getdata(type)));
}

std::int32_t BufferFields::whole(std::string_view field, std::string_view type, std::int64_t size) {
  begin(field, size);
  return number(type);
}

std::size_t BufferFields::count(std::string_view field) {
  const std::int16_t count = integer(field);
  if (count < 0) fail(ErrorNumber::overflow, cat({count, " is no count"}));
  return static_cast<std::size_t>(count);
}

std::uint8_t BufferFields::buffer() {
  const std::uint8_t buffer = byte("buffer");
  if (buffer >= FileBuffer::kSlots) fail(ErrorNumber::subscript_out_of_range, cat({"there is no buffer ", buffer}));
  return buffer;
}

std::string BufferFields::text(std::string_view field) {
  begin(field, 4);
  if (number("int") != FileHandle::kStringTag) fail(ErrorNumber::type_mismatch, "it is no text");
  const std::int32_t size = number("int");
  if (size < 0) fail(ErrorNumber::overflow, cat({size, " is no length"}));
  if (size > left()) fail(ErrorNumber::input_past_end);
  return files_.getblock(static_cast<std::size_t>(size));
}

// A name as scripts have them. One that holds a blank, a line end or a ";" would come back as other lines of a script.
std::string BufferFields::name() {
  std::string name = text("name");
  const auto cuts = [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == ';' || c == '"'; };
  if (std::any_of(name.begin(), name.end(), cuts)) fail(ErrorNumber::type_mismatch, "it is no word");
  return name;
}

void BufferFields::fail(ErrorNumber number, std::string_view why) const {
  std::string text = cat({"the ", field_});
  if (!owner_.kind.empty()) text += cat({" of ", owner_.kind, " ", owner_.number});
  if (!owner_.group_kind.empty()) text += cat({" of ", owner_.group_kind, " ", owner_.group});
  text += cat({", at byte ", start_, " of ", files_.data_file().name()});
  if (!why.empty()) text += cat({": ", why});
  raise(number, text);
}

// ---- drop ----

// Whether the pointer is one of a buffer: the pointers that a decoder has met are kept in the same set, under their
// values, and patching a buffer for them would spoil it.
bool FileBuffer::stands_in_buffer(const fOffsett& pointer) const {
  return pointers_.find(pointer_key(pointer.Offset)) == &pointer;
}

std::size_t FileBuffer::standing_pointers() const {
  std::size_t count = 0;
  for (std::size_t i = 1; i <= pointers_.count(); ++i) count += stands_in_buffer(pointers_.at(i)) ? 1U : 0U;
  return count;
}

void FileBuffer::check_writable() {
  place_waiting_label();
  refuse_above_most(bytes(kTextBuffer).size(), {" bytes of comment"});
  refuse_above_most(standing_pointers(), {" pointers"});
  for (std::size_t i = 1; i <= pointers_.count(); ++i) {
    refuse_above_most(pointers_.at(i).name.size(), {" bytes in the name of pointer ", i});
  }
  for (int b = 0; b < kLabelSets; ++b) {
    const Collection<fOffsett>& labels = labels_[set_index(b)];
    refuse_above_most(labels.count(), {" labels in buffer ", b});
    for (std::size_t i = 1; i <= labels.count(); ++i) {
      refuse_above_most(labels.at(i).name.size(), {" bytes in the name of label ", i, " of buffer ", b});
    }
  }
}

void FileBuffer::writebuffer() {
  check_writable();
  files_->putdata("string", std::string(kTitle));
  drop_comment();
  const std::size_t standing = standing_pointers();
  files_->putdata("int", static_cast<double>(standing));
  files_->echo({"DROPPING ", standing, " Pointers"});
  for (std::size_t i = 1; i <= pointers_.count(); ++i) {
    if (stands_in_buffer(pointers_.at(i))) drop_record(pointers_.at(i));
  }
  if (standing < pointers_.count()) {
    files_->echo({" - ", pointers_.count() - standing, " pointers that stand in no buffer are left out"});
  }
  for (const Collection<fOffsett>& labels : labels_) {
    files_->putdata("int", static_cast<double>(labels.count()));
    if (labels.count() > 0) files_->echo({"DROPPING ", labels.count(), " Offsetts"});
    for (std::size_t i = 1; i <= labels.count(); ++i) drop_record(labels.at(i));
  }
  drop_contents();
}

void FileBuffer::drop_comment() {
  Slot& slot = slots_[kTextBuffer];
  const bool holds_object = std::holds_alternative<Picture>(slot);
  if (!holds_object && bytes(kTextBuffer).empty()) slot = std::string(kNoComment);
  std::string comment(holds_object ? kNoComment : bytes(kTextBuffer));
  files_->echo({"COMMENT BUFFER DROP ", comment.size(), " [", comment, "]"});
  files_->putdata("string", std::move(comment));
}

void FileBuffer::drop_record(const fOffsett& record) {
  std::string name = lowered(record.name);
  files_->echo({name, " at buffer ", record.buffer, " position ", record.Offset});
  files_->putdata("byte", static_cast<double>(record.buffer));
  files_->putdata("long", static_cast<double>(record.Offset));
  files_->putdata("int", static_cast<double>(record.mode));
  files_->putdata("string", std::move(name));
}

void FileBuffer::drop_contents() {
  int dropped = 0;
  for (int b = 0; b < kLabelSets; ++b) {
    const std::string_view content = bytes(b);
    if (content.empty()) continue;
    // A text longer than a field can be is written in several, which the reader joins.
    for (std::size_t start = 0; start < content.size(); start += kMost) {
      files_->putdata("byte", static_cast<double>(b));
      files_->putdata("string", std::string(content.substr(start, kMost)));
    }
    files_->echo({"BUFFER ", b, " DROP:  [", content.size(), "]"});
    ++dropped;
  }
  files_->echo("|");
  files_->echo({"\\- Processed ", dropped, " Buffers"});
  files_->echo(" ");
}

// ---- grab ----

bool FileBuffer::readbuffer(std::string& name) {
  if (!name.empty()) name = cat({lowered(name), "."});
  BufferFields fields(*files_);
  if (!fields.has_marker()) {
    files_->message_box(cat({"NOT A ", kTitle, " Buffer file!"}));
    return false;
  }
  FileBuffer grabbed(*this);
  try {
    grabbed.place_waiting_label();
    grabbed.grab(fields, name);
  } catch (const RuntimeError& error) {
    // What stands before a cut is sound.
    if (error.number == ErrorNumber::input_past_end) *this = std::move(grabbed);
    throw;
  }
  *this = std::move(grabbed);
  return true;
}

void FileBuffer::grab(BufferFields& fields, std::string_view prefix) {
  std::string comment = fields.text("comment");
  files_->echo({"COMMENT BUFFER GRAB: ", comment});
  files_->echo(" ");
  files_->echo(" ");
  slots_[kTextBuffer] = std::move(comment);

  const std::size_t pointers = fields.count("number of pointers");
  files_->echo({"GRABBING ", pointers, " Pointers"});
  for (std::size_t i = 1; i <= pointers; ++i) {
    fields.owner({"pointer", i});
    grab_pointer(fields, prefix);
  }
  for (std::size_t b = 0; b < kLabelSets; ++b) {
    fields.owner({"buffer", b});
    const std::size_t labels = fields.count("number of labels");
    if (labels > 0) files_->echo({"GRABBING ", labels, " Offsetts"});
    for (std::size_t i = 1; i <= labels; ++i) {
      fields.owner({"label", i, "buffer", b});
      grab_label(fields, prefix, static_cast<std::uint8_t>(b));
    }
  }
  for (std::size_t i = 1; !fields.at_end(); ++i) {
    fields.owner({"section", i});
    grab_section(fields);
  }
}

void FileBuffer::grab_pointer(BufferFields& fields, std::string_view prefix) {
  fOffsett pointer;
  pointer.buffer = fields.buffer();
  pointer.Offset = fields.long_integer("offset");
  // Either the combined form, as registered, or the position alone.
  const std::int32_t start = pointer.buffer * kBufferSpan;
  if (pointer.Offset >= 0 && pointer.Offset < kBufferSpan) pointer.Offset += start;
  if (pointer.Offset < start || pointer.Offset - start >= kBufferSpan) {
    fields.fail(ErrorNumber::subscript_out_of_range, cat({pointer.Offset, " is no place of buffer ", pointer.buffer}));
  }
  std::string key = pointer_key(pointer.Offset);
  if (pointers_.find(key) != nullptr) fields.fail(ErrorNumber::duplicate_key, cat({key, " has a pointer already"}));
  pointer.mode = fields.integer("mode");
  pointer.name = fields.name();
  // A number has one form, whatever case it was written in.
  const bool number = pointer.name.starts_with("&h") && number_prefix(pointer.name).length == pointer.name.size();
  if (number) pointer.name = "&h" + hex(to_long(Val(pointer.name)));
  pointer.name = prefixed(prefix, std::move(pointer.name));
  pointers_.add(std::move(key), std::move(pointer));
}

void FileBuffer::grab_label(BufferFields& fields, std::string_view prefix, std::uint8_t group) {
  fOffsett label;
  label.buffer = fields.byte("buffer");
  if (label.buffer != group) {
    fields.fail(ErrorNumber::subscript_out_of_range, cat({"it stands among those of buffer ", group}));
  }
  // An Offset behind the buffer's end does no harm: the chunk there is empty. (A file that was cut short has many.)
  label.Offset = fields.long_integer("offset");
  if (label.Offset < 0) fields.fail(ErrorNumber::subscript_out_of_range, cat({label.Offset, " is no place"}));
  label.mode = fields.integer("mode");
  label.name = prefixed(prefix, fields.name());
  Collection<fOffsett>& labels = labels_[set_index(group)];
  if (labels.find(label.name) != nullptr) fields.fail(ErrorNumber::duplicate_key, label.name);
  std::string key = label.name;
  labels.add(std::move(key), std::move(label));
}

void FileBuffer::grab_section(BufferFields& fields) {
  const int index = fields.buffer();
  const std::string content = fields.text("content");
  if (std::holds_alternative<Picture>(buffer(index))) {
    fields.fail(ErrorNumber::type_mismatch, cat({"buffer ", index, " holds an object"}));
  }
  append(index, content);
  files_->echo({"BUFFER ", index, " GRAB:  [", content.size(), "]"});
}

}  // namespace tidewright

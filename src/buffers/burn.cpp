// FileBuffer's burning: labels get file positions, pointers their targets, and the chunks go into the target file.
#include <algorithm>
#include <limits>
#include <optional>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "buffers/file_buffer.h"

namespace tidewright {
namespace {

constexpr std::size_t kLongestPut = FileHandle::kLongestPut;

bool holds_number(std::string_view name) {
  return number_prefix(SmartNum::position_text(name)).length > 0;
}

// `position` and `distance` bytes on; nothing where that is no place in a file.
std::optional<std::int32_t> moved(std::optional<std::int32_t> position, std::int64_t distance) {
  const std::int64_t place = position.value_or(-1) + distance;
  if (!position || place < 0 || place > std::numeric_limits<std::int32_t>::max()) return {};
  return static_cast<std::int32_t>(place);
}

}  // namespace

void FileBuffer::burnbuffer() {
  place_waiting_label();
  place_labels();
  for (std::size_t index = 1; index <= pointers_.count(); ++index) pointerpop(index);
  write_chunks();
  point_ = {};  // what was looked at last is no label of what comes next
}

void FileBuffer::tell_failure(std::string_view what, const fOffsett& point, std::string_view why) {
  files_->echo_fault(cat({" - Skipped ", what, " ", point.name, " of buffer ", point.buffer, ": ", why}));
}

void FileBuffer::place_labels() {
  // Where the next label stands that has no place of its own; nothing behind a label that could not be placed, for what
  // follows it must not land at the start of the file.
  std::optional<std::int32_t> position = 0;
  for (int b = 0; b < kLabelSets; ++b) {
    std::int16_t last_offset = 0;
    const Collection<fOffsett>& labels = labels_[static_cast<std::size_t>(b)];
    for (std::size_t j = 1; j <= labels.count(); ++j) {
      try {
        place_label(labels.at(j), position, last_offset);
      } catch (const RuntimeError& error) {
        position.reset();
        tell_failure("label", labels.at(j), error.description);
      }
    }
    position = moved(position, static_cast<std::int64_t>(bytes(b).size()) - last_offset);
  }
}

void FileBuffer::place_label(const fOffsett& label, std::optional<std::int32_t>& position, std::int16_t& last_offset) {
  // A position that was given counts, but the next label is measured from the last one that was not given.
  if (const std::int32_t given = pushed(label.name); given != 0) {
    position = moved(given, 0);
    return;
  }
  const std::string_view text = SmartNum::position_text(label.name);
  const bool named = SmartNum::isvalue(text, false);
  position = named ? moved(named_position(label.name, text), 0) : moved(position, label.Offset - last_offset);
  if (!position) raise(ErrorNumber::invalid_call, "it has no place in the file, nor has what it follows");
  pushoffsett(label.name, *position);
  constexpr std::int32_t kLastHeld = std::numeric_limits<std::int16_t>::max();
  if (label.Offset <= kLastHeld) {
    last_offset = static_cast<std::int16_t>(label.Offset);
  } else {
    files_->echo({" - Label ", label.name, " lies beyond byte ", kLastHeld, " of buffer ", label.buffer,
                  ": the labels after it move apart"});
  }
}

// The position that `text`, the end of a label's name, gives it.
std::int32_t FileBuffer::named_position(std::string_view name, std::string_view text) const {
  const NumberPrefix number = number_prefix(text);
  if (number.length == 0) raise(ErrorNumber::type_mismatch, cat({"\"", text, "\" is no number"}));
  if (number.length < text.size()) {
    files_->echo({" - Only ", text.substr(0, number.length), " of ", text, " is read in the label ", name});
  }
  return to_long(number.value);
}

void FileBuffer::pointerpop(std::size_t index) {
  // The point is a copy: the record keeps its combined Offset, so that a second burn patches the same bytes.
  get_Point(index, kLabelSets);
  point_.buffer = static_cast<std::uint8_t>(point_.Offset / kBufferSpan);
  point_.Offset -= point_.buffer * kBufferSpan;
  try {
    patch(point_);
  } catch (const RuntimeError& error) {
    tell_failure("pointer", point_, error.description);
  }
}

// The pointer value for a target: its position, the number its name holds, or what the user says.
std::int32_t FileBuffer::target_of(const std::string& name) {
  std::int32_t target = pushed(name);
  if (target == 0 && name.starts_with('$')) target = pushed(std::string_view(name).substr(1));
  if (target != 0) return num_.CPtr(static_cast<double>(target));
  std::string text(SmartNum::position_text(name));
  if (!holds_number(name)) {
    text = files_->input_box(cat({"Enter offset for ", name, ":"}), "Floating Pointer must be pushed");
    replace_all(text, "0x", "&h");
  }
  return num_.CPtr(text);
}

void FileBuffer::patch(const fOffsett& pointer) {
  const std::int32_t target = target_of(pointer.name);
  files_->echo({" - Adjusting ", pointer.name, " in ", pointer.buffer, " at ", hex(target)});
  if (target == 0) files_->notice_box("Floating Pointers Must Be Pushed");
  auto* const content = std::get_if<std::string>(&slots_[slot_index(pointer.buffer)]);
  if (content == nullptr) raise(ErrorNumber::type_mismatch, "the buffer holds no bytes");
  const std::size_t start = std::min(static_cast<std::size_t>(pointer.Offset), content->size());
  content->replace(start, kPointerPlaceholder.size(), SmartNum::pointer_bytes(target));
}

void FileBuffer::write_chunks() {
  const std::int64_t length_before = files_->length();
  for (int b = 0; b < kLabelSets; ++b) {
    tell_unwritten(b);
    const Collection<fOffsett>& labels = labels_[static_cast<std::size_t>(b)];
    for (std::size_t j = 1; j <= labels.count(); ++j) {
      try {
        write_chunk(j, b);
      } catch (const RuntimeError& error) {
        tell_lost(error.description);
        tell_failure("label", labels.at(j), error.description);
      }
    }
  }
  flush_chunks();
  const std::int64_t length = files_->length();
  if (length > length_before) files_->echo({" - The file has grown from ", length_before, " to ", length, " bytes"});
}

// Gives the chunks that stand in the file's write buffer to the platform.
void FileBuffer::flush_chunks() {
  try {
    if (files_->unflushed() > 0) files_->flush_data();
  } catch (const RuntimeError& error) {
    tell_lost(error.description);
  }
  in_flight_.clear();
}

// Tells of the chunks that stood in the file's write buffer and did not arrive when it was given to the platform.
void FileBuffer::tell_lost(std::string_view why) {
  if (in_flight_.empty() || files_->unflushed() > 0) return;
  const std::int64_t reached = files_->position();
  for (const Chunk& chunk : in_flight_) {
    if (chunk.end > reached) tell_failure("label", *chunk.label, why);
  }
  in_flight_.clear();
}

void FileBuffer::write_chunk(std::size_t position, int set) {
  std::string_view data = Get_Data(position, set);
  // A label without a position was skipped, and told, when positions were given.
  const std::int32_t* const given = pushed_.find(point_.name);
  if (given == nullptr) return;
  const std::int32_t place = *given;
  // What waits is written now where this chunk does not follow it: its failure is not this one's.
  if (files_->unflushed() >= kLongestPut || (files_->unflushed() > 0 && files_->position() != place)) flush_chunks();
  files_->SeekData(place);
  if (place < 0) raise(ErrorNumber::invalid_call, "its position lies before the file");
  std::string filler;
  if (fill_ >= 0) data = filler.assign(data.size(), static_cast<char>(fill_));
  files_->echo({" - Putting [", data, "] at ", hex(place)});
  for (std::size_t start = 0; start < data.size(); start += kLongestPut) {
    files_->putblock(data.substr(start, kLongestPut));
  }
  in_flight_.push_back({&labels_[set_index(set)].at(position), place + static_cast<std::int64_t>(data.size())});
}

void FileBuffer::tell_unwritten(int buffer) {
  const Collection<fOffsett>& labels = labels_[static_cast<std::size_t>(buffer)];
  const std::size_t unwritten =
      labels.count() == 0 ? bytes(buffer).size() : static_cast<std::size_t>(labels.at(1).Offset);
  if (unwritten == 0) return;
  files_->echo({" - ", unwritten, " bytes before the first label of buffer ", buffer, " are not written"});
}

}  // namespace tidewright

// FileBuffer's burning: labels get file positions, pointers their targets, and the chunks are planned that go into the
// target file.
#include <algorithm>
#include <limits>
#include <optional>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "buffers/burn_journal.h"
#include "buffers/file_buffer.h"

namespace tidewright {
namespace {

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

void FileBuffer::burnbuffer(bool journal) {
  place_waiting_label();
  place_labels();
  for (std::size_t index = 1; index <= pointers_.count(); ++index) pointerpop(index);
  const std::string fill = filler();
  const std::vector<BurnChunk> chunks = planned(fill);
  tell_overlaps(chunks);
  try {
    BurnJournal image(*files_);
    if (agreed(chunks)) {
      image.burn(chunks, journal);
    } else {
      files_->echo_fault(" - Nothing is burned");
    }
  } catch (const RuntimeError& error) {
    files_->echo_fault(cat({" - Nothing is burned: ", error.description}));
  }
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

// The chunks to be written, in order, each with its echo line. Where the fill is set, its bytes, in `filler`, stand for
// the data.
std::vector<BurnChunk> FileBuffer::planned(std::string_view filler) {
  std::vector<BurnChunk> chunks;
  for (int b = 0; b < kLabelSets; ++b) {
    tell_unwritten(b);
    const Collection<fOffsett>& labels = labels_[static_cast<std::size_t>(b)];
    for (std::size_t j = 1; j <= labels.count(); ++j) {
      // A label without a position was skipped, and told, when positions were given.
      const std::int32_t* const place = pushed_.find(labels.at(j).name);
      if (place == nullptr) continue;
      try {
        chunks.push_back(planned_chunk(j, b, *place, filler));
      } catch (const RuntimeError& error) {
        tell_failure("label", labels.at(j), error.description);
      }
    }
  }
  return chunks;
}

BurnChunk FileBuffer::planned_chunk(std::size_t position, int set, std::int32_t place, std::string_view filler) {
  const std::string_view data = Get_Data(position, set);
  const std::string_view label = labels_[set_index(set)].at(position).name;
  const BurnChunk chunk{label, place, fill_ >= 0 ? filler.substr(0, data.size()) : data};
  if (chunk.position < 0) {
    files_->SeekData(chunk.position);  // says that it moves nothing
    raise(ErrorNumber::invalid_call, "its position lies before the file");
  }
  if (chunk.end() > std::numeric_limits<std::int32_t>::max()) {
    raise(ErrorNumber::overflow, "it would end beyond file position 2147483647");
  }
  files_->echo({" - Putting [", chunk.bytes, "] at ", hex(chunk.position)});
  return chunk;
}

// As many bytes of the fill setting as the longest chunk can want.
std::string FileBuffer::filler() const {
  if (fill_ < 0) return {};
  std::size_t longest = 0;
  for (int b = 0; b < kLabelSets; ++b) longest = std::max(longest, bytes(b).size());
  return std::string(longest, static_cast<char>(fill_));
}

// Names each chunk that begins inside one that begins before it, and that one.
void FileBuffer::tell_overlaps(const std::vector<BurnChunk>& chunks) {
  std::vector<const BurnChunk*> by_place;
  for (const BurnChunk& chunk : chunks) {
    if (!chunk.bytes.empty()) by_place.push_back(&chunk);
  }
  std::stable_sort(by_place.begin(), by_place.end(),
                   [](const BurnChunk* a, const BurnChunk* b) { return a->position < b->position; });
  const BurnChunk* reaching = nullptr;  // the one that ends last of those before
  for (const BurnChunk* chunk : by_place) {
    if (reaching != nullptr && chunk->position < reaching->end()) {
      const BurnChunk* const later = std::max(chunk, reaching);  // both stand in the order of writing
      files_->echo({" - Chunks overlap: ", reaching->label, " from ", hex(reaching->position), " and ", chunk->label,
                    " from ", hex(chunk->position), "; ", later->label, " is written last"});
    }
    if (reaching == nullptr || chunk->end() > reaching->end()) reaching = chunk;
  }
}

// Whether the file may grow as far as the chunks reach. A far position is more often a slip than meant.
bool FileBuffer::agreed(const std::vector<BurnChunk>& chunks) {
  constexpr std::int64_t kUnasked = 1 << 20;
  std::int64_t end = 0;
  for (const BurnChunk& chunk : chunks) end = std::max(end, chunk.end());
  const std::int64_t length = files_->length();
  if (end - length <= kUnasked) return true;
  return files_->yes_no_box(cat({"The file would grow from ", length, " to ", end, " bytes. Burn?"}), "Burn");
}

void FileBuffer::tell_unwritten(int buffer) {
  const Collection<fOffsett>& labels = labels_[static_cast<std::size_t>(buffer)];
  const std::size_t unwritten =
      labels.count() == 0 ? bytes(buffer).size() : static_cast<std::size_t>(labels.at(1).Offset);
  if (unwritten == 0) return;
  files_->echo({" - ", unwritten, " bytes before the first label of buffer ", buffer, " are not written"});
}

}  // namespace tidewright

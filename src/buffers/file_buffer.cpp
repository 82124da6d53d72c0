#include "buffers/file_buffer.h"

#include <algorithm>
#include <unordered_map>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "script/token_walk.h"

namespace tidewright {
namespace {

// What the slot's content is called in a notice.
std::string_view type_name(const Slot& slot) {
  const auto* const picture = std::get_if<Picture>(&slot);
  return picture != nullptr ? std::string_view(picture->type_name) : "String";
}

// A free slot's place for objects also takes over an object of exactly this type.
constexpr std::string_view kReplaceableType = "Object Type";

}  // namespace

FileBuffer::FileBuffer(FileHandle& files, const Bank& bank) : files_(&files), bank_(&bank), num_(bank) {
  point_.mode = kPointer;
}

std::size_t FileBuffer::slot_index(int index) {
  if (index < 0 || index >= kSlots) raise(ErrorNumber::subscript_out_of_range, cat({"there is no buffer ", index}));
  return static_cast<std::size_t>(index);
}

std::size_t FileBuffer::set_index(int index) {
  if (index < 0 || index >= kLabelSets) {
    raise(ErrorNumber::subscript_out_of_range, cat({"buffer ", index, " has no labels"}));
  }
  return static_cast<std::size_t>(index);
}

std::string FileBuffer::pointer_key(std::int32_t combined) {
  return "&h" + hex(combined);
}

void FileBuffer::inbuffer(std::uint8_t buffer) {
  previous_buffer_ = point_.buffer;
  point_.buffer = buffer;
}

const fOffsett& FileBuffer::get_Point(std::string_view key, int set) {
  const Collection<fOffsett>& records = set >= kLabelSets ? pointers_ : labels_[set_index(set)];
  const fOffsett* const found = records.find(key);
  point_ = found != nullptr ? *found : fOffsett();
  return point_;
}

const fOffsett& FileBuffer::get_Point(std::size_t position, int set) {
  const Collection<fOffsett>& records = set >= kLabelSets ? pointers_ : labels_[set_index(set)];
  point_ = position >= 1 && position <= records.count() ? records.at(position) : fOffsett();
  return point_;
}

std::int32_t FileBuffer::count(int set) const {
  return static_cast<std::int32_t>(set == kLabelSets ? pointers_.count() : labels_[set_index(set)].count());
}

std::string_view FileBuffer::bytes(int index) const {
  const auto* const content = std::get_if<std::string>(&buffer(index));
  return content != nullptr ? std::string_view(*content) : std::string_view();
}

void FileBuffer::append(int index, std::string_view bytes) {
  Slot& slot = slots_[slot_index(index)];
  if (std::holds_alternative<std::monostate>(slot)) slot = std::string();
  auto* const content = std::get_if<std::string>(&slot);
  if (content == nullptr) raise(ErrorNumber::type_mismatch, cat({"buffer ", index, " holds no bytes"}));
  content->append(bytes);
}

bool FileBuffer::blank() const {
  const auto empty = [](const Slot& slot) {
    const auto* const content = std::get_if<std::string>(&slot);
    return content != nullptr ? content->empty() : std::holds_alternative<std::monostate>(slot);
  };
  const auto no_labels = [](const Collection<fOffsett>& labels) { return labels.count() == 0; };
  return std::all_of(slots_.begin(), slots_.end(), empty) && std::all_of(labels_.begin(), labels_.end(), no_labels) &&
         pointers_.count() == 0 && pushed_.count() == 0;
}

std::vector<const fOffsett*> FileBuffer::placed_pointers(int buffer) const {
  std::vector<const fOffsett*> placed;
  const std::int32_t first = static_cast<std::int32_t>(set_index(buffer)) * kBufferSpan;
  for (std::size_t i = 1; i <= pointers_.count(); ++i) {
    const fOffsett& pointer = pointers_.at(i);
    if (pointer.Offset < first || pointer.Offset - first >= kBufferSpan) continue;
    if (stands_in_buffer(pointer)) placed.push_back(&pointer);
  }
  std::sort(placed.begin(), placed.end(), [](const fOffsett* a, const fOffsett* b) { return a->Offset < b->Offset; });
  return placed;
}

void FileBuffer::add_Picture(Picture picture, std::int16_t& index) {
  if (index == -1) index = inbuffer();
  Slot& slot = slots_[slot_index(index)];
  if (std::holds_alternative<std::monostate>(slot) || type_name(slot) == kReplaceableType) {
    slot = std::move(picture);
  } else {
    files_->notice_box(cat({"This Buffer typed as :", type_name(slot)}));
  }
}

void FileBuffer::add_Value(std::string_view values, std::string kinds) {
  const std::string bytes = num_.kaCodevals(values, kinds);
  add_Data(bytes, kinds);
}

// The pointers of bytes that are appended to `buffer` behind `length` others, each with its key.
std::vector<FileBuffer::Registration> FileBuffer::registrations(std::span<const CodedPointer> pointers,
                                                                std::uint8_t buffer, std::size_t length) const {
  std::vector<Registration> found;
  for (const CodedPointer& pointer : pointers) {
    const std::int64_t offset = pointer.position + static_cast<std::int64_t>(length);
    if (offset >= kBufferSpan) raise(ErrorNumber::overflow, cat({"a pointer at byte ", offset, " of a buffer"}));
    const std::int32_t combined = buffer * kBufferSpan + static_cast<std::int32_t>(offset);
    std::string key = pointer_key(combined);
    if (pointers_.find(key) != nullptr) raise(ErrorNumber::duplicate_key, key);
    // Names stand as tokens do, in the form that a pointer list would give them.
    std::string value = pointer.value;
    if (value.size() > 1) make_lower(value);
    normalize(value);
    found.push_back({std::move(key), {to_integer(pointer.kind), buffer, combined, SmartNum::pointer_name(value)}});
  }
  return found;
}

void FileBuffer::add_Data(std::string_view bytes, std::string_view pointers) {
  add_Data(bytes, SmartNum::listed_pointers(pointers));
}

void FileBuffer::add_Data(std::string_view bytes, std::span<const CodedPointer> pointers) {
  const std::uint8_t target = point_.buffer;
  Slot& slot = slots_[slot_index(target)];
  const std::size_t length = this->bytes(target).size();
  // Everything that can fail is tried before anything is changed.
  std::vector<Registration> found = registrations(pointers, target, length);
  if (label_waits() && labels_[set_index(target)].find(point_.name) != nullptr) {
    raise(ErrorNumber::duplicate_key, cat({"the label ", point_.name, " in buffer ", target}));
  }
  point_.Offset = to_long(static_cast<double>(length));
  for (Registration& one : found) {
    const std::int32_t position = one.pointer.Offset - target * kBufferSpan;
    files_->echo({"- log ", one.pointer.name, " in buffer ", target, " at byte: ", position});
    pointers_.add(std::move(one.key), std::move(one.pointer));
  }
  if (std::holds_alternative<std::monostate>(slot)) slot = std::string();
  if (auto* const content = std::get_if<std::string>(&slot)) {
    content->append(bytes);
  } else {
    files_->notice_box(cat({"This Buffer typed as :", type_name(slot)}));
  }
  if (label_waits()) labels_[target].add(point_.name, point_);
  point_ = {};
}

void FileBuffer::place_waiting_label() {
  if (!label_waits()) return;
  inbuffer(default_buffer);
  inmode(kCodeMode);
  add_Data("", "");
}

std::string_view FileBuffer::Get_Data(std::size_t position, int set) {
  const Collection<fOffsett>& labels = labels_[set_index(set)];
  const std::string_view content = bytes(set);
  if (position < 1 || position > labels.count()) return {};
  point_ = labels.at(position);
  const auto start = static_cast<std::size_t>(point_.Offset);
  const bool last = position == labels.count() || labels.at(position + 1).name.empty();
  const std::size_t end = last ? content.size() : static_cast<std::size_t>(labels.at(position + 1).Offset);
  if (start > content.size() || end < start) return {};
  return content.substr(start, end - start);
}

void FileBuffer::pushoffsett(std::string_view name, std::int32_t offset) {
  pushed_.put(std::string(name), offset);
  files_->echo({" - Pushed ", name, " to ", hex(offset)});
}

std::int32_t FileBuffer::pushed(std::string_view name) const {
  const std::int32_t* const offset = pushed_.find(name);
  return offset != nullptr ? *offset : 0;
}

void FileBuffer::PointerPeek(std::string& text, std::string_view list) const {
  if (list.empty()) return;
  std::unordered_map<std::string, const std::string*> names;
  TokenWalk walk(list, ',');
  std::string number;
  std::string kind;
  while (walk.next(number)) {
    const std::int32_t position = to_long(Val(number)) - 1 + point_.Offset;
    const fOffsett* const pointer = pointers_.find(pointer_key(point_.buffer * kBufferSpan + position));
    if (pointer != nullptr && !pointer->name.empty()) names.emplace(number, &pointer->name);
    walk.next(kind);
  }
  replace_references(text, [&](std::string_view digits) {
    const auto found = names.find(std::string(digits));
    return found == names.end() ? std::string() : *found->second;
  });
}

void FileBuffer::pointerpoke(std::string_view list) {
  if (list.empty()) return;
  TokenWalk walk(list, ',');
  std::string value;
  std::string kind;
  while (walk.next(value) && walk.next(kind)) {
    // A value met before is followed once.
    if (pointers_.find(value) == nullptr) {
      try {
        fOffsett pointer;
        pointer.name = value;
        if (bank_->autobank) pointer.Offset = to_long(Val(value) - kBankBase);
        pointer.mode = to_integer(Val(kind));
        pointers_.add(value, std::move(pointer));
      } catch (const RuntimeError&) {
        // What is no number cannot be followed.
      }
    }
    if (pointers_.count() > 0) files_->echo(pointers_.at(1).name);
  }
}

}  // namespace tidewright

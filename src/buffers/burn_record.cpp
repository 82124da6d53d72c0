#include "buffers/burn_record.h"

#include <algorithm>
#include <numeric>

namespace tidewright {
namespace {

// FNV-1a, 64 bits.
class Checksum {
 public:
  void add(std::string_view bytes) {
    for (const char byte : bytes) value_ = (value_ ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
  }
  std::uint64_t value() const { return value_; }

 private:
  std::uint64_t value_ = 0xCBF29CE484222325;
};

std::uint64_t checksum(std::string_view bytes) {
  Checksum sum;
  sum.add(bytes);
  return sum.value();
}

constexpr std::size_t kNumberSize = 8;

// Numbers in a journal are 64 bits, little-endian. A text stands behind its length.
void put(std::string& bytes, std::uint64_t number) {
  char field[kNumberSize];
  for (std::size_t i = 0; i < kNumberSize; ++i) field[i] = static_cast<char>(number >> (8 * i) & 255);
  bytes.append(field, kNumberSize);
}
void put(std::string& bytes, std::int64_t number) {
  put(bytes, static_cast<std::uint64_t>(number));
}
void put(std::string& bytes, std::string_view text) {
  put(bytes, static_cast<std::uint64_t>(text.size()));
  bytes += text;
}

// Takes the fields of a journal one after another. Behind its end it gives zeros and empty texts, and is no longer
// good.
class Fields {
 public:
  explicit Fields(std::string_view bytes) : left_(bytes) {}

  std::uint64_t number() {
    std::uint64_t value = 0;
    const std::string_view bytes = piece(kNumberSize);
    for (std::size_t i = bytes.size(); i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
  }
  std::int64_t place() {
    const auto value = static_cast<std::int64_t>(number());
    good_ = good_ && value >= 0;
    return value;
  }
  std::string text() { return std::string(piece(number())); }

  bool good() const { return good_; }
  std::size_t left() const { return left_.size(); }

 private:
  std::string_view piece(std::uint64_t size) {
    good_ = good_ && size <= left_.size();
    if (!good_) return {};
    const std::string_view bytes = left_.substr(0, size);
    left_.remove_prefix(size);
    return bytes;
  }

  std::string_view left_;
  bool good_ = true;
};

}  // namespace

BurnRecord::BurnRecord(DataFile& image, const std::vector<BurnChunk>& chunks)
    : old_length(image.length()), new_length(old_length) {
  std::vector<std::size_t> by_place(chunks.size());
  std::iota(by_place.begin(), by_place.end(), std::size_t{0});
  std::stable_sort(by_place.begin(), by_place.end(),
                   [&](std::size_t a, std::size_t b) { return chunks[a].position < chunks[b].position; });
  Checksum sum;
  for (auto first = by_place.begin(); first != by_place.end();) {
    const std::int64_t start = chunks[*first].position;
    std::int64_t end = start;
    auto last = first;
    for (; last != by_place.end() && chunks[*last].position <= end; ++last) end = std::max(end, chunks[*last].end());
    // Where chunks overlap, the one that is written later stands.
    std::sort(first, last);
    std::string fresh(static_cast<std::size_t>(end - start), '\0');
    for (; first != last; ++first) {
      const BurnChunk& chunk = chunks[*first];
      chunk.bytes.copy(fresh.data() + (chunk.position - start), chunk.bytes.size());
    }
    sum.add(fresh);
    image.seek(start);
    const std::int64_t kept = std::clamp<std::int64_t>(old_length - start, 0, end - start);
    stretches.push_back({start, end - start, image.read(static_cast<std::size_t>(kept))});
    new_length = std::max(new_length, end);
  }
  new_checksum = sum.value();
  entries.reserve(chunks.size());
  for (const BurnChunk& chunk : chunks) {
    entries.push_back({std::string(chunk.label), chunk.position, static_cast<std::int64_t>(chunk.bytes.size())});
  }
}

bool BurnRecord::describes(DataFile& image) const {
  if (image.length() != new_length) return false;
  Checksum sum;
  for (const Stretch& stretch : stretches) {
    image.seek(stretch.position);
    sum.add(image.read(static_cast<std::size_t>(stretch.length)));
  }
  return sum.value() == new_checksum;
}

std::int64_t BurnRecord::written() const {
  return std::accumulate(stretches.begin(), stretches.end(), std::int64_t{0},
                         [](std::int64_t sum, const Stretch& stretch) { return sum + stretch.length; });
}

std::string BurnRecord::bytes() const {
  std::string bytes(kMark);
  put(bytes, old_length);
  put(bytes, new_length);
  put(bytes, new_checksum);
  put(bytes, static_cast<std::uint64_t>(stretches.size()));
  for (const Stretch& stretch : stretches) {
    put(bytes, stretch.position);
    put(bytes, stretch.length);
    put(bytes, stretch.old_bytes);
  }
  put(bytes, static_cast<std::uint64_t>(entries.size()));
  for (const Entry& entry : entries) {
    put(bytes, entry.label);
    put(bytes, entry.position);
    put(bytes, entry.length);
  }
  put(bytes, checksum(bytes));
  return bytes;
}

std::optional<BurnRecord> BurnRecord::read(std::string_view bytes) {
  if (!bytes.starts_with(kMark) || bytes.size() < kMark.size() + kNumberSize) return {};
  const std::string_view content = bytes.substr(0, bytes.size() - kNumberSize);
  if (Fields(bytes.substr(content.size())).number() != checksum(content)) return {};
  Fields fields(content.substr(kMark.size()));
  BurnRecord record;
  record.old_length = fields.place();
  record.new_length = fields.place();
  record.new_checksum = fields.number();
  for (std::uint64_t left = fields.number(); left > 0 && fields.good(); --left) {
    Stretch& stretch = record.stretches.emplace_back();
    stretch.position = fields.place();
    stretch.length = fields.place();
    stretch.old_bytes = fields.text();
    // Nothing that was read may ask for more than an image can have.
    const bool inside = stretch.length <= record.new_length && stretch.position <= record.new_length - stretch.length;
    if (!inside || static_cast<std::int64_t>(stretch.old_bytes.size()) > stretch.length) return {};
  }
  for (std::uint64_t left = fields.number(); left > 0 && fields.good(); --left) {
    Entry& entry = record.entries.emplace_back();
    entry.label = fields.text();
    entry.position = fields.place();
    entry.length = fields.place();
  }
  if (!fields.good() || fields.left() > 0) return {};
  return record;
}

}  // namespace tidewright

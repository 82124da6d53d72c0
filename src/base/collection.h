// The ordered, keyed collection that the database, the buffers and the tables keep their records in.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/errors.h"
#include "base/text.h"

namespace tidewright {

/// Items in the order of their adding, each under a key of its own. Keys compare without regard to letter case. Items
/// are reached by key or by 1-based position, both in constant time.
template <class T>
class Collection {
 public:
  std::size_t count() const { return entries_.size(); }

  /// Adds `item` as the last one. A key that is already present raises DuplicateKey and adds nothing.
  T& add(std::string key, T item) {
    Slot& slot = slot_for(key);
    if (slot.position != kFree) raise(ErrorNumber::duplicate_key, key);
    return add_in(slot, std::move(key), std::move(item));
  }

  /// Adds `item`, or puts it in the place of the item that has this key.
  void put(std::string key, T item) {
    Slot& slot = slot_for(key);
    if (slot.position == kFree) {
      add_in(slot, std::move(key), std::move(item));
    } else {
      entries_[slot.position - 1].item = std::move(item);
    }
  }

  /// The item under `key`, or null.
  const T* find(std::string_view key) const {
    if (slots_.empty()) return nullptr;
    const std::uint32_t position = slots_[slot_of(key, hash(key))].position;
    return position == kFree ? nullptr : &entries_[position - 1].item;
  }
  T* find(std::string_view key) { return const_cast<T*>(std::as_const(*this).find(key)); }

  /// The item at 1-based `position`. Raises SubscriptOutOfRange.
  const T& at(std::size_t position) const {
    if (position < 1 || position > entries_.size()) raise(ErrorNumber::subscript_out_of_range);
    return entries_[position - 1].item;
  }

  /// Takes out the item under `key`; later items move one position down. Linear. False when there is none.
  bool remove(std::string_view key) {
    if (slots_.empty()) return false;
    const std::uint32_t position = slots_[slot_of(key, hash(key))].position;
    if (position == kFree) return false;
    entries_.erase(entries_.begin() + (position - 1));
    std::vector<Slot> old = std::exchange(slots_, {});
    for (Slot& slot : old) {
      if (slot.position == position) slot.position = kFree;
      if (slot.position > position) --slot.position;
    }
    fill(old.size(), old);
    return true;
  }

 private:
  struct Entry {
    std::string key;
    T item;
  };

  // The hash stands beside the position, so that looking past another key's slot does not touch its entry.
  struct Slot {
    std::uint32_t key_hash = 0;
    std::uint32_t position = kFree;
  };
  static constexpr std::uint32_t kFree = 0;

  // One bit tells upper case from lower; that it also tells some other characters apart does not matter here.
  static std::uint32_t hash(std::string_view key) {
    std::uint32_t value = 2166136261u;
    for (const char c : key) value = (value ^ (static_cast<unsigned char>(c) | 0x20u)) * 16777619u;
    return value ^ value >> 15;
  }

  // The slot that holds `key`, or the free one where it belongs.
  std::size_t slot_of(std::string_view key, std::uint32_t key_hash) const {
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = key_hash & mask;; at = (at + 1) & mask) {
      const Slot& slot = slots_[at];
      if (slot.position == kFree) return at;
      if (slot.key_hash == key_hash && same_text(entries_[slot.position - 1].key, key)) return at;
    }
  }

  // The slot of `key` in an index with room for one more: that of its entry, or a free one.
  Slot& slot_for(std::string_view key) {
    if ((entries_.size() + 1) * 2 > slots_.size()) grow();
    const std::uint32_t key_hash = hash(key);
    Slot& slot = slots_[slot_of(key, key_hash)];
    slot.key_hash = key_hash;
    return slot;
  }

  // Adds an entry, whose slot is free.
  T& add_in(Slot& slot, std::string key, T item) {
    entries_.push_back({std::move(key), std::move(item)});
    slot.position = static_cast<std::uint32_t>(entries_.size());
    return entries_.back().item;
  }

  void grow() {
    const std::vector<Slot> old = std::exchange(slots_, {});
    fill(std::bit_ceil(entries_.size() * 2 + 16), old);
  }

  // Makes the index anew, of so many slots, out of those of an old one.
  void fill(std::size_t slot_count, const std::vector<Slot>& old) {
    slots_.assign(slot_count, Slot{});
    for (const Slot& slot : old) {
      if (slot.position == kFree) continue;
      std::size_t at = slot.key_hash & (slot_count - 1);
      while (slots_[at].position != kFree) at = (at + 1) & (slot_count - 1);
      slots_[at] = slot;
    }
  }

  std::vector<Entry> entries_;
  std::vector<Slot> slots_;
};

}  // namespace tidewright

// KeyIndex: linear probing.
#include "cli/run/database/key_index.h"

#include <functional>
#include <stdexcept>

namespace karst::cli {
namespace {

constexpr size_t kFirstSlots = 64;

}  // namespace

KeyIndex::KeyIndex() : slots_(kFirstSlots, kNone) {}

void KeyIndex::Add(std::string_view key, uint32_t number) {
  size_t slot = SlotOf(key);
  if (slots_[slot] != kNone) return;
  // LIMIT: 4,294,967,295 keys.
  if (entries_.size() == kNone) throw std::length_error("too many keys");
  if ((entries_.size() + 1) * 3 > slots_.size() * 2) {
    Grow();
    slot = SlotOf(key);
  }
  keys_ += key;
  entries_.push_back({keys_.size(), number});
  slots_[slot] = static_cast<uint32_t>(entries_.size() - 1);
}

uint32_t KeyIndex::Find(std::string_view key) const {
  const uint32_t entry = slots_[SlotOf(key)];
  return entry == kNone ? kNone : entries_[entry].number;
}

std::string_view KeyIndex::KeyOf(uint32_t entry) const {
  const uint64_t begin = entry == 0 ? 0 : entries_[entry - 1].key_end;
  return std::string_view(keys_).substr(begin, entries_[entry].key_end - begin);
}

size_t KeyIndex::SlotOf(std::string_view key) const {
  const size_t mask = slots_.size() - 1;
  size_t slot = std::hash<std::string_view>()(key) & mask;
  while (slots_[slot] != kNone && KeyOf(slots_[slot]) != key) slot = (slot + 1) & mask;
  return slot;
}

void KeyIndex::Grow() {
  slots_.assign(slots_.size() * 2, kNone);
  for (uint32_t entry = 0; entry < entries_.size(); ++entry) slots_[SlotOf(KeyOf(entry))] = entry;
}

}  // namespace karst::cli

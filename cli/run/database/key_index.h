// From key texts to record numbers: a hash table with open addressing over keys that lie one after the other.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace karst::cli {

// A key keeps the first number that it was added with. Takes 22 to 44 bytes a key beside the key's own, since a table
// holds a key for each record of a large file.
class KeyIndex {
 public:
  static constexpr uint32_t kNone = UINT32_MAX;

  KeyIndex();
  // `number` is below kNone.
  void Add(std::string_view key, uint32_t number);
  // The number, or kNone.
  uint32_t Find(std::string_view key) const;

 private:
  struct Entry {
    uint64_t key_end;  // in keys_; the key begins where the entry before ends
    uint32_t number;
  };
  std::string_view KeyOf(uint32_t entry) const;
  // The slot that holds the key, or the empty one where it belongs.
  size_t SlotOf(std::string_view key) const;
  void Grow();

  std::string keys_;
  std::vector<Entry> entries_;
  std::vector<uint32_t> slots_;  // entry numbers, kNone where empty; a power of two, never more than two thirds full
};

}  // namespace karst::cli

// PartMatcher: finds every place of one text in another, byte by byte and in one pass, whatever the two texts hold.
//
// Invariant: matched_ is the length of the longest head of the part that the bytes taken so far end with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace karst {

class PartMatcher {
 public:
  enum class Case { kExact, kIgnoreAscii };

  // `part` must live as long as the matcher.
  PartMatcher(std::string_view part, Case letters) : part_(part), letters_(letters), borders_(part.size()) {
    for (size_t i = 1; i < part.size(); ++i) {
      Take(part[i]);
      borders_[i] = static_cast<uint32_t>(matched_);
    }
    matched_ = 0;
  }

  // Takes the next byte of the text; true if the bytes taken so far end with the part. An empty part is everywhere.
  bool Take(char byte) {
    if (part_.empty()) return true;
    if (matched_ == part_.size()) matched_ = borders_[matched_ - 1];
    while (matched_ > 0 && !Same(part_[matched_], byte)) matched_ = borders_[matched_ - 1];
    if (Same(part_[matched_], byte)) ++matched_;
    return matched_ == part_.size();
  }

 private:
  static char Lower(char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte; }
  bool Same(char a, char b) const { return a == b || (letters_ == Case::kIgnoreAscii && Lower(a) == Lower(b)); }

  std::string_view part_;
  Case letters_;
  std::vector<uint32_t> borders_;  // of each head of the part: its longest end that is a shorter head too
  size_t matched_ = 0;
};

}  // namespace karst

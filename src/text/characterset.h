// CharacterSet: the characters of a text, to be asked for one at a time. A double-byte character is one character.
#pragma once

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <string_view>
#include <vector>

#include "text/mbtext.h"

namespace karst {

// The character that a text, which is not empty, begins with; 1 or 2 bytes. A lone lead byte at the end is one.
inline std::string_view FirstCharacter(std::string_view text) {
  return text.substr(0, IsDBCSLeadByte(static_cast<unsigned char>(text[0])) ? 2 : 1);
}

class CharacterSet {
 public:
  explicit CharacterSet(std::string_view characters) {
    while (!characters.empty()) {
      const std::string_view character = FirstCharacter(characters);
      characters.remove_prefix(character.size());
      if (character.size() == 1) {
        single_.set(static_cast<unsigned char>(character[0]));
      } else {
        double_.push_back(NumberOf(character));
      }
    }
    std::sort(double_.begin(), double_.end());
  }

  // `character` is what FirstCharacter gives.
  bool Has(std::string_view character) const {
    if (character.size() == 1) return single_.test(static_cast<unsigned char>(character[0]));
    return std::binary_search(double_.begin(), double_.end(), NumberOf(character));
  }

 private:
  static uint16_t NumberOf(std::string_view pair) {
    return static_cast<uint16_t>(static_cast<unsigned char>(pair[0]) * 256 + static_cast<unsigned char>(pair[1]));
  }

  std::bitset<256> single_;
  std::vector<uint16_t> double_;  // rising
};

}  // namespace karst

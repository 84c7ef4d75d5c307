// The shape of GBK text.
#pragma once

#include <string_view>

#include "text/mbtext.h"

namespace karst::cli {

// True if the text, which is not empty, begins with the two bytes of a double-byte character.
inline bool BeginsWithPair(std::string_view gbk) {
  return gbk.size() > 1 && IsDBCSLeadByte(static_cast<unsigned char>(gbk[0])) &&
         IsTrailByte(static_cast<unsigned char>(gbk[1]));
}

// The length of the character that the text, which is not empty, begins with. A byte that is no GBK counts as one.
inline size_t CharacterLength(std::string_view gbk) { return BeginsWithPair(gbk) ? 2 : 1; }

}  // namespace karst::cli

// The few things of ASCII that texts in GBK are asked for byte by byte.
#pragma once

#include <algorithm>
#include <string_view>

namespace karst {

inline bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

inline std::string_view WithoutLeadingSpace(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
}

inline std::string_view WithoutTrailingSpace(std::string_view text) {
  return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

}  // namespace karst

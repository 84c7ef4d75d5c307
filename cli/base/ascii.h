// What is done with the ASCII in a text.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace karst::cli {

constexpr bool IsAsciiByte(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

// The length of the ASCII at the head of a text. SPEED: eight bytes at a time.
inline size_t AsciiLength(std::string_view text) {
  size_t i = 0;
  for (; i + 8 <= text.size(); i += 8) {
    uint64_t eight;
    std::memcpy(&eight, text.data() + i, sizeof eight);
    if (eight & 0x8080808080808080u) break;
  }
  while (i < text.size() && IsAsciiByte(text[i])) ++i;
  return i;
}

inline std::string LoweredAscii(std::string_view text) {
  std::string lowered(text);
  std::transform(text.begin(), text.end(), lowered.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return lowered;
}

}  // namespace karst::cli

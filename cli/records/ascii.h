// The ASCII text at the head of a text.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace karst::cli {

constexpr bool IsAsciiByte(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

// SPEED: eight bytes at a time.
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

}  // namespace karst::cli

// The escape of a byte in a URL.
#pragma once

#include "text/bytestring.h"

namespace karst {

// Adds "%" and the byte as two lower-case hexadecimal digits.
inline void AppendPercentEscape(CString& text, char byte) {
  constexpr char kDigits[] = "0123456789abcdef";
  const auto value = static_cast<unsigned char>(byte);
  const char escape[] = {'%', kDigits[value >> 4], kDigits[value & 15]};
  text += std::string_view(escape, sizeof escape);
}

}  // namespace karst

// Bytes in the form in which tests write and show them: ^ for 0x1E, | for 0x1D, $ for 0x1F, LF for CR LF; and errors as
// their texts.
#pragma once

#include <string>
#include <string_view>

#include "helpers/zebutil.h"

namespace karst::testing {

inline std::string Exchanged(std::string text, std::string_view from, std::string_view to) {
  for (char& byte : text) {
    if (const size_t at = from.find(byte); at != from.npos) byte = to[at];
  }
  return text;
}
inline std::string Marked(std::string text) { return Exchanged(std::move(text), "^|$", "\x1E\x1D\x1F"); }
inline std::string Readable(std::string text) { return Exchanged(std::move(text), "\x1E\x1D\x1F", "^|$"); }

inline std::string CrLf(std::string_view lines) {
  std::string text;
  for (char byte : lines) text += byte == '\n' ? "\r\n" : std::string(1, byte);
  return text;
}

// The text of the error that an action ends with, or "none".
template <typename Action>
std::string RefusalOf(Action action) {
  try {
    action();
  } catch (const CError& error) {
    return error.what();
  }
  return "none";
}

}  // namespace karst::testing

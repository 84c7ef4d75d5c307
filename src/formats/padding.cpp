// Where a width is padded, for numbers and texts alike.
#include "formats/padding.h"

#include <cstring>

namespace karst {

namespace {

char* Copy(char* at, std::string_view bytes) {
  if (bytes.empty()) return at;
  std::memcpy(at, bytes.data(), bytes.size());
  return at + bytes.size();
}

char* Fill(char* at, char byte, size_t count) {
  if (count != 0) std::memset(at, byte, count);
  return at + count;
}

}  // namespace

void AppendPadded(CString& out, const Directive& directive, const ValueParts& parts, bool zeros) {
  const size_t length = parts.prefix.size() + static_cast<size_t>(parts.leading_zeros) + parts.digits.size() +
                        static_cast<size_t>(parts.trailing_zeros) + parts.suffix.size();
  const size_t width = static_cast<size_t>(directive.width);
  const size_t padding = width > length ? width - length : 0;
  zeros = zeros && !directive.left;
  char* at = out.Extend(length + padding);
  if (!directive.left && !zeros) at = Fill(at, ' ', padding);
  at = Copy(at, parts.prefix);
  at = Fill(at, '0', static_cast<size_t>(parts.leading_zeros) + (zeros ? padding : 0));
  at = Copy(at, parts.digits);
  at = Fill(at, '0', static_cast<size_t>(parts.trailing_zeros));
  at = Copy(at, parts.suffix);
  if (directive.left) Fill(at, ' ', padding);
}

void AppendText(CString& out, const Directive& directive, std::string_view text) {
  // CHOICE: the flag 0 pads a text with zeros as well, as the dialect does.
  AppendPadded(out, directive, {{}, 0, text, 0, {}}, directive.zeros);
}

std::string_view BoundedText(const char* text, int precision) {
  return {text, precision < 0 ? std::strlen(text) : strnlen(text, static_cast<size_t>(precision))};
}

}  // namespace karst

// Padding: a value's text within the width of its directive. Internal to the formatter.
#pragma once

#include <string_view>

#include "formats/directive.h"
#include "text/bytestring.h"

namespace karst {

// A value's parts in the order in which they are written. Padding with zeros goes between prefix and digits.
struct ValueParts {
  std::string_view prefix;  // sign, 0x
  int leading_zeros = 0;
  std::string_view digits;
  int trailing_zeros = 0;
  std::string_view suffix;  // exponent
};

// Blanks (or zeros) up to the width, and the parts.
void AppendPadded(CString& out, const Directive& directive, const ValueParts& parts, bool zeros);
// Conversions c and s, the text cut to the precision by the caller.
void AppendText(CString& out, const Directive& directive, std::string_view text);
// The text of %s: at most `precision` bytes are looked at, if one is given.
std::string_view BoundedText(const char* text, int precision);

}  // namespace karst

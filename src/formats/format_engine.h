// What both format languages share: a directive, and putting one value of each kind into a text. Internal to the
// formatter.
#pragma once

#include <cstdint>
#include <string_view>

#include "text/bytestring.h"

namespace karst {

// LIMIT: a width or a precision above this is a failure of the format.
constexpr int kMostField = 1 << 20;

struct Directive {
  bool left = false;       // -
  bool plus = false;       // +
  bool blank = false;      // a blank
  bool alternate = false;  // #
  bool zeros = false;      // 0
  int width = 0;
  int precision = -1;  // below 0: none given
  char conversion = 0;
};

// A value's parts in the order in which they are written. Padding with zeros goes between prefix and digits.
struct NumberParts {
  std::string_view prefix;  // sign, 0x
  int leading_zeros = 0;
  std::string_view digits;
  int trailing_zeros = 0;
  std::string_view suffix;  // exponent
};

// Blanks (or zeros) up to the width, and the parts.
void AppendNumber(CString& out, const Directive& directive, const NumberParts& parts, bool zeros);
// Conversions d i u o x X: `value` holds the bits of the value in the lowest `bits` bits.
void AppendInteger(CString& out, const Directive& directive, uint64_t value, int bits);
// Conversion p: all digits of the `bits` bits.
void AppendPointer(CString& out, const Directive& directive, uint64_t value, int bits);
// Conversions e E f F g G a A.
void AppendFloating(CString& out, const Directive& directive, double value);
// Conversions c and s, the text cut to the precision by the caller.
void AppendText(CString& out, const Directive& directive, std::string_view text);
// The text of %s: at most `precision` bytes are looked at, if one is given.
std::string_view BoundedText(const char* text, int precision);

// The number that begins at `at`, which moves behind its digits; kMostField + 1 for any larger one.
int TakeFieldNumber(const char*& at);

// SPEED: a bare %d, without the way through the parts.
void AppendDecimal(CString& out, int32_t value);

}  // namespace karst

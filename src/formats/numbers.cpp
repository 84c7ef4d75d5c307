// Numbers as texts. Digits are made in local buffers: no conversion has more than kFloatRoom bytes of them, since zeros
// that only fill a precision are counted, not made.
#include "formats/numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

#include "formats/padding.h"

namespace karst {

namespace {

// A double has at most 309 digits ahead of its point and 1,074 behind it.
constexpr int kMostFraction = 1100;
constexpr size_t kFloatRoom = kMostFraction + 320;
constexpr size_t kIntegerRoom = 66;

// The digits of the numbers below 100, two of each.
constexpr std::array<char, 200> kPairs = [] {
  std::array<char, 200> pairs{};
  for (size_t i = 0; i < 100; ++i) {
    pairs[i * 2] = static_cast<char>('0' + i / 10);
    pairs[i * 2 + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

// The digits of `value`. SPEED: a base known when building is far quicker than one that is not.
char* WriteDigits(char* begin, char* end, uint64_t value, int base) {
  switch (base) {
    case 8: return std::to_chars(begin, end, value, 8).ptr;
    case 16: return std::to_chars(begin, end, value, 16).ptr;
    default: return std::to_chars(begin, end, value).ptr;
  }
}

bool IsUpper(char conversion) { return conversion >= 'A' && conversion <= 'Z'; }

void MakeUpper(char* begin, char* end) {
  std::transform(begin, end, begin, [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
}

std::string_view Sign(const Directive& directive, bool negative) {
  return negative ? "-" : directive.plus ? "+" : directive.blank ? " " : "";
}

int Base(char conversion) { return conversion == 'o' ? 8 : conversion == 'x' || conversion == 'X' ? 16 : 10; }

int64_t SignExtended(uint64_t value, int bits) { return static_cast<int64_t>(value << (64 - bits)) >> (64 - bits); }

uint64_t Masked(uint64_t value, int bits) { return bits == 64 ? value : value & ((uint64_t{1} << bits) - 1); }

// The text of a finite number's digits, taken apart: the exponent stands by itself behind it.
class FloatDigits {
 public:
  // `precision` is the one for to_chars; below 0, as many digits as the value needs.
  FloatDigits(double value, std::chars_format format, int precision) {
    char* const end = buffer_ + sizeof buffer_;
    const auto result = precision < 0 ? std::to_chars(buffer_, end, value, format)
                                      : std::to_chars(buffer_, end, value, format, std::min(precision, kMostFraction));
    end_ = result.ec == std::errc() ? result.ptr : buffer_;
    missing_zeros_ = std::max(0, precision - kMostFraction);
    SplitExponent(format == std::chars_format::hex ? 'p' : 'e');
  }
  void MakeUpperCase() {
    MakeUpper(buffer_, end_);
    MakeUpper(exponent_, exponent_ + exponent_length_);
  }
  // A point behind digits that have none.
  void AddPoint() {
    if (std::memchr(buffer_, '.', Mantissa().size()) == nullptr) *end_++ = '.';
  }
  void DropTrailingZeros() {
    if (std::memchr(buffer_, '.', Mantissa().size()) == nullptr) return;
    missing_zeros_ = 0;
    while (end_[-1] == '0') --end_;
    if (end_[-1] == '.') --end_;
  }
  std::string_view Mantissa() const { return {buffer_, static_cast<size_t>(end_ - buffer_)}; }
  std::string_view Exponent() const { return {exponent_, exponent_length_}; }
  int ExponentValue() const {
    int value = 0;
    const char* digits = exponent_ + 1 + (exponent_length_ > 1 && exponent_[1] == '+');
    std::from_chars(digits, exponent_ + exponent_length_, value);
    return value;
  }
  int MissingZeros() const { return missing_zeros_; }

 private:
  // CHOICE: a decimal exponent has at least three digits (1e+005), as the dialect writes it.
  void SplitExponent(char mark) {
    char* const found = static_cast<char*>(std::memchr(buffer_, mark, Mantissa().size()));
    if (found == nullptr) return;
    const char* digits = found + 2;
    const size_t count = static_cast<size_t>(end_ - digits);
    exponent_[0] = found[0];
    exponent_[1] = found[1];
    size_t at = 2;
    for (size_t missing = mark == 'e' && count < 3 ? 3 - count : 0; missing > 0; --missing) exponent_[at++] = '0';
    std::memcpy(exponent_ + at, digits, count);
    exponent_length_ = at + count;
    end_ = found;
  }

  char buffer_[kFloatRoom];
  char* end_;
  int missing_zeros_ = 0;
  char exponent_[16];
  size_t exponent_length_ = 0;
};

void AppendDigits(CString& out, const Directive& directive, std::string_view prefix, FloatDigits& digits) {
  if (directive.alternate) digits.AddPoint();
  if (IsUpper(directive.conversion)) digits.MakeUpperCase();
  AppendPadded(out, directive, {prefix, 0, digits.Mantissa(), digits.MissingZeros(), digits.Exponent()},
               directive.zeros);
}

// Conversion g: fixed or scientific by the exponent that the value has once it is rounded to the precision.
void AppendGeneral(CString& out, const Directive& directive, std::string_view sign, double value) {
  const int precision = directive.precision < 0 ? 6 : std::max(directive.precision, 1);
  FloatDigits scientific(value, std::chars_format::scientific, precision - 1);
  const int exponent = scientific.ExponentValue();
  if (exponent < -4 || exponent >= precision) {
    if (!directive.alternate) scientific.DropTrailingZeros();
    return AppendDigits(out, directive, sign, scientific);
  }
  FloatDigits fixed(value, std::chars_format::fixed, precision - 1 - exponent);
  if (!directive.alternate) fixed.DropTrailingZeros();
  AppendDigits(out, directive, sign, fixed);
}

// CHOICE: "inf" and "nan", in capitals for a conversion in capitals, padded with blanks only.
void AppendNotFinite(CString& out, const Directive& directive, std::string_view sign, bool is_nan) {
  const bool upper = IsUpper(directive.conversion);
  const std::string_view name = is_nan ? (upper ? "NAN" : "nan") : (upper ? "INF" : "inf");
  AppendPadded(out, directive, {sign, 0, name, 0, {}}, false);
}

}  // namespace

void AppendInteger(CString& out, const Directive& directive, uint64_t value, int bits) {
  const bool is_signed = directive.conversion == 'd' || directive.conversion == 'i';
  const bool negative = is_signed && SignExtended(value, bits) < 0;
  const uint64_t magnitude = negative ? 0 - static_cast<uint64_t>(SignExtended(value, bits)) : Masked(value, bits);
  char buffer[kIntegerRoom];
  char* end = buffer;
  // A precision of 0 writes nothing for the value 0.
  if (magnitude != 0 || directive.precision != 0) {
    end = WriteDigits(buffer, buffer + sizeof buffer, magnitude, Base(directive.conversion));
  }
  if (directive.conversion == 'X') MakeUpper(buffer, end);
  ValueParts parts;
  parts.digits = {buffer, static_cast<size_t>(end - buffer)};
  parts.leading_zeros = std::max(0, directive.precision - static_cast<int>(parts.digits.size()));
  if (is_signed) parts.prefix = Sign(directive, negative);
  if (directive.alternate && magnitude != 0 && Base(directive.conversion) == 16) {
    parts.prefix = directive.conversion == 'X' ? "0X" : "0x";
  }
  const bool begins_with_zero = parts.leading_zeros > 0 || parts.digits == "0";
  if (directive.alternate && directive.conversion == 'o' && !begins_with_zero) parts.leading_zeros = 1;
  AppendPadded(out, directive, parts, directive.zeros && directive.precision < 0);
}

void AppendPointer(CString& out, const Directive& directive, uint64_t value, int bits) {
  char buffer[kIntegerRoom];
  char* const end = WriteDigits(buffer, buffer + sizeof buffer, Masked(value, bits), 16);
  MakeUpper(buffer, end);
  const int length = static_cast<int>(end - buffer);
  AppendPadded(out, directive, {{}, bits / 4 - length, {buffer, static_cast<size_t>(length)}, 0, {}}, false);
}

void AppendFloating(CString& out, const Directive& directive, double value) {
  const std::string_view sign = Sign(directive, std::signbit(value));
  if (!std::isfinite(value)) return AppendNotFinite(out, directive, sign, std::isnan(value));
  value = std::fabs(value);
  const int precision = directive.precision < 0 ? 6 : directive.precision;
  switch (directive.conversion | 0x20) {
    case 'g': return AppendGeneral(out, directive, sign, value);
    case 'a': {
      const char prefix[] = {sign.empty() ? '0' : sign[0], '0', IsUpper(directive.conversion) ? 'X' : 'x'};
      const std::string_view whole(prefix, sizeof prefix);
      FloatDigits digits(value, std::chars_format::hex, directive.precision);
      return AppendDigits(out, directive, sign.empty() ? whole.substr(1) : whole, digits);
    }
    default: {
      const bool fixed = (directive.conversion | 0x20) == 'f';
      FloatDigits digits(value, fixed ? std::chars_format::fixed : std::chars_format::scientific, precision);
      return AppendDigits(out, directive, sign, digits);
    }
  }
}

// SPEED: two digits at a step, from the last one on, so that they need not be counted first.
void AppendDecimal(CString& out, int32_t value) {
  char buffer[12];
  char* const end = buffer + sizeof buffer;
  char* at = end;
  uint32_t rest = value < 0 ? 0 - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
  for (; rest >= 100; rest /= 100) {
    at -= 2;
    std::memcpy(at, &kPairs[rest % 100 * 2], 2);
  }
  if (rest >= 10) {
    at -= 2;
    std::memcpy(at, &kPairs[rest * 2], 2);
  } else {
    *--at = static_cast<char>('0' + rest);
  }
  if (value < 0) *--at = '-';
  out.Append({at, static_cast<size_t>(end - at)});
}

}  // namespace karst

// The rules of arithmetic on values: widths, wrapping, number and character texts. What is read from the text and
// what is remembered of it both compute by these.
#pragma once

#include <cstdint>

#include "values/value.h"

namespace karst {

// The low bits of a result, as the type that is left.
template <typename Int>
constexpr Int Wrapped(int64_t value) {
  return static_cast<Int>(value);
}

constexpr int64_t WrappingDifference(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}
constexpr int64_t WrappingProduct(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

// Quotient and remainder; the divisor is not 0. The lowest value divided by -1 gives itself and remainder 0.
template <typename Int>
constexpr Int Quotient(Int a, Int b) {
  return b == -1 ? static_cast<Int>(WrappingDifference(0, a)) : static_cast<Int>(a / b);
}
template <typename Int>
constexpr Int Remainder(Int a, Int b) {
  return b == -1 ? Int{0} : static_cast<Int>(a % b);
}

// A number that is no int and no int64 is 0, as is a 0.
bool IsZero(const CValue& value);
// The value as 64 bits, an int with its sign.
int64_t Widened(const CValue& value);

// - * / % of two numbers, the divisor not 0, into `left`: in 64 bits if either is an int64, else in 32.
void Combine(char op, CValue& left, const CValue& right);
// The power into `left`, in its own type.
void RaiseToPower(CValue& left, const CValue& right);

// The value of a number token: an int64 if bit 31 or a higher bit of it is set, else an int.
void SetNumber(CValue& value, const char* digits);
// The value of a character constant, quotes included in `token`.
int32_t CharacterValue(const char* token);

}  // namespace karst

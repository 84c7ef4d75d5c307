// The rules of arithmetic on values.
#include "script/arithmetic.h"

#include "helpers/zebutil.h"
#include "text/mbtext.h"

namespace karst {

namespace {

template <typename Int>
Int Combined(char op, Int a, Int b) {
  switch (op) {
    case '-': return Wrapped<Int>(WrappingDifference(a, b));
    case '*': return Wrapped<Int>(WrappingProduct(a, b));
    case '/': return Quotient(a, b);
    default: return Remainder(a, b);
  }
}

int32_t LowBits(const CValue& value) { return value.leixing == kInt64 ? Wrapped<int32_t>(value.i64Val) : value.lVal; }

// `value` times `base`, (count) times over, in the width of Int. By squaring: the product wraps alike.
template <typename Int>
Int MultipliedOver(Int value, int32_t base, int64_t count) {
  uint64_t product = static_cast<uint64_t>(static_cast<int64_t>(value));
  for (uint64_t square = static_cast<uint64_t>(int64_t{base}); count > 0; count >>= 1) {
    if (count & 1) product *= square;
    square *= square;
  }
  return static_cast<Int>(product);
}

}  // namespace

bool IsZero(const CValue& value) { return Widened(value) == 0; }

int64_t Widened(const CValue& value) { return value.leixing == kInt64 ? value.i64Val : value.lVal; }

void Combine(char op, CValue& left, const CValue& right) {
  if (left.leixing == kInt64 || right.leixing == kInt64) {
    left.SetVal(Combined(op, Widened(left), Widened(right)));
  } else {
    left.SetVal(Combined(op, left.lVal, right.lVal));
  }
}

void RaiseToPower(CValue& left, const CValue& right) {
  const int32_t base = LowBits(left);
  const bool to_zero = IsZero(right);
  const int64_t count = int64_t{LowBits(right)} - 1;
  if (left.leixing == kInt64) {
    left.SetVal(to_zero ? int64_t{1} : MultipliedOver(left.i64Val, base, count));
  } else {
    left.SetVal(to_zero ? int32_t{1} : MultipliedOver(left.lVal, base, count));
  }
}

void SetNumber(CValue& value, const char* digits) {
  const int64_t number = _atoi64(digits);
  if (static_cast<uint64_t>(number) >> 31) {
    value.SetVal(number);
  } else {
    value.SetVal(static_cast<int32_t>(number));
  }
}

int32_t CharacterValue(const char* token) {
  const char byte = token[1] == '\\' ? OneEscChar(token[2]) : token[1];
  return static_cast<signed char>(byte);
}

}  // namespace karst

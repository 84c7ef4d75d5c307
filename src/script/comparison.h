// The rules of conditions: truth and comparison of values.
#pragma once

#include <cstdint>

#include "text/mbtext.h"
#include "values/value.h"

namespace karst {

enum class Comparison : uint8_t { kEqual, kNotEqual, kGreater, kLess, kGreaterEqual, kLessEqual };

// The comparison that an operator text of one or two bytes stands for.
inline Comparison ComparisonOf(const char* op) {
  const bool with_equals = op[1] == '=';
  switch (op[0]) {
    case '=': return Comparison::kEqual;
    case '!': return Comparison::kNotEqual;
    case '>': return with_equals ? Comparison::kGreaterEqual : Comparison::kGreater;
    default: return with_equals ? Comparison::kLessEqual : Comparison::kLess;
  }
}

// Whether a comparison holds, given how the left side stands to the right: below 0, 0 or above 0.
inline bool Holds(Comparison comparison, int order) {
  switch (comparison) {
    case Comparison::kEqual: return order == 0;
    case Comparison::kNotEqual: return order != 0;
    case Comparison::kGreater: return order > 0;
    case Comparison::kLess: return order < 0;
    case Comparison::kGreaterEqual: return order >= 0;
    default: return order <= 0;
  }
}

template <typename Int>
int Order(Int a, Int b) {
  return (a > b) - (a < b);
}

// How two values of one type stand to each other; texts by characters.
inline int CompareSameType(const CValue& left, const CValue& right) {
  switch (left.leixing) {
    case kInt: return Order(left.lVal, right.lVal);
    case kInt64: return Order(left.i64Val, right.i64Val);
    case kText: return _mbscmp(left.string ? left.string : "", right.string ? right.string : "");
    default: return 0;
  }
}

// 1 or 0, or -1 for a value that has no truth.
inline int Truth(const CValue& value) {
  switch (value.leixing) {
    case kInt: return value.lVal != 0;
    case kInt64: return value.i64Val != 0;
    case kText: return value.string && *value.string;
    default: return -1;
  }
}

}  // namespace karst

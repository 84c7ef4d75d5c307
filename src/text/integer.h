// Reading a number from the head of a text.
#pragma once

#include <limits>

namespace karst {

// Leading white space, a sign, decimal digits; 0 if there are none. Values past the type's ends become its end.
template <typename Integer>
Integer ReadInteger(const char* text) {
  while (*text == ' ' || (*text >= '\t' && *text <= '\r')) ++text;
  const bool negative = *text == '-';
  if (*text == '-' || *text == '+') ++text;
  const Integer end = negative ? std::numeric_limits<Integer>::min() : std::numeric_limits<Integer>::max();
  // Counting down from 0 reaches both ends: the lowest value has no positive twin.
  Integer value = 0;
  for (; *text >= '0' && *text <= '9'; ++text) {
    if (__builtin_mul_overflow(value, Integer{10}, &value)) return end;
    if (__builtin_sub_overflow(value, static_cast<Integer>(*text - '0'), &value)) return end;
  }
  if (negative) return value;
  return value == std::numeric_limits<Integer>::min() ? end : static_cast<Integer>(-value);
}

}  // namespace karst

// A directive of a format, between its percent sign and its conversion: what both format languages share.
#pragma once

#include <algorithm>

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

// The number that begins at `at`, which moves past its digits; kMostField + 1 for any larger one.
inline int TakeFieldNumber(const char*& at) {
  int value = 0;
  for (; *at >= '0' && *at <= '9'; ++at) value = std::min(value * 10 + (*at - '0'), kMostField + 1);
  return value;
}

}  // namespace karst

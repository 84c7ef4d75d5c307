// The names of argument cells.
#pragma once

#include <cstdio>

namespace karst {

constexpr int kArgumentNameSize = 24;

// Argument `number`, from 0: "_param  0".
inline void FormatArgumentName(char (&name)[kArgumentNameSize], int number) {
  std::snprintf(name, sizeof name, "_param%3d", number);
}

}  // namespace karst

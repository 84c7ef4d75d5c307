// NestingGuard: bounds what a script can put on the machine's stack.
#pragma once

#include "script/script.h"

namespace karst {

// LIMIT: parentheses, calls inside calls and chains of powers nest this deep; a script that goes deeper stops.
constexpr int kMostNesting = 400;

class NestingGuard {
 public:
  explicit NestingGuard(CScript& script) : script_(script) {
    if (++script_.nesting_ > kMostNesting) {
      --script_.nesting_;
      script_.halt("表达式嵌套太深，超过%d层...", kMostNesting);
    }
  }
  NestingGuard(const NestingGuard&) = delete;
  NestingGuard& operator=(const NestingGuard&) = delete;
  ~NestingGuard() { --script_.nesting_; }

 private:
  CScript& script_;
};

}  // namespace karst

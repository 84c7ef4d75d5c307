// CLoopStack: the positions of the loops that are open.
#pragma once

#include "export.h"

class KARST_API CLoopStack {
 public:
  // LIMIT: a loop opened deeper is not stored; it runs on without a position.
  static constexpr int kCapacity = 100;

  virtual ~CLoopStack() = default;

  int push(char* lpPos) {
    if (nTop < kCapacity) aPos[nTop++] = lpPos;
    return 0;
  }
  // The newest position, or null if none is open.
  char* pop() { return nTop > 0 ? aPos[--nTop] : nullptr; }
  int RemoveAll() {
    nTop = 0;
    return 0;
  }

  int nTop = 0;
  char* aPos[kCapacity];
};

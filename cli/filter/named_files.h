// The files that a filter writes by name.
#pragma once

#include <set>
#include <string>

#include "builtins/funcarray.h"
#include "console.h"

namespace karst::cli {

// Of one run: what several engines write goes through the file handles of one of them.
class NamedFiles {
 public:
  NamedFiles(CFuncArray& engine, Console& console) : engine_(engine), console_(console) {}

  // Appends a text that an engine wrote when it was not its turn. The engine was told that all is well, so a failure is
  // told here, once for each file.
  void DeliverLate(const NamedText& text);
  // False if such a text was lost.
  bool Whole() const { return lost_.empty(); }

  // Takes a text into the log to which this thread's output is diverted.
  static int32_t Divert(const NamedText& text);

 private:
  CFuncArray& engine_;
  Console& console_;
  std::set<std::string, std::less<>> lost_;
};

}  // namespace karst::cli

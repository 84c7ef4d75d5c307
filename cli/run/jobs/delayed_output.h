// The named files of an engine whose output is diverted.
#pragma once

#include <set>
#include <string>

#include "builtins/funcarray.h"

namespace karst::cli {

// Takes what the engine writes into the log of its thread. The engine is told what one engine alone would be told, as
// far as that can be known: that all is well, or that a file for bmprintf is open.
//
// LIMIT: a file that an earlier record is still to open on another thread is not known. What bmprintf writes to it is
// refused when its turn comes, and told then.
class DelayedOutput {
 public:
  // The engine outlives this.
  explicit DelayedOutput(CFuncArray& engine);
  DelayedOutput(const DelayedOutput&) = delete;
  DelayedOutput& operator=(const DelayedOutput&) = delete;
  ~DelayedOutput() { engine_.OnNamedOutput({}); }

 private:
  int32_t Take(const NamedText& text);
  void Note(std::string_view file);
  bool IsOpen(std::string_view file) const;

  CFuncArray& engine_;
  std::set<std::string, std::less<>> names_;  // of the files that it has written and that stay open
  std::set<std::string> paths_;               // of these files
};

}  // namespace karst::cli

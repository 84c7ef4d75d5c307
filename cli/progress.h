// How far a filter's run has come, shown while it goes on.
#pragma once

#include <chrono>
#include <string>

#include "console.h"
#include "marc/marctree.h"

namespace karst::cli {

class Progress {
 public:
  // Hooks itself to the tree; the tree must not run once the object is gone. `label` goes ahead of each text.
  Progress(Console& console, ProgressMode mode, CMARCTree& tree, std::string label);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

 private:
  using Clock = std::chrono::steady_clock;

  static int OnRecord(void* self);
  void Update();

  Console& console_;
  CMARCTree& tree_;
  std::string label_;
  bool always_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_;
};

// "42.0%  1234 records  567/s  0:12 left". Where the size is not known (0), the bytes read stand for share and time.
std::string ProgressText(uint64_t position, uint64_t size, uint64_t records, double seconds);

}  // namespace karst::cli

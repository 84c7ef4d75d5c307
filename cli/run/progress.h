// How far a filter's run has come, shown while it goes on.
#pragma once

#include <chrono>
#include <string>

#include "cli/base/console.h"
#include "cli/run/filter_input.h"

namespace karst::cli {

enum class ProgressMode { kAuto, kAlways, kNever };

class Progress {
 public:
  // `label` goes before each text.
  Progress(Console& console, ProgressMode mode, std::string label);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  // Shows where the reading of `records` stands, if it is time for that. To be called at every record; costs a look at
  // the clock, or nothing where no progress is wanted.
  void Update(const FilterInput& records) {
    if (wanted_) ShowIfDue([&] { return records.State(); }, records.ByteSize());
  }
  // The same with a state that was kept.
  void Update(const ReadState& reached, uint64_t size) {
    if (wanted_) ShowIfDue([&] { return reached; }, size);
  }

 private:
  using Clock = std::chrono::steady_clock;

  template <typename State>
  void ShowIfDue(const State& state, uint64_t size) {
    const auto now = Clock::now();
    if (now >= next_) Show(state(), size, now);
  }
  void Show(const ReadState& reached, uint64_t size, Clock::time_point now);

  Console& console_;
  std::string label_;
  bool wanted_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_;
};

// "42.0%  1234 records  567/s  0:12 left". Where the size is not known (0), the bytes read stand for share and time.
std::string ProgressText(uint64_t position, uint64_t size, uint64_t records, double seconds);

}  // namespace karst::cli

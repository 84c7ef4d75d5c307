// Progress: a look at the clock for each record, a text a few times a second.
#include "cli/run/progress.h"

#include <cinttypes>
#include <cstdio>

namespace karst::cli {
namespace {

constexpr std::chrono::milliseconds kFirstAfter{300};
constexpr std::chrono::milliseconds kTerminalPause{200};
constexpr std::chrono::milliseconds kLinePause{2000};

std::string MinutesAndSeconds(double seconds) {
  char text[40];
  const auto whole = static_cast<uint64_t>(seconds + 0.5);
  if (whole < 3600) {
    std::snprintf(text, sizeof text, "%" PRIu64 ":%02" PRIu64, whole / 60, whole % 60);
  } else {
    std::snprintf(text, sizeof text, "%" PRIu64 ":%02" PRIu64 ":%02" PRIu64, whole / 3600, whole / 60 % 60, whole % 60);
  }
  return text;
}

}  // namespace

std::string ProgressText(uint64_t position, uint64_t size, uint64_t records, double seconds) {
  char text[160];
  const double rate = seconds > 0 ? static_cast<double>(records) / seconds : 0;
  if (size == 0) {
    std::snprintf(text, sizeof text, "%.1f MB  %" PRIu64 " records  %.0f/s", static_cast<double>(position) / 1e6,
                  records, rate);
    return text;
  }
  const double share = static_cast<double>(position) / static_cast<double>(size);
  std::snprintf(text, sizeof text, "%5.1f%%  %" PRIu64 " records  %.0f/s", 100 * share, records, rate);
  if (share <= 0) return text;
  return text + ("  " + MinutesAndSeconds(seconds * (1 - share) / share) + " left");
}

Progress::Progress(Console& console, ProgressMode mode, std::string label)
    : console_(console), label_(std::move(label)), wanted_(mode != ProgressMode::kNever) {
  const bool always = mode == ProgressMode::kAlways;
  if (!always && !console.ErrorIsTerminal()) wanted_ = false;
  next_ = start_ + (always ? Clock::duration::zero() : kFirstAfter);
}

Progress::~Progress() { console_.WipeProgress(); }

void Progress::Show(const ReadState& reached, uint64_t size, Clock::time_point now) {
  next_ = now + (console_.ErrorIsTerminal() ? Clock::duration(kTerminalPause) : Clock::duration(kLinePause));
  const double seconds = std::chrono::duration<double>(now - start_).count();
  console_.ShowProgress(label_ + ProgressText(reached.position, size, reached.records, seconds));
}

}  // namespace karst::cli

// The verb "show": records for reading.
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

#include "cli/base/stop_request.h"
#include "cli/records/record_display.h"
#include "cli/records/record_sink.h"
#include "cli/records/record_walk.h"
#include "cli/records/reversible.h"
#include "cli/verbs/verbs.h"
#include "records/cartulary.h"

namespace karst::cli {
namespace {

constexpr size_t kBuffer = size_t{64} << 10;

bool WantsColours(ColourMode mode) {
  if (mode != ColourMode::kAuto) return mode == ColourMode::kAlways;
  const char* refused = std::getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) && !(refused && *refused);
}

// 0 where standard output is no terminal.
size_t TerminalColumns() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

class Showing {
 public:
  Showing(const Options& options, Console& console)
      : options_(options),
        limit_(options.record_tools.limit),
        walk_(options, console, RecordWalk::Summaries::kOfFaults),
        output_("-", false, options),
        display_({WantsColours(options.record_tools.colour), TerminalColumns(), options.record_tools.fields}) {}

  int Run() {
    for (const std::string& name : options_.records) {
      if (StopRequested() || IsFull()) break;
      walk_.Read(name, [this](const WalkedRecord& record) { return Take(record); });
      Flush();
    }
    return walk_.Finish();
  }

 private:
  bool IsFull() const { return limit_ > 0 && shown_ >= limit_; }

  bool Take(const WalkedRecord& record) {
    if (record.reader->GuessCurrentCharset() == RecordCharset::kUtf8) {
      utf8_ = record.text;
    } else {
      utf8_.assign(record.text.substr(0, kHeaderLength));
      ToUtf8Reversibly(record.text.substr(utf8_.size()), utf8_);
    }
    display_.Append(utf8_, record.number, out_);
    ++shown_;
    if (out_.size() >= kBuffer) Flush();
    return !IsFull();
  }

  void Flush() {
    std::string gbk;
    if (options_.encoding == Encoding::kGbk) ToGbkReversibly(out_, gbk);
    output_.Write(options_.encoding == Encoding::kGbk ? gbk : out_);
    out_.clear();
  }

  const Options& options_;
  uint64_t limit_;
  RecordWalk walk_;
  RecordSink output_;
  RecordDisplay display_;
  std::string utf8_;
  std::string out_;
  uint64_t shown_ = 0;
};

}  // namespace

int ShowRecords(const Options& options, Console& console) { return Showing(options, console).Run(); }

}  // namespace karst::cli

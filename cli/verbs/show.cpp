// The verb "show": records for reading.
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

#include "cli/base/result_file.h"
#include "cli/base/reversible_encoding.h"
#include "cli/base/stop_request.h"
#include "cli/records/record_display.h"
#include "cli/verbs/record_options.h"
#include "cli/verbs/verbs.h"
#include "records/cartulary.h"

namespace karst::cli {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  karst show --limit 10 books.iso\n"
    "  karst show --field 200 --field '7**' books.iso";

constexpr size_t kBuffer = size_t{64} << 10;

enum class ColourMode { kAuto, kAlways, kNever };

struct ShowOptions {
  RecordFilesOptions files;
  std::vector<std::string> fields;  // none: all
  uint64_t limit = 0;               // 0: none
  ColourMode colour = ColourMode::kAuto;
};

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
  Showing(const ShowOptions& options, Console& console)
      : inputs_(options.files.inputs),
        limit_(options.limit),
        files_(options.files, console, RecordFiles::Summaries::kOfFaults),
        output_("-", false, inputs_),
        display_({WantsColours(options.colour), TerminalColumns(), options.fields}) {}

  int Run() {
    for (const std::string& name : inputs_.names) {
      if (StopRequested() || IsFull()) break;
      files_.Read(name, [this](const RecordInFile& record) { return Take(record); });
      Flush();
    }
    return files_.Finish();
  }

 private:
  bool IsFull() const { return limit_ > 0 && shown_ >= limit_; }

  bool Take(const RecordInFile& record) {
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
    if (inputs_.encoding == Encoding::kGbk) ToGbkReversibly(out_, gbk);
    output_.Write(inputs_.encoding == Encoding::kGbk ? gbk : out_);
    out_.clear();
  }

  const FilesRead& inputs_;
  uint64_t limit_;
  RecordFiles files_;
  ResultFile output_;
  RecordDisplay display_;
  std::string utf8_;
  std::string out_;
  uint64_t shown_ = 0;
};

class ShowVerb : public Verb {
 public:
  ShowVerb() : Verb("show", "Show records for reading", kExamples) {}

  void Declare(OptionList& list, CommonOptions& common) override {
    AddReading(list, common, options_.files);
    list.Words("RECORDS", "Record files; - is standard input", options_.files.inputs.names);
    list.Texts("--field", "Show these fields only; * in the tag stands for any character", "TAG", options_.fields);
    list.Number("--limit", "Show so many records at most", options_.limit);
    list.Choice<ColourMode>(
        "--color", "Colours (default: auto, on a terminal unless NO_COLOR is set)",
        {{"auto", ColourMode::kAuto}, {"always", ColourMode::kAlways}, {"never", ColourMode::kNever}}, options_.colour);
    AddQuiet(list, options_.files.report);
  }

  int Run(const CommonOptions& common) override {
    options_.files.inputs.encoding = common.TextEncoding();
    Console console({common.messages, options_.files.inputs, {}});
    return RunToEnd(console, [&] { return Showing(options_, console).Run(); });
  }

 private:
  ShowOptions options_;
};

}  // namespace

std::unique_ptr<Verb> MakeShowVerb() { return std::make_unique<ShowVerb>(); }

}  // namespace karst::cli

// The verb "filter": a filter runs over record files, each a run of its own.
#include <algorithm>
#include <charconv>
#include <thread>

#include "cli/base/exit_status.h"
#include "cli/base/input_file.h"
#include "cli/base/source_file.h"
#include "cli/base/standard_input.h"
#include "cli/base/stop_request.h"
#include "cli/run/filter/filter_run.h"
#include "cli/verbs/script_host.h"
#include "cli/verbs/verbs.h"

namespace karst::cli {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  karst filter --messages stderr --rejects bad.mrc titles.flt books.mrc > titles.txt\n"
    "  zcat books.mrc.gz | karst filter titles.flt -\n"
    "  karst filter --jobs auto --output-charset utf-8 checks.flt books.xml";

// LIMIT: so many threads at most.
constexpr unsigned kMostJobs = 64;
static_assert(kMostJobs < kMostEngines, "each thread has an engine, beside the first one");

// 0 if the text is no number of threads.
int JobsOf(const std::string& text) {
  if (text == "auto") return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, kMostJobs));
  unsigned jobs = 0;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), jobs);
  const bool good = fault == std::errc() && end == text.data() + text.size() && jobs <= kMostJobs;
  return good ? static_cast<int>(jobs) : 0;
}

std::string FaultOfJobs(const std::string& text) {
  return JobsOf(text) > 0 ? "" : text + " is no number from 1 to " + std::to_string(kMostJobs);
}

struct FilterOptions {
  ScriptOptions script;
  std::vector<std::string> records;  // "-" is standard input
  std::optional<Encoding> output;    // of "stdout" and of what the filter writes by name; none: left as it is
  ProgressMode progress = ProgressMode::kAuto;
  ReportOptions report;
  std::string jobs = "1";  // engines that share the records
  bool strict = false;     // what is passed over shows in the exit status
};

// The runs over all record files, and what they come to.
class FilterRuns {
 public:
  FilterRuns(const FilterOptions& options, const FilesRead& inputs, Console& console)
      : options_(options),
        console_(console),
        filter_(options.script.program, options.script.source, console),
        report_(console, options.report, inputs),
        run_options_{options.script.records_charset, options.output,
                     options.report.quiet ? ProgressMode::kNever : options.progress, options.records.size() > 1,
                     JobsOf(options.jobs)} {}

  int RunAll() {
    int first_failure = 0;
    bool goes_on = true;
    for (size_t i = 0; i < options_.records.size() && goes_on && !StopRequested(); ++i) {
      const int status = RunOne(options_.records[i], goes_on);
      if (first_failure == 0) first_failure = status;
    }
    report_.SummarizeAll();
    if (!report_.Finish()) return kOutputFailed;
    return first_failure != 0 ? first_failure : StatusOfSoundRuns();
  }

 private:
  // What the user has to look at, though every run has the result 0.
  int StatusOfSoundRuns() const {
    if (!output_is_whole_) return kOutputFailed;
    const bool not_all_read = has_no_format_ || (options_.strict && report_.HasAny());
    return not_all_read ? kNotAllRead : 0;
  }

  int RunOne(const std::string& name, bool& has_tree) {
    if (name == "-") PrepareStandardInput();
    const InputFile records(name == "-" ? InputFile::kStandardInput : name, console_.TextEncoding());
    FilterRun run(run_options_, console_, filter_, report_);
    const ScriptWindows::RunScope windows;
    const int status = StatusOf(run.Run(records));
    has_tree = run.HasTree();
    output_is_whole_ = output_is_whole_ && run.OutputIsWhole();
    has_no_format_ = has_no_format_ || run.IsInNoFormat();
    WarnOfChanges(run.Changes());
    return status;
  }

  // The user said that the records are independent; what is seen here says that they may not be.
  void WarnOfChanges(const std::vector<std::string>& names) {
    if (names.empty()) return;
    std::string list;
    for (const std::string& name : names) list += (list.empty() ? "" : ", ") + console_.Displayed(name);
    console_.SayOnce("changes", filter_.Shown() + ": records change " + list +
                                    "; with --jobs each thread has its own, and the closing code sees none of it");
  }

  const FilterOptions& options_;
  Console& console_;
  const SourceFile filter_;
  ReadingReport report_;
  const FilterRunOptions run_options_;
  bool output_is_whole_ = true;
  bool has_no_format_ = false;  // one of the record files
};

class FilterVerb : public Verb {
 public:
  FilterVerb() : Verb("filter", "Run a filter over files of records", kExamples) {}

  void Declare(OptionList& list, CommonOptions& common) override {
    list.Word("FILTER", "The filter (.flt)", options_.script.program);
    list.Words("RECORDS", "Record files, each a run of its own; - is standard input", options_.records);
    AddEncoding(list, common);
    AddMessages(list, common);
    AddSource(list, options_.script.source);
    AddDatabases(list, options_.script);
    AddRecordsCharset(list, options_.script);
    list.Choice<std::optional<Encoding>>(
        "--output-charset", "Charset of what fnprintf and FnCat write (default: as it is)",
        {{"gbk", Encoding::kGbk}, {"utf-8", Encoding::kUtf8}}, options_.output, OptionList::Letters::kAnyCase);
    AddWindows(list, options_.script);
    list.Choice<ProgressMode>(
        "--progress", "Show progress on standard error (default: auto, on a terminal)",
        {{"always", ProgressMode::kAlways}, {"never", ProgressMode::kNever}, {"auto", ProgressMode::kAuto}},
        options_.progress);
    list.Text("--rejects", "Keep the raw bytes of what is no record in FILE", "FILE", options_.report.rejects);
    list.Text("-j,--jobs", "Run the records, which the filter must not tie together, on N threads", "N|auto",
              options_.jobs, FaultOfJobs);
    list.Flag("--strict", "Exit status 1 if something was passed over as no record", options_.strict);
    list.Flag("-q,--quiet", "No progress, and no summary unless something was passed over", options_.report.quiet);
  }

  int Run(const CommonOptions& common) override {
    ScriptHost host(options_.script, common, options_.records, options_.output);
    return host.Run([&](Console& console) { return FilterRuns(options_, host.Inputs(), console).RunAll(); });
  }

 private:
  FilterOptions options_;
};

}  // namespace

std::unique_ptr<Verb> MakeFilterVerb() { return std::make_unique<FilterVerb>(); }

}  // namespace karst::cli

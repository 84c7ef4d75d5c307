// FilterRun: the steps and the messages on the output control are those of the library's own entry point.
#include "cli/run/filter/filter_run.h"

#include "cli/run/database/record_database.h"
#include "cli/run/error_display.h"
#include "cli/run/filter/filter_tree.h"
#include "cli/run/jobs/shared_run.h"

namespace karst::cli {

FilterRun::FilterRun(const FilterRunOptions& options, Console& console, const SourceFile& filter, ReadingReport& report)
    : options_(options),
      console_(console),
      filter_(filter),
      report_(report),
      stoppable_(tree_),
      named_output_(tree_, console, options.output),
      records_(options.records_charset) {
  console.Connect(tree_);
  RecordDatabases::Connect(tree_);
}

int FilterRun::Run(const InputFile& records) {
  const int result = ResultOrFault(console_, tree_, filter_, [&] {
    const int built = LoadTree(console_, tree_, filter_);
    has_tree_ = built != -1;
    if (built == -1 || tree_.IsStop()) return built;
    return RunOver(records);
  });
  named_output_.Finish();
  if (options_.jobs == 1) reached_ = records_.State();
  if (!is_open_) return result;
  report_.Summarize(reached_, records_.ByteSize(), records.Shown());
  if (ended_early_ || records_.Failure().empty()) return result;
  ExplainUnreadable(records);
  // Where the reading failed, records were lost, whatever the filter made of the rest.
  return IsInNoFormat() ? result : -1;
}

int FilterRun::RunOver(const InputFile& records) {
  is_open_ = records_.Open(records.ForLibrary()) != -1;
  if (!is_open_) return RefuseRecords(records);
  report_.BeginRun();
  Progress progress(console_, options_.progress, options_.progress_names_file ? records.Shown() + "  " : "");
  return options_.jobs > 1 ? RunShared(progress) : Told(RunAlone(progress));
}

// A failure that no error explains.
int FilterRun::Told(int result) {
  if (result == -1) console_.Say(filter_.Shown() + ": the filter ended with the result -1");
  return result;
}

// An error of the script in the one style of filters and a result in the other; either way no place in the filter is
// at fault.
int FilterRun::RefuseRecords(const InputFile& records) {
  if (tree_.m_bOldStyle) {
    CString text;
    text.Format(ToGbk("文件'%s'打开失败...").c_str(), records.ForLibrary());
    WriteErrorMessage(tree_, text, tree_.GetCurLineNumber());
  }
  ExplainUnreadable(records);
  return -1;
}

void FilterRun::ExplainUnreadable(const InputFile& records) {
  const std::string found = records.WhyUnreadable();
  const std::string& reason = found.empty() ? records_.Failure() : found;
  console_.Say("cannot read " + records.Shown() + (reason.empty() ? "" : ": " + reason));
}

int FilterRun::RunAlone(Progress& progress) {
  records_.OnSkippedRecord([this](const SkippedRecord& skipped) { report_.Take(skipped); });
  records_.BeforeEach([&] { progress.Update(records_); });
  return tree_.RunMARCTree(&records_);
}

int FilterRun::RunShared(Progress& progress) {
  SharedRun run({console_, filter_, tree_, records_, report_, progress, named_output_}, options_.jobs);
  try {
    const int result = Told(run.Run());
    reached_ = run.Reached();
    ended_early_ = !run.RanAll();
    changes_ = run.Changes();
    return result;
  } catch (...) {
    reached_ = run.Reached();
    ended_early_ = true;
    return ResultOrFault(console_, run.FailedEngine(), filter_, []() -> int { throw; });
  }
}

}  // namespace karst::cli

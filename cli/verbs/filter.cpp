// The verbs "filter" and "tree": a filter is loaded and its tree built; then it runs over record files, or is shown.
// The steps and the messages on the output control are those of the library's own entry point.
#include <new>

#include "cli/base/exit_status.h"
#include "cli/base/input_file.h"
#include "cli/base/progress.h"
#include "cli/base/source_file.h"
#include "cli/base/standard_input.h"
#include "cli/base/stop_request.h"
#include "cli/records/passed_over.h"
#include "cli/records/record_source.h"
#include "cli/run/error_display.h"
#include "cli/run/named_files.h"
#include "cli/run/record_database.h"
#include "cli/run/shared_run.h"
#include "cli/verbs/verbs.h"
#include "cli/windows/script_windows.h"

namespace karst::cli {
namespace {

// Runs `body`, which gives a result, and reports what it throws. A failed run is -1.
template <class Body>
int Guarded(Console& console, CMARCTree& tree, const SourceFile& filter, const Body& body) {
  try {
    return body();
  } catch (const HostError&) {
    throw;
  } catch (const std::bad_alloc&) {
    throw;  // the program's own: no place in the filter is at fault
  } catch (const MemoryError& error) {
    return ReportNoMemory(console, tree, filter, error);
  } catch (const CError& error) {
    return ReportScriptError(console, tree, filter, error.what(), tree.LineOf(error));
  } catch (const char* text) {
    return ReportScriptError(console, tree, filter, text, tree.GetCurLineNumber());
  } catch (...) {
    return ReportScriptError(console, tree, filter, ToGbk("未知错误...").c_str(), tree.GetCurLineNumber());
  }
}

// The filter's code and its tree. -1 if there is no tree to run; the reason has been told.
int LoadTree(Console& console, CMARCTree& tree, const SourceFile& filter) {
  if (!filter.LoadInto(tree)) return -1;
  if (tree.IsStop()) return 0;
  const int result = tree.BuildMARCTree();
  if (result == -1) console.Say(filter.Shown() + ": the filter ended with the result -1 while it was built");
  return result;
}

void ExplainUnreadable(Console& console, const InputFile& records, const std::string& failure) {
  const std::string found = records.WhyUnreadable();
  const std::string& reason = found.empty() ? failure : found;
  console.Say("cannot read " + records.Shown() + (reason.empty() ? "" : ": " + reason));
}

// One filter over one record file.
class FileRun {
 public:
  FileRun(const Options& options, Console& console, const SourceFile& filter, PassedOver& passed_over)
      : options_(options),
        console_(console),
        filter_(filter),
        passed_over_(passed_over),
        stoppable_(tree_),
        files_(tree_, console, options.output_charset),
        records_(options.records_charset) {
    console.Connect(tree_);
    RecordDatabases::Connect(tree_);
  }

  int Run(const InputFile& records) {
    int result = Guarded(console_, tree_, filter_, [&] {
      const int built = LoadTree(console_, tree_, filter_);
      has_tree_ = built != -1;
      if (built == -1 || tree_.IsStop()) return built;
      return RunOver(records);
    });
    files_.Finish();
    if (options_.jobs == 1) reached_ = records_.State();
    if (!is_open_) return result;
    passed_over_.Summarize(reached_, records_.ByteSize(), records.Shown());
    if (ended_early_ || records_.Failure().empty()) return result;
    ExplainUnreadable(console_, records, records_.Failure());
    // Where the reading failed, records were lost, whatever the filter made of the rest.
    return IsInNoFormat() ? result : -1;
  }

  // False: the filter itself is at fault, and would be for every record file.
  bool HasTree() const { return has_tree_; }
  // True if all of the record file was passed over and it is in no format, which was told.
  bool IsInNoFormat() const { return is_open_ && !ended_early_ && records_.IsInNoFormat(); }
  // False if something that goes to named files was lost, which was told.
  bool OutputIsWhole() const { return files_.Whole(); }
  // After a run by several engines: what records changed that each engine has for itself.
  const std::vector<std::string>& Changes() const { return changes_; }

 private:
  int RunOver(const InputFile& records) {
    is_open_ = records_.Open(records.ForLibrary()) != -1;
    if (!is_open_) return RefuseRecords(records);
    passed_over_.BeginRun();
    Progress progress(console_, options_.progress, options_.records.size() > 1 ? records.Shown() + "  " : "");
    return options_.jobs > 1 ? RunShared(progress) : Told(RunAlone(progress));
  }

  // A failure that no error explains.
  int Told(int result) {
    if (result == -1) console_.Say(filter_.Shown() + ": the filter ended with the result -1");
    return result;
  }

  // An error of the script in the one style of filters and a result in the other; either way no place in the filter is
  // at fault.
  int RefuseRecords(const InputFile& records) {
    if (tree_.m_bOldStyle) {
      CString text;
      text.Format(ToGbk("文件'%s'打开失败...").c_str(), records.ForLibrary());
      WriteErrorMessage(tree_, text, tree_.GetCurLineNumber());
    }
    ExplainUnreadable(console_, records, records_.Failure());
    return -1;
  }

  int RunAlone(Progress& progress) {
    records_.OnSkippedRecord([this](const SkippedRecord& skipped) { passed_over_.Take(skipped); });
    records_.AheadOfEach([&] { progress.Update(records_); });
    return tree_.RunMARCTree(&records_);
  }

  int RunShared(Progress& progress) {
    SharedRun run({console_, filter_, tree_, records_, passed_over_, progress, files_}, options_.jobs);
    try {
      const int result = Told(run.Run());
      reached_ = run.Reached();
      ended_early_ = !run.RanAll();
      changes_ = run.Changes();
      return result;
    } catch (...) {
      reached_ = run.Reached();
      ended_early_ = true;
      return Guarded(console_, run.FailedEngine(), filter_, []() -> int { throw; });
    }
  }

  const Options& options_;
  Console& console_;
  const SourceFile& filter_;
  PassedOver& passed_over_;
  CMARCTree tree_;
  const StoppableRun stoppable_;
  const ScriptWindows::RunScope windows_;
  NamedFiles files_;
  RecordSource records_;
  bool has_tree_ = false;
  bool is_open_ = false;
  bool ended_early_ = false;  // ahead of what the reader has read
  ReadState reached_;
  std::vector<std::string> changes_;
};

class FilterRuns {
 public:
  FilterRuns(const Options& options, Console& console)
      : options_(options), console_(console), filter_(options, console), passed_over_(console, options) {}

  int RunAll() {
    int first_failure = 0;
    bool goes_on = true;
    for (size_t i = 0; i < options_.records.size() && goes_on && !StopRequested(); ++i) {
      const int status = RunOne(options_.records[i], goes_on);
      if (first_failure == 0) first_failure = status;
    }
    passed_over_.SummarizeAll();
    if (!passed_over_.Finish()) return kOutputFailed;
    return first_failure != 0 ? first_failure : StatusOfSoundRuns();
  }

 private:
  // What the user has to look at, though every run has the result 0.
  int StatusOfSoundRuns() const {
    if (!output_is_whole_) return kOutputFailed;
    const bool not_all_read = has_no_format_ || (options_.strict && passed_over_.HasAny());
    return not_all_read ? kNotAllRead : 0;
  }

  int RunOne(const std::string& name, bool& has_tree) {
    if (name == "-") PrepareStandardInput();
    const InputFile records(name == "-" ? InputFile::kStandardInput : name, options_.encoding);
    FileRun run(options_, console_, filter_, passed_over_);
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

  const Options& options_;
  Console& console_;
  const SourceFile filter_;
  PassedOver passed_over_;
  bool output_is_whole_ = true;
  bool has_no_format_ = false;  // one of the record files
};

}  // namespace

int RunFilter(const Options& options, Console& console) { return FilterRuns(options, console).RunAll(); }

int ShowTree(const Options& options, Console& console) {
  const SourceFile filter(options, console);
  CMARCTree tree;
  console.Connect(tree);
  RecordDatabases::Connect(tree);
  const StoppableRun stoppable(tree);
  return StatusOf(Guarded(console, tree, filter, [&] {
    const int built = LoadTree(console, tree, filter);
    return built == -1 || tree.IsStop() ? built : tree.DumpMARCTree();
  }));
}

}  // namespace karst::cli

// The verbs "filter" and "tree": a filter is loaded and its tree built; then it runs over record files, or is shown.
// The steps and the messages on the output control are those of the library's own entry point.
#include "error_display.h"
#include "exit_status.h"
#include "input_file.h"
#include "passed_over.h"
#include "progress.h"
#include "record_database.h"
#include "standard_input.h"
#include "stop_request.h"
#include "verbs.h"

namespace karst::cli {
namespace {

// Runs `body`, which gives a result, and reports what it throws. A failed run is -1.
template <class Body>
int Guarded(Console& console, CMARCTree& tree, const InputFile& filter, const Body& body) {
  try {
    return body();
  } catch (const CError& error) {
    return ReportScriptError(console, tree, filter, error.what());
  } catch (const char* text) {
    return ReportScriptError(console, tree, filter, text);
  } catch (...) {
    return ReportScriptError(console, tree, filter, ToGbk("未知错误...").c_str());
  }
}

// The filter's code and its tree. -1 if there is no tree to run; the reason has been told.
int LoadTree(Console& console, CMARCTree& tree, const InputFile& filter) {
  if (tree.ReadCodeFromFile(filter.ForLibrary(), 0) == -1) {
    tree.eprintf(ToGbk("文件[%s]打开错误").c_str(), filter.ForLibrary());
    const std::string reason = filter.WhyUnreadable();
    console.Say("cannot read " + filter.Shown() + (reason.empty() ? "" : ": " + reason));
    return -1;
  }
  if (tree.IsStop()) return 0;
  const int result = tree.BuildMARCTree();
  if (result == -1) console.Say(filter.Shown() + ": the filter ended with the result -1 while it was built");
  return result;
}

void ExplainRunFailure(Console& console, const CMARCTree& tree, const InputFile& filter, const InputFile& records) {
  if (tree.RecordFile()) return console.Say(filter.Shown() + ": the filter ended with the result -1");
  const std::string reason = records.WhyUnreadable();
  console.Say("cannot read " + records.Shown() + (reason.empty() ? "" : ": " + reason));
}

struct Outcome {
  int result = 0;
  bool has_tree = false;  // false: the filter itself is at fault, and would be for every record file
};

class FilterRuns {
 public:
  FilterRuns(const Options& options, Console& console)
      : options_(options),
        console_(console),
        filter_(options.program, options.encoding),
        passed_over_(console, options) {}

  int RunAll() {
    int first_failure = 0;
    for (const std::string& name : options_.records) {
      const Outcome outcome = RunOne(name);
      if (first_failure == 0) first_failure = StatusOf(outcome.result);
      if (!outcome.has_tree || StopRequested()) break;
    }
    passed_over_.SummarizeAll();
    return passed_over_.Finish() ? first_failure : kOutputFailed;
  }

 private:
  Outcome RunOne(const std::string& name) {
    if (name == "-") PrepareStandardInput();
    const InputFile records(name == "-" ? InputFile::kStandardInput : name, options_.encoding);
    CMARCTree tree;
    tree.Initial();
    console_.Connect(tree);
    RecordDatabases::Connect(tree);
    const StoppableRun stoppable(tree);
    Outcome outcome;
    outcome.result = Guarded(console_, tree, filter_, [&] {
      const int built = LoadTree(console_, tree, filter_);
      outcome.has_tree = built != -1;
      if (built == -1 || tree.IsStop()) return built;
      return RunOver(tree, records);
    });
    passed_over_.Summarize(tree, records.Shown());
    return outcome;
  }

  int RunOver(CMARCTree& tree, const InputFile& records) {
    passed_over_.Listen(tree);
    const Progress progress(console_, options_.progress, tree, Label(records));
    const int result = RunTree(tree, records);
    if (result == -1) ExplainRunFailure(console_, tree, filter_, records);
    return result;
  }

  // A record file that cannot be opened is an error of the script in the one style of filters and a result in the
  // other; either way no place in the filter is at fault.
  static int RunTree(CMARCTree& tree, const InputFile& records) {
    try {
      return tree.RunWholeTree(records.ForLibrary());
    } catch (const CError& error) {
      if (tree.RecordFile()) throw;
      WriteErrorMessage(tree, error.what());
      return -1;
    }
  }

  std::string Label(const InputFile& records) const {
    return options_.records.size() > 1 ? records.Shown() + "  " : "";
  }

  const Options& options_;
  Console& console_;
  const InputFile filter_;
  PassedOver passed_over_;
};

}  // namespace

int RunFilter(const Options& options, Console& console) { return FilterRuns(options, console).RunAll(); }

int ShowTree(const Options& options, Console& console) {
  const InputFile filter(options.program, options.encoding);
  CMARCTree tree;
  tree.Initial();
  console.Connect(tree);
  RecordDatabases::Connect(tree);
  const StoppableRun stoppable(tree);
  return StatusOf(Guarded(console, tree, filter, [&] {
    const int built = LoadTree(console, tree, filter);
    return built == -1 || tree.IsStop() ? built : tree.DumpMARCTree();
  }));
}

}  // namespace karst::cli

// The verb "run": one script, in the steps of the library's own entry point.
#include "cli/base/exit_status.h"
#include "cli/base/source_file.h"
#include "cli/base/stop_request.h"
#include "cli/run/error_display.h"
#include "cli/run/named_output.h"
#include "cli/verbs/script_host.h"
#include "cli/verbs/verbs.h"

namespace karst::cli {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  karst run --messages stderr count.pro > counts.txt\n"
    "  karst run --database authors=authors.mrc check.pro";

int StatusOfScript(Console& console, CScript& script, const SourceFile& file) {
  try {
    if (!file.LoadInto(script)) return StatusOf(-1);
    const int result = script.MainLoop();
    if (result == -1) console.Say(file.Shown() + ": the script ended with the result -1");
    return StatusOf(result);
  } catch (const MemoryError& error) {
    return StatusOf(ReportNoMemory(console, script, file, error));
  } catch (const CError& error) {
    return StatusOf(ReportScriptError(console, script, file, error.what(), script.LineOf(error)));
  }
}

class RunVerb : public Verb {
 public:
  RunVerb() : Verb("run", "Run a script", kExamples) {}

  void Declare(OptionList& list, CommonOptions& common) override {
    list.Word("SCRIPT", "The script (.pro)", options_.program);
    AddEncoding(list, common);
    AddMessages(list, common);
    AddSource(list, options_.source);
    AddDatabases(list, options_);
    AddRecordsCharset(list, options_);
    AddWindows(list, options_);
  }

  int Run(const CommonOptions& common) override {
    return ScriptHost(options_, common).Run([&](Console& console) { return RunScript(console); });
  }

 private:
  int RunScript(Console& console) const {
    const SourceFile file(options_.program, options_.source, console);
    CScript script;
    console.Connect(script);
    RecordDatabases::Connect(script);
    const StoppableRun stoppable(script);
    const ScriptWindows::RunScope windows;
    NamedOutput files(script, console, std::nullopt);
    const int status = StatusOfScript(console, script, file);
    files.Finish();
    return status == 0 && !files.Whole() ? kOutputFailed : status;
  }

  ScriptOptions options_;
};

}  // namespace

std::unique_ptr<Verb> MakeRunVerb() { return std::make_unique<RunVerb>(); }

}  // namespace karst::cli

// The verb "run": one script, in the steps of the library's own entry point.
#include "error_display.h"
#include "input_file.h"
#include "record_database.h"
#include "stop_request.h"
#include "verbs.h"
#include "windows/script_windows.h"

namespace karst::cli {
namespace {

void ExplainFailure(Console& console, const CScript& script, const InputFile& file) {
  if (script.lpCodeBuffer) return console.Say(file.Shown() + ": the script ended with the result -1");
  const std::string reason = file.WhyUnreadable();
  console.Say("cannot read " + file.Shown() + (reason.empty() ? "" : ": " + reason));
}

}  // namespace

int RunScript(const Options& options, Console& console) {
  const InputFile file(options.program, options.encoding);
  CScript script;
  console.Connect(script);
  RecordDatabases::Connect(script);
  const StoppableRun stoppable(script);
  const ScriptWindows::RunScope windows;
  try {
    const int result = script.Run(file.ForLibrary());
    if (result == -1) ExplainFailure(console, script, file);
    return StatusOf(result);
  } catch (const CError& error) {
    return StatusOf(ReportScriptError(console, script, file, error.what()));
  }
}

}  // namespace karst::cli

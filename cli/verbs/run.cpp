// The verb "run": one script, in the steps of the library's own entry point.
#include "cli/base/exit_status.h"
#include "cli/base/source_file.h"
#include "cli/base/stop_request.h"
#include "cli/run/error_display.h"
#include "cli/run/named_files.h"
#include "cli/run/record_database.h"
#include "cli/verbs/verbs.h"
#include "cli/windows/script_windows.h"

namespace karst::cli {
namespace {

int Status(Console& console, CScript& script, const SourceFile& file) {
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

}  // namespace

int RunScript(const Options& options, Console& console) {
  const SourceFile file(options, console);
  CScript script;
  console.Connect(script);
  RecordDatabases::Connect(script);
  const StoppableRun stoppable(script);
  const ScriptWindows::RunScope windows;
  NamedFiles files(script, console, RecordCharset::kAuto);
  const int status = Status(console, script, file);
  files.Finish();
  return status == 0 && !files.Whole() ? kOutputFailed : status;
}

}  // namespace karst::cli

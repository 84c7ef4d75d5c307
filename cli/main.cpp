// karst: the command-line host. It reaches the engine through the exported classes only.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <new>

#include "cli/base/console.h"
#include "cli/base/exit_status.h"
#include "cli/base/stop_request.h"
#include "cli/run/record_database.h"
#include "cli/verbs/options.h"
#include "cli/verbs/verbs.h"
#include "cli/windows/script_windows.h"

namespace karst::cli {
namespace {

constexpr char kNoMemory[] = "out of memory";

// A standard file that the caller left closed would be taken by the next file opened, and output would end up there.
// What takes its place refuses everything.
void KeepStandardFilesOpen() {
  for (int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(file, F_GETFD) != -1) continue;
    if (open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY) != file) return;
  }
}

// As many open files as the system lets the process have: a filter may write to thousands.
void RaiseFileLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

int RunVerb(const Options& options, Console& console) {
  switch (options.verb) {
    case Verb::kRun: return RunScript(options, console);
    case Verb::kFilter: return RunFilter(options, console);
    case Verb::kTree: return ShowTree(options, console);
    case Verb::kCheck: return CheckSources(options, console);
    case Verb::kConvert: return ConvertRecords(options, console);
    case Verb::kShow: return ShowRecords(options, console);
    case Verb::kCount: return CountRecords(options, console);
    case Verb::kSplit: return SplitRecords(options, console);
  }
  return kWrongUsage;
}

int RunGuarded(const Options& options, Console& console) {
  try {
    return RunVerb(options, console);
  } catch (const HostError& error) {
    if (*error.what()) console.Say(error.what());
    return error.Status();
  } catch (const std::bad_alloc&) {
    console.Say(kNoMemory);
    return kOutOfMemory;
  } catch (const std::exception& error) {
    console.Say(std::string("the run failed: ") + error.what());
    return StatusOf(-1);
  }
}

// A run whose look-ups may have missed a record is not sound, though its own result is 0.
int StatusAfter(int status, const RecordDatabases& databases) {
  return status == 0 && !databases.AllRead() ? kNotAllRead : status;
}

int RunToEnd(const Options& options) {
  RecordDatabases databases(options);  // ahead of the console, which empties files
  Console console(options);
  databases.TellOn(console);
  const ScriptWindows windows(options, console);
  const int status = StatusAfter(RunGuarded(options, console), databases);
  if (const int lost = console.Finish()) return lost;
  if (StopSignal() == 0) return status;
  console.Say("interrupted");
  return kSignalBase + StopSignal();
}

int Main(int argc, char** argv) {
  KeepStandardFilesOpen();
  RaiseFileLimit();
  const auto parsed = ParseOptions(argc, argv);
  if (const int* status = std::get_if<int>(&parsed)) return *status;
  InstallSignalHandlers();
  try {
    return RunToEnd(std::get<Options>(parsed));
  } catch (const HostError& error) {
    std::fprintf(stderr, "karst: %s\n", error.what());
    return error.Status();
  }
}

// Told without memory of its own.
int TellNoMemory() {
  std::fprintf(stderr, "karst: %s\n", kNoMemory);
  return kOutOfMemory;
}

}  // namespace
}  // namespace karst::cli

int main(int argc, char** argv) {
  try {
    return karst::cli::Main(argc, argv);
  } catch (const std::bad_alloc&) {
    return karst::cli::TellNoMemory();
  }
}

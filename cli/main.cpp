// karst: the command-line host. It reaches the engine through the exported classes only.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <new>

#include "cli/base/exit_status.h"
#include "cli/base/stop_request.h"
#include "cli/verbs/command_line.h"

namespace karst::cli {
namespace {

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

int Main(int argc, char** argv) {
  KeepStandardFilesOpen();
  RaiseFileLimit();
  const auto parsed = ParseCommandLine(argc, argv);
  if (const int* status = std::get_if<int>(&parsed)) return *status;
  InstallSignalHandlers();
  const Command& command = std::get<Command>(parsed);
  try {
    return command.verb->Run(command.common);
  } catch (const HostError& error) {
    std::fprintf(stderr, "karst: %s\n", error.what());
    return error.Status();
  }
}

// Told without memory of its own.
int TellNoMemory() {
  std::fprintf(stderr, "karst: %s\n", kNoMemoryText);
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

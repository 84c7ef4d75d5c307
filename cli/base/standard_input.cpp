// The pipe in front of a standard input that cannot be opened anew; waiting for a key.
#include "cli/base/standard_input.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>

#include "cli/base/stop_request.h"
#include "cli/base/writer.h"
#include "platform/retried.h"

namespace karst::cli {
namespace {

bool CanBeOpenedAnew() {
  struct stat status;
  if (fstat(STDIN_FILENO, &status) != 0) return true;
  return !S_ISSOCK(status.st_mode) && !(S_ISREG(status.st_mode) && lseek(STDIN_FILENO, 0, SEEK_CUR) > 0);
}

[[noreturn]] void PassOn(int target) {
  std::signal(SIGINT, SIG_DFL);
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // nobody reads on once the parent is gone
  std::array<char, 65536> buffer;
  while (true) {
    const ssize_t count = Retried([&] { return read(STDIN_FILENO, buffer.data(), buffer.size()); });
    if (count <= 0 || WriteAll(target, {buffer.data(), static_cast<size_t>(count)}) != 0) _exit(0);
  }
}

// A signal that comes between the look at the request and the wait does not end the wait, so that it is looked at
// again.
bool WaitForInput() {
  constexpr int kPauseMilliseconds = 100;
  while (!StopRequested()) {
    pollfd wanted{STDIN_FILENO, POLLIN, 0};
    if (poll(&wanted, 1, kPauseMilliseconds) > 0) return true;
  }
  return false;
}

}  // namespace

void PrepareStandardInput() {
  int ends[2];
  if (CanBeOpenedAnew() || pipe2(ends, O_CLOEXEC) != 0) return;
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    PassOn(ends[1]);
  }
  if (child > 0) dup2(ends[0], STDIN_FILENO);
  close(ends[0]);
  close(ends[1]);
}

bool WaitForEnter() {
  char byte = 0;
  while (byte != '\n') {
    if (!WaitForInput()) return false;
    const ssize_t count = read(STDIN_FILENO, &byte, 1);
    if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN)) return false;
  }
  return true;
}

}  // namespace karst::cli

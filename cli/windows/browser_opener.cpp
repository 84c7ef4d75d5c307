// Starting the user's browser, as a child process of its own session: a Ctrl-C for the script is none for the browser.
#include "cli/windows/browser_opener.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <vector>

namespace karst::cli {
namespace {

bool IsSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value && *value;
}

// Those that have ended leave the table of processes, however many windows a script opens.
// From one thread only: that of the script.
void Keep(pid_t child) {
  static std::vector<pid_t> children;
  children.push_back(child);
  std::erase_if(children, [](pid_t started) { return waitpid(started, nullptr, WNOHANG) != 0; });
}

}  // namespace

bool HasDisplay() { return IsSet("WAYLAND_DISPLAY") || IsSet("DISPLAY"); }

bool OpenInBrowser(const std::string& address) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
  posix_spawnattr_t how;
  posix_spawnattr_init(&how);
  sigset_t ignored_here;
  sigemptyset(&ignored_here);
  sigaddset(&ignored_here, SIGPIPE);
  posix_spawnattr_setsigdefault(&how, &ignored_here);
  posix_spawnattr_setflags(&how, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF);
  std::string program = "xdg-open";
  std::string argument = address;
  char* const arguments[] = {program.data(), argument.data(), nullptr};
  pid_t child;
  const bool started = posix_spawnp(&child, program.c_str(), &files, &how, arguments, environ) == 0;
  posix_spawnattr_destroy(&how);
  posix_spawn_file_actions_destroy(&files);
  if (started) Keep(child);
  return started;
}

}  // namespace karst::cli

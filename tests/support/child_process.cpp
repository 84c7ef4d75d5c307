// A child with its own standard files: input through a pipe, output and error through files without a name.
#include "support/child_process.h"
#include "support/places.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <sstream>

namespace karst::testing {
namespace {

constexpr rlim_t kProcessorSeconds = 60;

class OpenFile {
 public:
  explicit OpenFile(int file) : file_(file) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() { Close(); }
  int Get() const { return file_; }
  void Close() {
    if (file_ >= 0) close(file_);
    file_ = -1;
  }

 private:
  int file_;
};

struct Pipe {
  explicit Pipe(int (&ends)[2]) : read_end(pipe2(ends, O_CLOEXEC) == 0 ? ends[0] : -1), write_end(ends[1]) {}
  OpenFile read_end;
  OpenFile write_end;
};

std::string TakeAll(int file) {
  std::string text;
  char buffer[4096];
  lseek(file, 0, SEEK_SET);
  for (ssize_t count; (count = read(file, buffer, sizeof buffer)) > 0;) text.append(buffer, count);
  return text;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

bool IsSetAnew(std::string_view variable, const ChildSetup& setup) {
  const std::string_view name = variable.substr(0, variable.find('=') + 1);
  return std::any_of(setup.environment.begin(), setup.environment.end(),
                     [&](const std::string& other) { return other.starts_with(name); });
}

// The parent's variables without those that name a locale or are set anew, and the setup's behind them.
std::vector<std::string> Environment(const ChildSetup& setup) {
  std::vector<std::string> variables;
  for (char** entry = environ; *entry; ++entry) {
    const std::string_view text = *entry;
    if (!text.starts_with("LC_") && !text.starts_with("LANG") && !IsSetAnew(text, setup)) variables.emplace_back(text);
  }
  variables.insert(variables.end(), setup.environment.begin(), setup.environment.end());
  return variables;
}

[[noreturn]] void Become(std::vector<char*>& arguments, std::vector<char*>& environment, int input, int output,
                         int error) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(signal, SIG_DFL);
  const rlimit limit{kProcessorSeconds, kProcessorSeconds};
  setrlimit(RLIMIT_CPU, &limit);
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(error, STDERR_FILENO);
  execve(arguments[0], arguments.data(), environment.data());
  _exit(127);
}

void Feed(OpenFile& pipe, const std::string& input) {
  const auto old = std::signal(SIGPIPE, SIG_IGN);
  // A child that does not read its input to the end is no fault of the test's.
  [[maybe_unused]] const ssize_t written = write(pipe.Get(), input.data(), input.size());
  pipe.Close();
  std::signal(SIGPIPE, old);
}

int OutputOf(const ChildSetup& setup, Pipe& unread, const OpenFile& kept, const OpenFile& named) {
  if (setup.output_closed) return unread.write_end.Get();
  return setup.output_path.empty() ? kept.Get() : named.Get();
}

}  // namespace

ChildResult RunProgram(const ChildSetup& setup, const std::function<void(pid_t)>& while_running) {
  std::vector<std::string> texts{ProgramPath()};
  texts.insert(texts.end(), setup.arguments.begin(), setup.arguments.end());
  std::vector<std::string> variables = Environment(setup);
  auto arguments = Pointers(texts);
  auto environment = Pointers(variables);
  int ends[2];
  Pipe input(ends);
  Pipe unread(ends);
  OpenFile output(memfd_create("output", MFD_CLOEXEC));
  OpenFile error(memfd_create("error", MFD_CLOEXEC));
  OpenFile named(setup.output_path.empty() ? -1 : open(setup.output_path.c_str(), O_WRONLY | O_CLOEXEC));
  const int output_file = OutputOf(setup, unread, output, named);
  const pid_t child = fork();
  if (child == 0) Become(arguments, environment, input.read_end.Get(), output_file, error.Get());
  unread.read_end.Close();
  unread.write_end.Close();
  input.read_end.Close();
  Feed(input.write_end, setup.input);
  while_running(child);
  int state = 0;
  EXPECT_EQ(waitpid(child, &state, 0), child);
  const int status = WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
  return {status, TakeAll(output.Get()), TakeAll(error.Get())};
}

ChildResult RunProgram(const ChildSetup& setup) {
  return RunProgram(setup, [](pid_t) {});
}

std::string ReadWhole(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteWhole(const std::string& path, std::string_view bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  EXPECT_TRUE(file.good()) << path;
}

}  // namespace karst::testing

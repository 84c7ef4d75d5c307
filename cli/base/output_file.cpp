// OutputFile: opened without emptying first, so that a mistaken name costs no data.
#include "cli/base/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "cli/base/exit_status.h"
#include "cli/base/input_file.h"
#include "platform/files.h"

namespace karst::cli {
namespace {

bool SameFile(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

int Empty(int file) {
  int result;
  do result = ftruncate(file, 0);
  while (result != 0 && errno == EINTR);
  return result;
}

}  // namespace

bool IsReadByRun(const struct stat& target, const Options& options) {
  struct stat input;
  if (stat(SystemName(options.program, options.encoding).c_str(), &input) == 0 && SameFile(target, input)) return true;
  for (const std::string& option : options.databases) {
    const std::string name = option.substr(option.find('=') + 1);
    if (stat(SystemName(name, options.encoding).c_str(), &input) == 0 && SameFile(target, input)) return true;
  }
  for (const std::string& name : options.records) {
    const std::string path = name == "-" ? "/dev/stdin" : SystemName(name, options.encoding);
    if (stat(path.c_str(), &input) == 0 && SameFile(target, input)) return true;
  }
  return false;
}

bool EndsQuietly(int error, const Options& options) {
  const bool has_messages = options.messages != "stdout" && options.messages != "stderr";
  return error == EPIPE && options.rejects.empty() && !has_messages && !FilesWereOpenedForWriting();
}

OutputFile::OutputFile(const std::string& name, const Options& options) {
  constexpr mode_t kMode = 0666;
  // Elsewhere this name is a standard file: a file called so would be one that nobody looks for.
  if (name == "-") throw HostError(kWrongUsage, "- is no file of its own; ./- names one");
  descriptor_ = open(SystemName(name, options.encoding).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kMode);
  struct stat target;
  if (descriptor_ < 0 || fstat(descriptor_, &target) != 0) {
    throw HostError(kOutputFailed, "cannot write " + name + ": " + std::strerror(errno));
  }
  if (!S_ISREG(target.st_mode)) return;
  if (IsReadByRun(target, options)) throw HostError(kWrongUsage, name + " is read by this run; it is left as it was");
  if (Empty(descriptor_) != 0) {
    throw HostError(kOutputFailed, "cannot empty " + name + ": " + std::strerror(errno));
  }
}

OutputFile::~OutputFile() { Close(); }

bool OutputFile::Close() {
  if (descriptor_ < 0) return true;
  const int result = close(descriptor_);
  descriptor_ = -1;
  return result == 0;
}

}  // namespace karst::cli

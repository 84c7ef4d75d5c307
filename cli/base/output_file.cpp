// OutputFile: opened without emptying first, so that a mistaken name costs no data.
#include "cli/base/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "cli/base/exit_status.h"
#include "cli/base/input_file.h"
#include "platform/files.h"
#include "platform/retried.h"

namespace karst::cli {
namespace {

bool SameFile(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

// Of the whole process, as for the files of scripts.
bool an_output_file_was_made = false;

}  // namespace

bool IsAmong(const FilesRead& inputs, const struct stat& file) {
  return std::any_of(inputs.names.begin(), inputs.names.end(), [&](const std::string& name) {
    struct stat input;
    const std::string path = name == "-" ? InputFile::kStandardInput : SystemName(name, inputs.encoding);
    return stat(path.c_str(), &input) == 0 && SameFile(file, input);
  });
}

bool EndsQuietly(int error) { return error == EPIPE && !an_output_file_was_made && !FilesWereOpenedForWriting(); }

OutputFile::OutputFile(const std::string& name, const FilesRead& inputs) {
  constexpr mode_t kMode = 0666;
  // Elsewhere this name is a standard file: a file called so would be one that nobody looks for.
  if (name == "-") throw HostError(kWrongUsage, "- is no file of its own; ./- names one");
  descriptor_ = open(SystemName(name, inputs.encoding).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kMode);
  struct stat target;
  if (descriptor_ < 0 || fstat(descriptor_, &target) != 0) {
    throw HostError(kOutputFailed, "cannot write " + name + ": " + std::strerror(errno));
  }
  an_output_file_was_made = true;
  if (!S_ISREG(target.st_mode)) return;
  if (IsAmong(inputs, target)) throw HostError(kWrongUsage, name + " is read by this run; it is left as it was");
  if (Retried([&] { return ftruncate(descriptor_, 0); }) != 0) {
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

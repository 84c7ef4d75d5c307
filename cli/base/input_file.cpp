// InputFile: the three names of one file.
#include "cli/base/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/retried.h"

namespace karst::cli {

std::string SystemName(const std::string& name, Encoding encoding) {
  return encoding == Encoding::kGbk ? ToUtf8(name) : name;
}

InputFile::InputFile(const std::string& name, Encoding encoding)
    : shown_(name), system_name_(SystemName(name, encoding)) {
  if (name == kStandardInput) shown_ = "standard input";
  if (encoding == Encoding::kGbk) {
    library_name_ = name;
  } else if (!ToGbk(name, library_name_)) {
    descriptor_ = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ >= 0) library_name_ = "/dev/fd/" + std::to_string(descriptor_);
  }
}

InputFile::~InputFile() {
  if (descriptor_ >= 0) close(descriptor_);
}

std::string InputFile::WhyUnreadable() const {
  struct stat status;
  if (stat(ForSystem(), &status) != 0) return std::strerror(errno);
  if (S_ISDIR(status.st_mode)) return std::strerror(EISDIR);
  // A pipe is not opened here: its writer would take the closing for the end of its reader.
  if (S_ISFIFO(status.st_mode)) return access(ForSystem(), R_OK) == 0 ? "" : std::strerror(errno);
  const int file = open(ForSystem(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return std::strerror(errno);
  close(file);
  return "";
}

std::string InputFile::Read(std::string& bytes) const {
  constexpr size_t kStep = 64 * 1024;
  bytes.clear();
  const int file = open(ForSystem(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return std::strerror(errno);
  ssize_t count = 0;
  do {
    const size_t size = bytes.size();
    bytes.resize(size + kStep);
    count = Retried([&] { return read(file, bytes.data() + size, kStep); });
    bytes.resize(size + static_cast<size_t>(count < 0 ? 0 : count));
  } while (count > 0);
  const std::string reason = count < 0 ? std::strerror(errno) : "";
  close(file);
  return reason;
}

}  // namespace karst::cli

// FreshFile, on the file system's renaming.
#include "cli/base/fresh_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

namespace karst::cli {
namespace {

constexpr mode_t kPermissions = 07777;
constexpr mode_t kNewFile = 0666;

mode_t ModeOfNewFile() {
  const mode_t mask = umask(0);
  umask(mask);
  return kNewFile & ~mask;
}

// Without its owner the file is as good.
bool TakeAttributes(int file, const struct stat& old) {
  if (fchown(file, old.st_uid, old.st_gid) != 0 && errno != EPERM) return false;
  return fchmod(file, old.st_mode & kPermissions) == 0;
}

// 0, or the number of the error. What a file system cannot do (it may be a device's or the network's) is none.
int PutOnDisk(int descriptor) { return fsync(descriptor) == 0 || errno == EINVAL || errno == ENOTSUP ? 0 : errno; }

// A folder that may be changed but not read is left to the system.
int PutNamesOnDisk(const std::string& path) {
  const std::string folder = path.substr(0, path.rfind('/') + 1) + ".";
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return errno == EACCES ? 0 : errno;
  const int fault = PutOnDisk(descriptor);
  close(descriptor);
  return fault;
}

}  // namespace

FreshFile::~FreshFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

int FreshFile::Make(const std::string& path) {
  std::error_code unresolved;
  const auto resolved = std::filesystem::canonical(path, unresolved);
  path_ = unresolved ? path : resolved.string();
  struct stat old;
  const bool is_there = stat(path_.c_str(), &old) == 0;
  if (!is_there && errno != ENOENT) return errno;
  if (is_there && access(path_.c_str(), W_OK) != 0) return errno;  // a new file could take its name all the same
  std::string pattern = path_.substr(0, path_.rfind('/') + 1) + ".karst-XXXXXX";
  descriptor_ = mkostemp(pattern.data(), O_CLOEXEC);
  if (descriptor_ < 0) return errno;
  temporary_ = std::move(pattern);  // which needs no memory
  const bool good = is_there ? TakeAttributes(descriptor_, old) : fchmod(descriptor_, ModeOfNewFile()) == 0;
  return good ? 0 : errno;
}

int FreshFile::TakeName() { return TakeName(path_); }

int FreshFile::TakePartialName() { return TakeName(PartialPath()); }

int FreshFile::TakeName(const std::string& path) {
  if (const int fault = PutOnDisk(descriptor_)) return fault;
  const int descriptor = descriptor_;
  descriptor_ = -1;
  if (close(descriptor) != 0 || std::rename(temporary_.c_str(), path.c_str()) != 0) return errno;
  temporary_.clear();
  return PutNamesOnDisk(path);
}

}  // namespace karst::cli

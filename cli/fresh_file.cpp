// FreshFile, on the file system's renaming.
#include "fresh_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

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

}  // namespace

FreshFile::~FreshFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

int FreshFile::Make(const std::string& path, const struct stat* old) {
  path_ = path;
  std::string pattern = path.substr(0, path.rfind('/') + 1) + ".karst-XXXXXX";
  descriptor_ = mkostemp(pattern.data(), O_CLOEXEC);
  if (descriptor_ < 0) return errno;
  temporary_ = pattern;
  const bool good = old ? TakeAttributes(descriptor_, *old) : fchmod(descriptor_, ModeOfNewFile()) == 0;
  return good ? 0 : errno;
}

int FreshFile::TakeName() {
  const int descriptor = descriptor_;
  descriptor_ = -1;
  if (close(descriptor) != 0 || std::rename(temporary_.c_str(), path_.c_str()) != 0) return errno;
  temporary_.clear();
  return 0;
}

}  // namespace karst::cli

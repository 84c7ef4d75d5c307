// ReplaceFile, on the file system's renaming.
#include "check/replace_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "writer.h"

namespace karst::cli::check {
namespace {

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};

// The owner is kept where that is allowed; without it the file is as good.
bool TakeAttributes(int file, const struct stat& from) {
  if (fchown(file, from.st_uid, from.st_gid) != 0 && errno != EPERM) return false;
  return fchmod(file, from.st_mode & 07777) == 0;
}

}  // namespace

std::string ReplaceFile(const std::string& path, std::string_view bytes) {
  const std::unique_ptr<char, FreeText> real(realpath(path.c_str(), nullptr));
  struct stat old;
  if (!real || stat(real.get(), &old) != 0) return std::strerror(errno);
  if (!S_ISREG(old.st_mode)) return "it is no regular file";
  if (access(real.get(), W_OK) != 0) return std::strerror(errno);  // a new file could take its name all the same
  std::string fresh = std::string(real.get()) + ".XXXXXX";
  const int file = mkstemp(fresh.data());
  if (file < 0) return std::strerror(errno);
  int fault = WriteAll(file, bytes);
  if (fault == 0 && (!TakeAttributes(file, old) || fsync(file) != 0)) fault = errno;
  if (close(file) != 0 && fault == 0) fault = errno;
  if (fault == 0 && std::rename(fresh.c_str(), real.get()) != 0) fault = errno;
  if (fault == 0) return "";
  unlink(fresh.c_str());
  return std::strerror(fault);
}

}  // namespace karst::cli::check

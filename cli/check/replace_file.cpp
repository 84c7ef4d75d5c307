// ReplaceFile, on the file system's renaming.
#include "check/replace_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "fresh_file.h"
#include "writer.h"

namespace karst::cli::check {
namespace {

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};

}  // namespace

std::string ReplaceFile(const std::string& path, std::string_view bytes) {
  const std::unique_ptr<char, FreeText> real(realpath(path.c_str(), nullptr));
  struct stat old;
  if (!real || stat(real.get(), &old) != 0) return std::strerror(errno);
  if (!S_ISREG(old.st_mode)) return "it is no regular file";
  if (access(real.get(), W_OK) != 0) return std::strerror(errno);  // a new file could take its name all the same
  FreshFile fresh;
  int fault = fresh.Make(real.get(), &old);
  if (fault == 0) fault = WriteAll(fresh.Descriptor(), bytes);
  if (fault == 0 && fsync(fresh.Descriptor()) != 0) fault = errno;
  if (fault == 0) fault = fresh.TakeName();
  return fault == 0 ? "" : std::strerror(fault);
}

}  // namespace karst::cli::check

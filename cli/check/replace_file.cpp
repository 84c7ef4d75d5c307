// ReplaceFile, by a file that takes the name.
#include "cli/check/replace_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "cli/base/fresh_file.h"
#include "cli/base/writer.h"

namespace karst::cli::check {

std::string ReplaceFile(const std::string& path, std::string_view bytes) {
  struct stat old;
  if (stat(path.c_str(), &old) != 0) return std::strerror(errno);
  if (!S_ISREG(old.st_mode)) return "it is no regular file";
  FreshFile fresh;
  int fault = fresh.Make(path);
  if (fault == 0) fault = WriteAll(fresh.Descriptor(), bytes);
  if (fault == 0) fault = fresh.TakeName();
  return fault == 0 ? "" : std::strerror(fault);
}

}  // namespace karst::cli::check

// Files beside a page, reached part by part, so that no link is followed on the way.
#include "cli/windows/page_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "cli/base/ascii.h"
#include "platform/retried.h"

namespace karst::cli {
namespace {

class OpenFile {
 public:
  explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
  OpenFile(OpenFile&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  OpenFile& operator=(OpenFile&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~OpenFile() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  int Descriptor() const { return descriptor_; }
  bool IsOpen() const { return descriptor_ >= 0; }

 private:
  int descriptor_;
};

bool IsPlainPart(std::string_view part) {
  return !part.empty() && part[0] != '.' && part.find('\0') == std::string_view::npos;
}

// Without O_NONBLOCK a pipe of that name would hold the caller up.
OpenFile OpenPageFile(const std::string& folder, std::string_view path) {
  OpenFile at(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  while (at.IsOpen()) {
    const size_t slash = path.find('/');
    const std::string part(path.substr(0, slash));
    if (!IsPlainPart(part)) return OpenFile(-1);
    const bool last = slash == std::string_view::npos;
    const int how = last ? O_RDONLY | O_NONBLOCK | O_NOCTTY : O_PATH | O_DIRECTORY;
    at = OpenFile(openat(at.Descriptor(), part.c_str(), how | O_NOFOLLOW | O_CLOEXEC));
    if (last) break;
    path.remove_prefix(slash + 1);
  }
  return at;
}

constexpr std::pair<std::string_view, std::string_view> kTypes[] = {
    {"html", "text/html; charset=gbk"},
    {"htm", "text/html; charset=gbk"},
    {"txt", "text/plain; charset=gbk"},
    {"css", "text/css; charset=gbk"},
    {"png", "image/png"},
    {"jpg", "image/jpeg"},
    {"jpeg", "image/jpeg"},
    {"gif", "image/gif"},
    {"svg", "image/svg+xml"},
    {"webp", "image/webp"},
    {"ico", "image/x-icon"},
    {"pdf", "application/pdf"},
    {"js", "text/plain; charset=gbk"},
};

}  // namespace

std::optional<std::string> ReadPageFile(const std::string& folder, std::string_view path, size_t most) {
  const OpenFile file = OpenPageFile(folder, path);
  struct stat status;
  if (!file.IsOpen() || fstat(file.Descriptor(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if (static_cast<size_t>(status.st_size) > most) return std::nullopt;
  std::string bytes(static_cast<size_t>(status.st_size), 0);
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = Retried([&] { return read(file.Descriptor(), bytes.data() + done, bytes.size() - done); });
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    done += static_cast<size_t>(count);
  }
  bytes.resize(done);
  return bytes;
}

std::string ContentTypeOf(std::string_view path) {
  const size_t dot = path.rfind('.');
  const std::string extension = dot == std::string_view::npos ? "" : LoweredAscii(path.substr(dot + 1));
  for (const auto& [known, type] : kTypes) {
    if (extension == known) return std::string(type);
  }
  return "application/octet-stream";
}

}  // namespace karst::cli

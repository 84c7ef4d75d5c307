// The table of open files, and file names. A file lives as long as a call uses it, even when another thread closes
// its handle meanwhile.
#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "platform/charset.h"
#include "platform/mbtext.h"

namespace karst {

namespace {

// Repeats a system call that a signal broke off.
template <typename Call>
auto Retried(Call call) {
  auto answer = call();
  while (answer == -1 && errno == EINTR) answer = call();
  return answer;
}

class OpenFile {
 public:
  explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() { close(descriptor_); }
  int Descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

// CHOICE: handles count up and are not used again, so that a closed one stays wrong.
// LIMIT: 2,147,483,647 opened files a process; no more can be opened behind them.
class FileTable {
 public:
  FileHandle Add(std::shared_ptr<OpenFile> file) {
    std::lock_guard lock(mutex_);
    if (last_handle_ == std::numeric_limits<FileHandle>::max()) return kNoFile;
    files_.emplace(++last_handle_, std::move(file));
    return last_handle_;
  }
  std::shared_ptr<OpenFile> Find(FileHandle handle) {
    std::lock_guard lock(mutex_);
    const auto found = files_.find(handle);
    return found == files_.end() ? nullptr : found->second;
  }
  bool Remove(FileHandle handle) {
    std::lock_guard lock(mutex_);
    return files_.erase(handle) != 0;
  }

 private:
  std::mutex mutex_;
  std::unordered_map<FileHandle, std::shared_ptr<OpenFile>> files_;
  FileHandle last_handle_ = 0;
};

// Never destroyed: an interpreter object in a host's static storage may outlive every static of this library.
FileTable& Table() {
  static FileTable& table = *new FileTable;
  return table;
}

bool IsDirectory(int descriptor) {
  struct stat status;
  return fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

FileHandle OpenWithFlags(const char* name, int flags) {
  const std::string path = ToFileSystemName(name);
  const int descriptor = Retried([&] { return open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, 0666); });
  if (descriptor < 0) return kNoFile;
  const auto file = std::make_shared<OpenFile>(descriptor);
  return IsDirectory(descriptor) ? kNoFile : Table().Add(file);
}

bool FileExists(const char* name) {
  struct stat status;
  return stat(ToFileSystemName(name).c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

// One read or write asks for no more than this, which every system takes.
constexpr size_t kMostAtOnce = size_t{1} << 30;

// Repeats `step` (pointer, count) until `count` bytes went through, it answered 0 or it failed. Bytes that went
// through ahead of a failure count.
template <typename Byte, typename Step>
int64_t Transfer(Byte* bytes, size_t count, Step step) {
  size_t done = 0;
  do {
    const ssize_t answer = Retried([&] { return step(bytes + done, std::min(count - done, kMostAtOnce)); });
    if (answer < 0 && done == 0) return -1;
    if (answer <= 0) break;
    done += static_cast<size_t>(answer);
  } while (done < count);
  return static_cast<int64_t>(done);
}

// True for the first byte of a double-byte character. No trail byte is below 0x40, so a slash is always a slash.
bool IsDoubleByteAt(std::string_view text, size_t i) {
  return IsDBCSLeadByte(static_cast<unsigned char>(text[i])) && i + 1 < text.size() &&
         static_cast<unsigned char>(text[i + 1]) >= 0x40;
}

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool IsThere(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

// Adds one part of a GBK path to the path made so far. A part is meant as UTF-8 in the file system; where only its
// bytes as they stand are there (an old disk, a name outside GBK), these are meant.
void AppendPart(std::string& path, std::string_view part) {
  if (IsAscii(part) || !IsValidGbk(part)) {
    path += part;
    return;
  }
  const std::string converted = path + GbkToUtf8(part);
  const std::string untouched = path + std::string(part);
  path = !IsThere(converted) && IsThere(untouched) ? untouched : converted;
}

// Gives the parts of `name` between its slashes to `take`, and puts the slashes into `path` between the calls.
template <typename Take>
void ForEachPart(std::string_view name, Take take, std::string& path) {
  for (;;) {
    const size_t slash = name.find('/');
    take(name.substr(0, slash));
    if (slash == name.npos) return;
    path += '/';
    name.remove_prefix(slash + 1);
  }
}

}  // namespace

FileHandle OpenWithStyle(const char* name, unsigned style) {
  if (style & kStyleDelete) return DeleteFile(name) == 0 ? 1 : -1;
  if (style & kStyleExists) return FileExists(name) ? 1 : -1;
  if (style & kStyleCreate) return CreateForWriting(name);
  return style & kStyleWrite ? OpenExistingForWriting(name) : OpenForReading(name);
}

FileHandle OpenExistingForWriting(const char* name) { return OpenWithFlags(name, O_WRONLY); }

FileHandle CreateForWriting(const char* name) { return OpenWithFlags(name, O_WRONLY | O_CREAT | O_TRUNC); }

FileHandle OpenForReading(const char* name) { return OpenWithFlags(name, O_RDONLY); }

FileHandle OpenForAppending(const char* name) {
  const FileHandle file = OpenWithFlags(name, O_WRONLY | O_CREAT);
  // A pipe or a terminal has no end to go to, and takes what is written all the same.
  if (file != kNoFile) SeekFile(file, 0, SeekFrom::kEnd);
  return file;
}

int CloseFile(FileHandle file) { return Table().Remove(file) ? 0 : -1; }

int64_t SeekFile(FileHandle file, int64_t offset, SeekFrom from) {
  const auto open_file = Table().Find(file);
  if (!open_file) return -1;
  const int whence = from == SeekFrom::kStart ? SEEK_SET : from == SeekFrom::kCurrent ? SEEK_CUR : SEEK_END;
  return lseek(open_file->Descriptor(), offset, whence);
}

int64_t ReadFile(FileHandle file, char* target, size_t count) {
  const auto open_file = Table().Find(file);
  if (!open_file) return -1;
  return Transfer(target, count, [&](char* at, size_t n) { return read(open_file->Descriptor(), at, n); });
}

int64_t WriteFile(FileHandle file, std::string_view bytes) {
  const auto open_file = Table().Find(file);
  if (!open_file) return -1;
  return Transfer(bytes.data(), bytes.size(),
                  [&](const char* at, size_t n) { return write(open_file->Descriptor(), at, n); });
}

int64_t FileSize(FileHandle file) {
  const auto open_file = Table().Find(file);
  struct stat status;
  if (!open_file || fstat(open_file->Descriptor(), &status) != 0 || !S_ISREG(status.st_mode)) return -1;
  return status.st_size;
}

int TruncateHere(FileHandle file) {
  const auto open_file = Table().Find(file);
  if (!open_file) return -1;
  const off_t here = lseek(open_file->Descriptor(), 0, SEEK_CUR);
  if (here < 0) return -1;
  return Retried([&] { return ftruncate(open_file->Descriptor(), here); });
}

int DeleteFile(const char* name) { return unlink(ToFileSystemName(name).c_str()); }

CString WithForwardSlashes(std::string_view gbk_name) {
  CString name(gbk_name);
  for (size_t i = 0; i < name.size(); ++i) {
    if (IsDoubleByteAt(gbk_name, i)) {
      ++i;
    } else if (gbk_name[i] == '\\') {
      name.data()[i] = '/';
    }
  }
  return name;
}

std::string ToFileSystemName(const char* gbk_name) {
  const CString name = WithForwardSlashes(gbk_name ? gbk_name : "");
  if (IsAscii(name.view())) return std::string(name.view());
  std::string path;
  ForEachPart(
      name.view(), [&](std::string_view part) { AppendPart(path, part); }, path);
  return path;
}

CString FromFileSystemName(std::string_view name) {
  std::string path;
  std::string gbk;
  ForEachPart(
      name, [&](std::string_view part) { path += Utf8ToGbk(part, gbk, nullptr) ? gbk : part; }, path);
  return CString(std::string_view(path));
}

}  // namespace karst

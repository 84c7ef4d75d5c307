// Opening, reading and writing through the table of open files; file names.
#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <system_error>

#include "platform/filetable.h"
#include "platform/retried.h"
#include "text/charset.h"
#include "text/mbtext.h"

namespace karst {

namespace {

FileTable& Table() { return FileTable::OfProcess(); }

// The file behind a descriptor, which it takes; none for a directory.
std::shared_ptr<OpenFile> TakeDescriptor(ScopedDescriptor& opened, FileOwner owner) {
  struct stat status;
  if (fstat(opened.Get(), &status) != 0) return nullptr;
  if (S_ISDIR(status.st_mode)) return errno = EISDIR, nullptr;
  auto file = std::make_shared<OpenFile>(opened.Get(), status, owner);
  opened.Release();
  return file;
}

std::shared_ptr<OpenFile> OpenPath(const std::string& path, int flags, FileOwner owner) {
  ScopedDescriptor opened(Table().OpenDescriptor(path.c_str(), flags));
  return opened.Get() < 0 ? nullptr : TakeDescriptor(opened, owner);
}

FileHandle OpenWithFlags(const char* name, int flags, FileOwner owner = kNoOwner) {
  auto file = OpenPath(ToFileSystemName(name), flags, owner);
  return file ? Table().Add(std::move(file)) : kNoFile;
}

// What is no regular file, such as a pipe, cannot come back where it was.
void MakeOutput(OpenFile& file, const std::string& path) {
  std::error_code fault;
  file.path = std::filesystem::absolute(path, fault);
  file.is_output = file.is_regular && !fault;
}

bool FileExists(const char* name) {
  struct stat status;
  return stat(ToFileSystemName(name).c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

constexpr int kCreate = O_WRONLY | O_CREAT | O_TRUNC;

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

FileHandle OpenWithStyle(const char* name, unsigned style, FileOwner owner) {
  if (style & kStyleDelete) return DeleteFile(name) == 0 ? 1 : -1;
  if (style & kStyleExists) return FileExists(name) ? 1 : -1;
  if (style & kStyleCreate) return OpenWithFlags(name, kCreate, owner);
  return OpenWithFlags(name, style & kStyleWrite ? O_WRONLY : O_RDONLY, owner);
}

FileHandle CreateForWriting(const char* name) { return OpenWithFlags(name, kCreate); }

FileHandle OpenForReading(const char* name) { return OpenWithFlags(name, O_RDONLY); }

FileHandle OpenForAppending(const char* name) {
  const std::string path = ToFileSystemName(name);
  auto file = OpenPath(path, O_WRONLY | O_CREAT, kNoOwner);
  if (!file) return kNoFile;
  // A pipe or a terminal has no end to go to, and takes what is written all the same.
  if (lseek(file->descriptor, 0, SEEK_END) == -1 && file->is_regular) return kNoFile;
  MakeOutput(*file, path);
  return Table().Add(std::move(file));
}

// CHOICE: two such calls on two threads could collide only where a script cannot know it, so both succeed: each text
// goes to the end of the file as a whole.
FileHandle OpenForAppendingAlone(const char* name, FileOwner owner) {
  auto file = OpenPath(ToFileSystemName(name), O_WRONLY | O_CREAT | O_APPEND, owner);
  if (!file) return kNoFile;
  file->is_alone = true;
  if (!Table().IsOpen(file->identity, owner)) return Table().Add(std::move(file));
  errno = EBUSY;
  return kNoFile;
}

bool IsFileOpen(const char* name, FileOwner owner) {
  struct stat status;
  return stat(ToFileSystemName(name).c_str(), &status) == 0 && Table().IsOpen(IdentityOf(status), owner);
}

bool FilesWereOpenedForWriting() { return Table().HasOpenedForWriting(); }

int CloseFile(FileHandle file) { return Table().Close(file); }

int64_t SeekFile(FileHandle file, int64_t offset, SeekFrom from) {
  const int whence = from == SeekFrom::kStart ? SEEK_SET : from == SeekFrom::kCurrent ? SEEK_CUR : SEEK_END;
  return Table().With(file, [&](int descriptor) { return lseek(descriptor, offset, whence); });
}

int64_t ReadFile(FileHandle file, char* target, size_t count) {
  return Table().With(file, [&](int descriptor) {
    return Transfer(target, count, [&](char* at, size_t n) { return read(descriptor, at, n); });
  });
}

int64_t WriteFile(FileHandle file, std::string_view bytes) {
  return Table().With(file, [&](int descriptor) {
    errno = ENOSPC;  // for a write that gives 0 and no reason
    return Transfer(bytes.data(), bytes.size(), [&](const char* at, size_t n) { return write(descriptor, at, n); });
  });
}

int64_t FileSize(FileHandle file) {
  struct stat status;
  const auto look = [&](int descriptor) { return fstat(descriptor, &status); };
  return Table().With(file, look) == 0 && S_ISREG(status.st_mode) ? status.st_size : -1;
}

int TruncateHere(FileHandle file) {
  return static_cast<int>(Table().With(file, [](int descriptor) {
    const off_t here = lseek(descriptor, 0, SEEK_CUR);
    return here < 0 ? -1 : Retried([&] { return ftruncate(descriptor, here); });
  }));
}

int DeleteFile(const char* name) {
  const std::string path = ToFileSystemName(name);
  struct stat status;
  if (stat(path.c_str(), &status) == 0) Table().BringBackAll(IdentityOf(status));
  return unlink(path.c_str());
}

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

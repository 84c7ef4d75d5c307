// The table of the process's open files, behind the handles of files.h.
//
// A file that scripts write by name is an output: where there are more of them than the system gives descriptors, those
// used longest ago are put aside. Their descriptors are closed, and each comes back by its name when it is used, to the
// position where it stood. So the number of outputs has no limit but memory.
#pragma once

#include <sys/stat.h>

#include <atomic>
#include <compare>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/files.h"

namespace karst {

// Which file it is, whatever its name.
struct FileIdentity {
  dev_t device;
  ino_t inode;
  auto operator<=>(const FileIdentity&) const = default;
};
FileIdentity IdentityOf(const struct stat& status);

// A descriptor that is closed with the object, unless it is given away. errno stays as it is.
class ScopedDescriptor {
 public:
  explicit ScopedDescriptor(int descriptor) : descriptor_(descriptor) {}
  ScopedDescriptor(const ScopedDescriptor&) = delete;
  ScopedDescriptor& operator=(const ScopedDescriptor&) = delete;
  ~ScopedDescriptor();
  int Get() const { return descriptor_; }
  int Release() { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_;
};

struct OpenFile {
  OpenFile(int opened, const struct stat& status, FileOwner file_owner);
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile();

  const FileOwner owner;
  const bool is_regular;
  // Set before the file comes into the table.
  bool is_output = false;
  bool is_alone = false;  // it does not count as open
  std::string path;       // absolute; of an output

  uint64_t last_use = 0;  // guarded by the table's mutex, all below by the file's own

  std::mutex mutex;  // held as long as a call uses the descriptor
  int descriptor;    // -1 while the file is put aside, and once it is closed
  FileIdentity identity;
  off_t position = 0;                // of a file put aside
  int lost = 0;                      // why its descriptor could not be closed without loss
  bool closed = false;               // for good
  std::atomic<bool> is_held{false};  // an output that has a descriptor; also looked at without the mutex
};

class FileTable {
 public:
  static FileTable& OfProcess();

  // A descriptor as open gives it, with errno where there is none. Where the process has no more of them, outputs make
  // room. Like all below that opens, it throws std::bad_alloc without memory, and the table is as it was.
  int OpenDescriptor(const char* path, int flags);

  FileHandle Add(std::shared_ptr<OpenFile> file);
  // Calls `use` with the descriptor of a file, which stays open as long, also where another thread closes the handle.
  // -1 for a handle that names none, and for a file that cannot come back.
  template <typename Use>
  int64_t With(FileHandle handle, Use use) {
    const auto file = Find(handle);
    if (!file) return errno = EBADF, -1;
    const std::lock_guard in_use(file->mutex);
    return file->descriptor >= 0 || BringBack(handle, *file) ? use(file->descriptor) : -1;
  }
  // 0, or -1 with errno: the handle names no file, or closing it has lost something that was written.
  int Close(FileHandle handle);

  // True if a handle to this file counts for `owner`.
  bool IsOpen(const FileIdentity& identity, FileOwner owner);
  // Brings back what is put aside of a file that is about to lose its name.
  void BringBackAll(const FileIdentity& identity);
  bool HasOpenedForWriting() const { return has_opened_for_writing_; }

 private:
  using Place = std::pair<FileIdentity, FileHandle>;

  std::shared_ptr<OpenFile> Find(FileHandle handle);
  std::shared_ptr<OpenFile> Take(FileHandle handle);
  bool BringBack(FileHandle handle, OpenFile& file);
  void TakeIdentity(FileHandle handle, OpenFile& file, const struct stat& status);
  void KeepRoom();
  void Hold(OpenFile& file) noexcept;
  void LetGo(OpenFile& file);
  bool MakeRoom();
  bool PutAside(OpenFile& file);
  int CloseNow(OpenFile& file);
  std::vector<FileHandle> HandlesTo(const FileIdentity& identity);

  std::mutex mutex_;
  std::unordered_map<FileHandle, std::shared_ptr<OpenFile>> files_;
  std::set<Place> places_;  // of the regular files among them
  FileHandle last_handle_ = 0;
  uint64_t uses_ = 0;
  std::atomic<size_t> held_ = 0;  // outputs with a descriptor
  std::atomic<bool> has_opened_for_writing_ = false;
};

}  // namespace karst

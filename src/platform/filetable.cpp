// FileTable. A file's mutex may be held when the table's is taken; the other way round it is only tried.
#include "platform/filetable.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "platform/retried.h"

namespace karst {

namespace {

// LIMIT: so many outputs at most have a descriptor at a time, and half of those that the process may have. The rest is
// for all else that it opens, and for libraries that take no descriptor above 1023.
constexpr size_t kMostHeld = 512;
constexpr size_t kFewestHeld = 4;

size_t MostHeld() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return kMostHeld;
  return static_cast<size_t>(std::clamp<rlim_t>(limit.rlim_cur / 2, kFewestHeld, kMostHeld));
}

}  // namespace

FileIdentity IdentityOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

ScopedDescriptor::~ScopedDescriptor() {
  const int reason = errno;
  if (descriptor_ >= 0) close(descriptor_);
  errno = reason;
}

OpenFile::OpenFile(int opened, const struct stat& status, FileOwner file_owner)
    : owner(file_owner), is_regular(S_ISREG(status.st_mode)), descriptor(opened), identity(IdentityOf(status)) {}

OpenFile::~OpenFile() {
  if (descriptor >= 0) close(descriptor);
}

// Never destroyed: an interpreter object in a host's static storage may outlive every static of this library.
FileTable& FileTable::OfProcess() {
  static FileTable& table = *new FileTable;
  return table;
}

int FileTable::OpenDescriptor(const char* path, int flags) {
  constexpr mode_t kMode = 0666;
  for (;;) {
    const int descriptor = Retried([&] { return open(path, flags | O_CLOEXEC | O_NOCTTY, kMode); });
    if (descriptor >= 0 || (errno != EMFILE && errno != ENFILE)) return descriptor;
    const int reason = errno;
    const bool has_room = MakeRoom();
    errno = reason;
    if (!has_room) return -1;
  }
}

// CHOICE: handles count up and are not used again, so that a closed one stays wrong.
// LIMIT: 2,147,483,647 opened files a process; no more can be opened after them.
FileHandle FileTable::Add(std::shared_ptr<OpenFile> file) {
  if (file->is_output) KeepRoom();
  std::lock_guard lock(mutex_);
  if (last_handle_ == std::numeric_limits<FileHandle>::max()) return errno = EMFILE, kNoFile;
  const FileHandle handle = last_handle_ + 1;
  std::set<Place> place;  // what needs memory comes first
  if (file->is_regular && !file->is_alone) place.emplace(file->identity, handle);
  OpenFile& added = *files_.emplace(handle, std::move(file)).first->second;
  places_.merge(place);
  last_handle_ = handle;
  added.last_use = ++uses_;
  if (added.is_output) Hold(added);
  if (added.is_regular && (fcntl(added.descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY) has_opened_for_writing_ = true;
  return handle;
}

std::shared_ptr<OpenFile> FileTable::Find(FileHandle handle) {
  std::lock_guard lock(mutex_);
  const auto found = files_.find(handle);
  if (found == files_.end()) return nullptr;
  found->second->last_use = ++uses_;
  return found->second;
}

std::shared_ptr<OpenFile> FileTable::Take(FileHandle handle) {
  std::lock_guard lock(mutex_);
  const auto found = files_.find(handle);
  if (found == files_.end()) return nullptr;
  auto file = std::move(found->second);
  files_.erase(found);
  return file;
}

int FileTable::Close(FileHandle handle) {
  const auto file = Take(handle);
  if (!file) return errno = EBADF, -1;
  std::unique_lock in_use(file->mutex, std::defer_lock);
  if (file->is_output) {
    in_use.lock();
  } else {
    in_use.try_lock();
  }
  {
    std::lock_guard lock(mutex_);
    places_.erase({file->identity, handle});
  }
  // What another thread still uses, such as a pipe that it waits for, is closed when that is over.
  return in_use ? CloseNow(*file) : 0;
}

int FileTable::CloseNow(OpenFile& file) {
  if (file.descriptor >= 0 && close(file.descriptor) != 0 && errno != EINTR && file.lost == 0) file.lost = errno;
  file.descriptor = -1;
  file.closed = true;
  LetGo(file);
  if (file.lost == 0) return 0;
  errno = file.lost;
  return -1;
}

// For one more output.
void FileTable::KeepRoom() {
  if (held_ >= MostHeld()) MakeRoom();
}

void FileTable::Hold(OpenFile& file) noexcept {
  file.is_held = true;
  ++held_;
}

void FileTable::LetGo(OpenFile& file) {
  if (file.is_held.exchange(false)) --held_;
}

// Puts aside the quarter of the outputs that was used longest ago. False if there is none that can be.
bool FileTable::MakeRoom() {
  std::lock_guard lock(mutex_);
  std::vector<std::pair<uint64_t, OpenFile*>> held;
  for (const auto& [handle, file] : files_) {
    if (file->is_held) held.emplace_back(file->last_use, file.get());
  }
  held_ = held.size();  // exact again, whatever was counted between two locks
  std::sort(held.begin(), held.end());
  const size_t wanted = held.size() / 4 + 1;
  size_t done = 0;
  for (size_t i = 0; i < held.size() && done < wanted; ++i) done += PutAside(*held[i].second);
  return done > 0;
}

// False if the file is in use, or would not come back as the one that it is: one that was removed or renamed is kept.
bool FileTable::PutAside(OpenFile& file) {
  const std::unique_lock in_use(file.mutex, std::try_to_lock);
  struct stat named;
  if (!in_use || file.descriptor < 0 || stat(file.path.c_str(), &named) != 0) return false;
  if (IdentityOf(named) != file.identity || access(file.path.c_str(), W_OK) != 0) return false;
  file.position = lseek(file.descriptor, 0, SEEK_CUR);
  if (file.position == -1) return false;
  if (close(file.descriptor) != 0 && errno != EINTR) file.lost = errno;
  file.descriptor = -1;
  LetGo(file);
  return true;
}

// CHOICE: where another file has the name meanwhile, or none, what follows is appended there, as at a first access. The
// file that stood there is out of reach, and what is written would be lost.
bool FileTable::BringBack(FileHandle handle, OpenFile& file) {
  if (file.closed) return errno = EBADF, false;
  KeepRoom();
  int descriptor = OpenDescriptor(file.path.c_str(), O_WRONLY);
  const bool is_new = descriptor < 0 && errno == ENOENT;  // a new file may well get the number of the one that is gone
  if (is_new) descriptor = OpenDescriptor(file.path.c_str(), O_WRONLY | O_CREAT);
  ScopedDescriptor opened(descriptor);
  struct stat status;
  if (opened.Get() < 0 || fstat(opened.Get(), &status) != 0) return false;
  const bool same = !is_new && IdentityOf(status) == file.identity;
  if (lseek(opened.Get(), same ? file.position : 0, same ? SEEK_SET : SEEK_END) == -1) return false;
  if (IdentityOf(status) != file.identity) TakeIdentity(handle, file, status);
  file.descriptor = opened.Release();
  Hold(file);
  return true;
}

void FileTable::TakeIdentity(FileHandle handle, OpenFile& file, const struct stat& status) {
  std::lock_guard lock(mutex_);
  const FileIdentity identity = IdentityOf(status);
  places_.emplace(identity, handle);
  places_.erase({file.identity, handle});
  file.identity = identity;
}

std::vector<FileHandle> FileTable::HandlesTo(const FileIdentity& identity) {
  std::vector<FileHandle> handles;
  auto place = places_.lower_bound({identity, 0});
  for (; place != places_.end() && place->first == identity; ++place) handles.push_back(place->second);
  return handles;
}

bool FileTable::IsOpen(const FileIdentity& identity, FileOwner owner) {
  std::lock_guard lock(mutex_);
  const auto handles = HandlesTo(identity);
  return std::any_of(handles.begin(), handles.end(), [&](FileHandle handle) {
    const auto found = files_.find(handle);
    return found != files_.end() && (!found->second->owner || found->second->owner == owner);
  });
}

void FileTable::BringBackAll(const FileIdentity& identity) {
  std::vector<FileHandle> handles;
  {
    std::lock_guard lock(mutex_);
    handles = HandlesTo(identity);
  }
  for (const FileHandle handle : handles) With(handle, [](int) { return 0; });
}

}  // namespace karst

// The sources: reading, uncompressing, converting, each into the buffer of the one that asks.
#include "cli/records/byte_sources.h"

#include <iconv.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "cli/base/encoding.h"
#include "platform/files.h"

namespace karst::cli {
namespace {

constexpr size_t kPortion = size_t{64} << 10;

class FileSource : public ByteSource {
 public:
  FileSource(FileHandle file, SharedSourceState state) : file_(file), state_(std::move(state)) {}
  ~FileSource() override { CloseFile(file_); }
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;

  int64_t Read(char* target, size_t count) override {
    const int64_t read = ReadFile(file_, target, count);
    if (read < 0) state_->fault = std::strerror(errno);
    if (read > 0 && !state_->compressed) state_->position += static_cast<uint64_t>(read);
    return read;
  }

 private:
  FileHandle file_;
  SharedSourceState state_;
};

class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::string_view bytes) : rest_(bytes) {}

  int64_t Read(char* target, size_t count) override {
    const size_t read = rest_.copy(target, count);
    rest_.remove_prefix(read);
    return static_cast<int64_t>(read);
  }

 private:
  std::string_view rest_;
};

class GzipSource : public ByteSource {
 public:
  GzipSource(std::unique_ptr<ByteSource> source, SharedSourceState state)
      : source_(std::move(source)), state_(std::move(state)), input_(kPortion) {
    constexpr int kOnlyGzip = 16 + MAX_WBITS;
    ready_ = inflateInit2(&stream_, kOnlyGzip) == Z_OK;
  }
  ~GzipSource() override { inflateEnd(&stream_); }
  GzipSource(const GzipSource&) = delete;
  GzipSource& operator=(const GzipSource&) = delete;

  int64_t Read(char* target, size_t count) override {
    if (!ready_) return Fail("cannot uncompress");
    if (damaged_) return FailDamaged();
    stream_.next_out = reinterpret_cast<Bytef*>(target);
    stream_.avail_out = static_cast<uInt>(std::min(count, size_t{1} << 30));
    const uInt room = stream_.avail_out;
    while (stream_.avail_out == room) {
      // Where the target was filled, more may come from what is in already.
      if (stream_.avail_in == 0 && (!filled_ || between_) && !Refill()) return AtEnd();
      if (between_ && !BeginStretch()) return ended_ ? 0 : Fail("there are other bytes behind the compressed data");
      damaged_ = !Inflate();
      filled_ = stream_.avail_out == 0;
      if (damaged_ && stream_.avail_out == room) return FailDamaged();
    }
    return room - stream_.avail_out;
  }

 private:
  bool Refill() {
    const int64_t read = source_->Read(reinterpret_cast<char*>(input_.data()), input_.size());
    failed_ = read < 0;
    if (read <= 0) return false;
    stream_.next_in = input_.data();
    stream_.avail_in = static_cast<uInt>(read);
    return true;
  }
  int64_t AtEnd() {
    if (failed_) return -1;
    return between_ ? 0 : Fail("the compressed data break off");
  }
  // Zeros may fill up the last block of a medium.
  bool BeginStretch() {
    if (*stream_.next_in != 0) {
      constexpr Bytef kFirstMark = 0x1F;
      between_ = false;
      return !padded_ && *stream_.next_in == kFirstMark && inflateReset(&stream_) == Z_OK;
    }
    padded_ = true;
    while (stream_.avail_in > 0 && *stream_.next_in == 0) {
      ++stream_.next_in;
      --stream_.avail_in;
      if (stream_.avail_in == 0 && !Refill()) ended_ = !failed_;
    }
    return false;
  }
  bool Inflate() {
    const uInt before = stream_.avail_in;
    const int result = inflate(&stream_, Z_NO_FLUSH);
    state_->position += before - stream_.avail_in;
    between_ = result == Z_STREAM_END;
    return result == Z_OK || result == Z_STREAM_END || result == Z_BUF_ERROR;
  }
  // What was given may be wrong: the place of the damage is not known.
  int64_t FailDamaged() { return Fail("the compressed data are damaged, so that records read from them may be wrong"); }
  int64_t Fail(const char* fault) {
    if (state_->fault.empty()) state_->fault = fault;
    return -1;
  }

  std::unique_ptr<ByteSource> source_;
  SharedSourceState state_;
  std::vector<Bytef> input_;
  z_stream stream_{};
  bool ready_ = false;
  bool failed_ = false;
  bool damaged_ = false;
  bool filled_ = false;
  bool between_ = false;  // at the end of a compressed stretch
  bool padded_ = false;
  bool ended_ = false;
};

class TextSource : public ByteSource {
 public:
  TextSource(std::unique_ptr<ByteSource> source, ConverterHandle converter, SharedSourceState state)
      : source_(std::move(source)), converter_(std::move(converter)), state_(std::move(state)) {}

  int64_t Read(char* target, size_t count) override {
    constexpr size_t kLongestCharacter = 8;
    if (count < kLongestCharacter) return ReadThroughBuffer(target, count);
    char* to = target;
    size_t room = count;
    while (to == target) {
      const size_t kept = input_.size();
      if (kept < kPortion / 2 && !ended_ && !Refill()) return -1;
      if (input_.empty()) return 0;
      char* from = input_.data();
      size_t left = input_.size();
      const bool stopped = iconv(converter_.get(), &from, &left, &to, &room) == static_cast<size_t>(-1);
      const int reason = errno;
      input_.erase(0, input_.size() - left);
      const bool cut = reason == EINVAL && !ended_;
      if (stopped && to == target && !cut) return Fail();
    }
    return to - target;
  }

 private:
  bool Refill() {
    const size_t kept = input_.size();
    input_.resize(kept + kPortion);
    const int64_t read = source_->Read(input_.data() + kept, kPortion);
    input_.resize(kept + static_cast<size_t>(std::max<int64_t>(read, 0)));
    ended_ = read <= 0;
    return read >= 0;
  }
  int64_t ReadThroughBuffer(char* target, size_t count) {
    if (spare_.empty()) {
      char buffer[64];
      const int64_t read = Read(buffer, sizeof buffer);
      if (read <= 0) return read;
      spare_.assign(buffer, static_cast<size_t>(read));
    }
    const size_t given = spare_.copy(target, count);
    spare_.erase(0, given);
    return static_cast<int64_t>(given);
  }
  int64_t Fail() {
    state_->fault = "there are bytes that do not belong to the charset which the file names";
    return -1;
  }

  std::unique_ptr<ByteSource> source_;
  ConverterHandle converter_;
  SharedSourceState state_;
  std::string input_;
  std::string spare_;
  bool ended_ = false;
};

}  // namespace

std::unique_ptr<ByteSource> OpenFileSource(const CString& name, const SharedSourceState& state) {
  errno = 0;
  const FileHandle file = OpenForReading(name);
  if (file == kNoFile) {
    state->fault = errno != 0 ? std::strerror(errno) : "";
    return nullptr;
  }
  state->size = static_cast<uint64_t>(std::max<int64_t>(FileSize(file), 0));
  return std::make_unique<FileSource>(file, state);
}

std::unique_ptr<ByteSource> MakeMemorySource(std::string_view bytes) { return std::make_unique<MemorySource>(bytes); }

bool PeekSource::Peek(size_t count) {
  while (head_.size() < count && !ended_ && !failed_) {
    const size_t before = head_.size();
    head_.resize(before + kPortion);
    const int64_t read = source_->Read(head_.data() + before, kPortion);
    head_.resize(before + static_cast<size_t>(std::max<int64_t>(read, 0)));
    failed_ = read < 0;
    ended_ = read == 0;
  }
  return !failed_;
}

int64_t PeekSource::Read(char* target, size_t count) {
  if (given_ < head_.size()) {
    const size_t given = head_.copy(target, count, given_);
    given_ += given;
    if (given_ == head_.size()) head_ = std::string(), given_ = 0;
    return static_cast<int64_t>(given);
  }
  if (failed_) return -1;
  return ended_ ? 0 : source_->Read(target, count);
}

bool LooksCompressed(std::string_view head) {
  constexpr std::string_view kMark = "\x1F\x8B\x08";
  return head.starts_with(kMark);
}

std::unique_ptr<ByteSource> MakeGzipSource(std::unique_ptr<ByteSource> source, const SharedSourceState& state) {
  state->compressed = true;
  state->position = 0;
  return std::make_unique<GzipSource>(std::move(source), state);
}

std::unique_ptr<ByteSource> MakeTextSource(std::unique_ptr<ByteSource> source, const std::string& charset,
                                           const SharedSourceState& state) {
  ConverterHandle converter(OpenConverter("UTF-8", charset.c_str()));
  if (!converter) return nullptr;
  return std::make_unique<TextSource>(std::move(source), std::move(converter), state);
}

}  // namespace karst::cli

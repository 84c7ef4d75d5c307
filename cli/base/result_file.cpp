// ResultFile: the other name, the compression, the renaming.
#include "cli/base/result_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "cli/base/exit_status.h"
#include "cli/base/input_file.h"
#include "cli/base/writer.h"

namespace karst::cli {

class ResultFile::Compressor {
 public:
  explicit Compressor(ResultFile& file) : file_(file), output_(size_t{64} << 10) {
    constexpr int kGzip = 16 + MAX_WBITS;
    constexpr int kMemory = 8;
    if (deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzip, kMemory, Z_DEFAULT_STRATEGY) != Z_OK) {
      throw std::bad_alloc();
    }
  }
  ~Compressor() { deflateEnd(&stream_); }
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;

  void Write(std::string_view bytes, int flush) {
    constexpr size_t kMost = size_t{1} << 30;
    do {
      const std::string_view part = bytes.substr(0, kMost);
      bytes.remove_prefix(part.size());
      stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(part.data()));
      stream_.avail_in = static_cast<uInt>(part.size());
      do {
        stream_.next_out = output_.data();
        stream_.avail_out = static_cast<uInt>(output_.size());
        deflate(&stream_, flush);
        file_.WriteOut({reinterpret_cast<char*>(output_.data()), output_.size() - stream_.avail_out});
      } while (stream_.avail_out == 0);
    } while (!bytes.empty());
  }

 private:
  ResultFile& file_;
  z_stream stream_{};
  std::vector<Bytef> output_;
};

ResultFile::ResultFile(const std::string& name, bool compressed, const FilesRead& inputs) : shown_(name) {
  if (name == "-") {
    shown_ = "standard output";
    descriptor_ = STDOUT_FILENO;
  } else {
    path_ = SystemName(name, inputs.encoding);
    Open(inputs);
  }
  if (compressed) compressor_ = std::make_unique<Compressor>(*this);
}

ResultFile::~ResultFile() {
  if (!path_.empty() && !IsFresh()) close(descriptor_);
}

void ResultFile::Open(const FilesRead& inputs) {
  struct stat target;
  if (stat(path_.c_str(), &target) != 0) {
    if (errno != ENOENT) Fail(errno);
    return OpenFresh();
  }
  if (S_ISDIR(target.st_mode)) Fail(EISDIR);
  if (IsAmong(inputs, target) && S_ISREG(target.st_mode)) {
    throw HostError(kWrongUsage, shown_ + " is read by this run; it is left as it was");
  }
  if (S_ISREG(target.st_mode)) return OpenFresh();
  descriptor_ = open(path_.c_str(), O_WRONLY | O_CLOEXEC);
  if (descriptor_ < 0) Fail(errno);
}

void ResultFile::OpenFresh() {
  const int error = fresh_.Make(path_);
  if (error != 0) Fail(error);
  descriptor_ = fresh_.Descriptor();
}

void ResultFile::Write(std::string_view bytes) {
  if (compressor_) {
    compressor_->Write(bytes, Z_NO_FLUSH);
  } else {
    WriteOut(bytes);
  }
}

void ResultFile::WriteOut(std::string_view bytes) {
  const int error = WriteAll(descriptor_, bytes);
  if (error != 0) Fail(error);
}

void ResultFile::EndCompression() {
  if (compressor_) compressor_->Write({}, Z_FINISH);
  compressor_.reset();
}

void ResultFile::Commit() {
  EndCompression();
  if (path_.empty()) return;
  const bool fresh = IsFresh();
  const int descriptor = descriptor_;
  descriptor_ = -1;
  const int error = fresh ? fresh_.TakeName() : close(descriptor) != 0 ? errno : 0;
  if (error != 0) Fail(error);
}

std::string ResultFile::CommitPart() {
  if (!IsFresh()) {
    Commit();
    return "";
  }
  EndCompression();
  descriptor_ = -1;
  const int error = fresh_.TakePartialName();
  if (error != 0) Fail(error);
  // Of a link, the file that it leads to.
  const std::string part = std::filesystem::is_symlink(path_) ? fresh_.PartialPath() : shown_ + ".partial";
  return "what could be read is kept as " + part + ", and " + shown_ + " is not written";
}

void ResultFile::Fail(int error) const {
  if (path_.empty() && EndsQuietly(error)) throw HostError(kReaderGone, "");
  throw HostError(kOutputFailed, "cannot write " + shown_ + ": " + ReasonOf(error));
}

}  // namespace karst::cli

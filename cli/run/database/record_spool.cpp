// RecordSpool: written through a buffer, read by place.
#include "cli/run/database/record_spool.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "platform/retried.h"

namespace karst::cli {
namespace {

[[noreturn]] void Fail(int error) { throw std::runtime_error(std::string("temporary file: ") + std::strerror(error)); }

std::FILE* OpenNameless() {
  std::error_code no_folder;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(no_folder);
  if (no_folder) Fail(no_folder.value());
  std::string name = folder / "karst-XXXXXX";
  const int descriptor = mkostemp(name.data(), 0);
  if (descriptor < 0) Fail(errno);
  unlink(name.c_str());
  std::FILE* file = fdopen(descriptor, "w+b");
  if (file) return file;
  close(descriptor);
  Fail(ENOMEM);
}

}  // namespace

RecordSpool::RecordSpool() : file_(OpenNameless()) {}

void RecordSpool::Add(std::string_view record) {
  // LIMIT: one record fewer than a KeyIndex can tell apart.
  if (ends_.size() == UINT32_MAX) throw std::runtime_error("too many records");
  if (std::fwrite(record.data(), 1, record.size(), file_.get()) != record.size()) Fail(errno);
  ends_.push_back((ends_.empty() ? 0 : ends_.back()) + record.size());
}

void RecordSpool::Finish() {
  if (std::fflush(file_.get()) != 0) Fail(errno);
}

std::string_view RecordSpool::Read(uint32_t number, std::vector<char>& target) const {
  const uint64_t begin = number == 0 ? 0 : ends_[number - 1];
  const size_t size = ends_[number] - begin;
  if (target.size() < size + 1) target.resize(size + 1);
  for (size_t done = 0; done < size;) {
    const ssize_t count =
        Retried([&] { return pread(fileno(file_.get()), target.data() + done, size - done, begin + done); });
    if (count <= 0) Fail(count == 0 ? EIO : errno);
    done += static_cast<size_t>(count);
  }
  target[size] = 0;
  return {target.data(), size};
}

}  // namespace karst::cli

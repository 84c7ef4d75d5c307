// ByteWindow: a stretch of a byte source that slides forward. Bytes are read as they are asked for, so that a pipe
// serves as well as a file; memory grows with the stretch looked at, not with the source.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "export.h"

namespace karst {

class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // Bytes read into `target`, at most `count`; 0 at the end; -1 on failure.
  virtual int64_t Read(char* target, size_t count) = 0;
};

class KARST_API ByteWindow {
 public:
  ByteWindow(std::unique_ptr<ByteSource> source, size_t first_size) : source_(std::move(source)), bytes_(first_size) {}

  // The bytes at hand from the read position on. Valid until Grow.
  std::string_view View() const { return {bytes_.data() + begin_, end_ - begin_}; }
  // The read position, from the start of the source.
  uint64_t Offset() const { return offset_; }
  void Advance(size_t count) {
    begin_ += count;
    offset_ += count;
  }
  // Adds bytes behind those at hand. False at the end of the source and on failure.
  bool Grow();
  bool Failed() const { return failed_; }
  // Lets go of the source and of all bytes.
  void Close();

 private:
  void MakeRoom();

  std::unique_ptr<ByteSource> source_;
  std::vector<char> bytes_;
  size_t begin_ = 0;
  size_t end_ = 0;
  uint64_t offset_ = 0;
  bool ended_ = false;
  bool failed_ = false;
};

}  // namespace karst

// RecordText: the buffer in which a record's internal form is put together. It is reused from record to record and
// always holds NUL-terminated text.
#pragma once

#include <cstring>
#include <memory>
#include <string_view>

namespace karst {

class RecordText {
 public:
  RecordText() { Begin(0); }

  // Empties the text and makes room for `capacity` bytes, all that may be added.
  void Begin(size_t capacity) {
    if (!bytes_ || capacity > capacity_) {
      bytes_.reset(new char[capacity + 1]);
      capacity_ = capacity;
    }
    size_ = 0;
    bytes_[0] = 0;
  }
  void Add(std::string_view bytes) {
    std::memcpy(bytes_.get() + size_, bytes.data(), bytes.size());
    size_ += bytes.size();
  }
  void Add(char byte) { bytes_[size_++] = byte; }
  void End() { bytes_[size_] = 0; }

  std::string_view View() const { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<char[]> bytes_;
  size_t capacity_ = 0;
  size_t size_ = 0;
};

}  // namespace karst

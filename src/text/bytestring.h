// CString: the system's growable, NUL-terminated byte string.
//
// The bytes are GBK text as a rule, but nothing here looks at characters: positions and lengths count bytes, and a
// NUL inside is kept as any other byte. Texts of up to kLocalCapacity bytes live inside the object.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "export.h"

namespace karst {

// As memmove. SPEED: the texts of a script are short, and a call costs more than the bytes.
KARST_API void CopyManyBytes(char* target, const char* source, size_t count);
inline void CopyBytes(char* target, const char* source, size_t count) {
  if (count > 16) {
    CopyManyBytes(target, source, count);
  } else if (count >= 8) {
    uint64_t head, tail;
    std::memcpy(&head, source, 8);
    std::memcpy(&tail, source + count - 8, 8);
    std::memcpy(target, &head, 8);
    std::memcpy(target + count - 8, &tail, 8);
  } else if (count >= 4) {
    uint32_t head, tail;
    std::memcpy(&head, source, 4);
    std::memcpy(&tail, source + count - 4, 4);
    std::memcpy(target, &head, 4);
    std::memcpy(target + count - 4, &tail, 4);
  } else if (count > 0) {
    const char first = source[0], middle = source[count / 2], last = source[count - 1];
    target[0] = first;
    target[count / 2] = middle;
    target[count - 1] = last;
  }
}

}  // namespace karst

class KARST_API CString {
 public:
  static constexpr uint32_t kLocalCapacity = 23;

  CString() noexcept { local_[0] = 0; }
  // A null pointer counts as the empty text.
  CString(const char* text) : CString(text ? std::string_view(text) : std::string_view()) {}
  CString(std::string_view bytes) : CString() { Assign(bytes); }
  CString(const char* bytes, size_t length) : CString(std::string_view(bytes, length)) {}
  CString(const CString& other) : CString(other.view()) {}
  CString(CString&& other) noexcept : CString() { Swap(other); }
  ~CString() { ReleaseHeap(); }

  CString& operator=(const CString& other) { return Assign(other); }
  CString& operator=(CString&& other) noexcept {
    Swap(other);
    return *this;
  }
  CString& operator=(const char* text) { return Assign(text ? std::string_view(text) : std::string_view()); }
  CString& operator=(std::string_view bytes) { return Assign(bytes); }

  // Replaces the text. `bytes` may lie inside this very text.
  CString& Assign(std::string_view bytes) {
    if (bytes.size() > capacity_) return AssignGrown(bytes);
    karst::CopyBytes(data_, bytes.data(), bytes.size());
    SetSize(static_cast<uint32_t>(bytes.size()));
    return *this;
  }
  // SPEED: a short text is copied as a block of one size, which every buffer holds.
  CString& Assign(const CString& other) {
    if (other.size_ > kLocalCapacity) return Assign(other.view());
    if (&other == this) return *this;
    std::memcpy(data_, other.data_, kLocalCapacity + 1);
    size_ = other.size_;
    return *this;
  }
  // Adds to the end. `bytes` may lie inside this very text. Amortised constant time a byte.
  CString& Append(std::string_view bytes) {
    if (bytes.size() > capacity_ - size_) return AppendGrown(bytes);
    karst::CopyBytes(data_ + size_, bytes.data(), bytes.size());
    SetSize(size_ + static_cast<uint32_t>(bytes.size()));
    return *this;
  }
  // Adds `count` bytes that the caller then writes, and gives the place of the first.
  char* Extend(size_t count) {
    const size_t old_size = size_;
    Reserve(old_size + count);
    SetSize(static_cast<uint32_t>(old_size + count));
    return data_ + old_size;
  }
  CString& operator+=(std::string_view bytes) { return Append(bytes); }
  CString& operator+=(const char* text) { return Append(std::string_view(text)); }
  CString& operator+=(char byte) { return Append(std::string_view(&byte, 1)); }

  operator const char*() const noexcept { return data_; }
  const char* c_str() const noexcept { return data_; }
  std::string_view view() const noexcept { return {data_, size_}; }
  size_t size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }
  int GetLength() const noexcept { return static_cast<int>(size_); }
  bool IsEmpty() const noexcept { return size_ == 0; }
  char* data() noexcept { return data_; }
  const char* data() const noexcept { return data_; }

  void Empty() noexcept { SetSize(0); }
  // Room for at least `bytes` bytes without another allocation.
  void Reserve(size_t bytes);
  uint32_t Capacity() const noexcept { return capacity_; }
  // Sets the length. New bytes are NUL.
  void Resize(size_t bytes);
  // Cuts the text at its first NUL: what is left is what a reader of a plain text would see.
  void CutAtNul() noexcept { SetSize(static_cast<uint32_t>(std::strlen(data_))); }
  // Gives memory beyond `keep` bytes back; the text becomes empty.
  void EmptyAndShrink(uint32_t keep) noexcept {
    if (capacity_ > keep && data_ != local_) {
      ReleaseHeap();
      data_ = local_;
      capacity_ = kLocalCapacity;
    }
    SetSize(0);
  }
  void Swap(CString& other) noexcept;

  // Formats by the rules of the printf dialect of karst::FormatV (formats/format.h). The text is replaced; values may
  // point into the old one. A format that cannot be carried out is a std::invalid_argument, and the text stays.
  void Format(const char* format, ...);
  void FormatV(const char* format, va_list values);

  friend bool operator==(const CString& a, const CString& b) noexcept { return a.view() == b.view(); }
  friend bool operator==(const CString& a, const char* b) noexcept { return a.view() == std::string_view(b); }

 private:
  CString& AssignGrown(std::string_view bytes);
  CString& AppendGrown(std::string_view bytes);
  void ReleaseHeap() noexcept {
    if (data_ != local_) delete[] data_;
  }
  void SetSize(uint32_t size) noexcept {
    size_ = size;
    data_[size] = 0;
  }

  char* data_ = local_;
  uint32_t size_ = 0;
  uint32_t capacity_ = kLocalCapacity;
  char local_[kLocalCapacity + 1];
};

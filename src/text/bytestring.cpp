// CString: growth.
#include "text/bytestring.h"

#include <algorithm>
#include <new>

namespace {

// LIMIT: a text holds fewer than 2 GiB, so that its length is an int; more is refused as if memory had run out.
constexpr size_t kMostBytes = 0x7fffffff - 1;

uint32_t GrownCapacity(uint32_t capacity, size_t wanted) {
  if (wanted > kMostBytes) throw std::bad_alloc();
  const size_t doubled = static_cast<size_t>(capacity) * 2;
  return static_cast<uint32_t>(std::min(std::max(wanted, doubled), kMostBytes));
}

}  // namespace

void karst::CopyManyBytes(char* target, const char* source, size_t count) { std::memmove(target, source, count); }

void CString::Reserve(size_t bytes) {
  if (bytes <= capacity_) return;
  const uint32_t capacity = GrownCapacity(capacity_, bytes);
  char* grown = new char[capacity + 1u];
  std::memcpy(grown, data_, size_ + 1u);
  ReleaseHeap();
  data_ = grown;
  capacity_ = capacity;
}

void CString::Resize(size_t bytes) {
  Reserve(bytes);
  if (bytes > size_) std::memset(data_ + size_, 0, bytes - size_);
  SetSize(static_cast<uint32_t>(bytes));
}

CString& CString::AssignGrown(std::string_view bytes) {
  const uint32_t capacity = GrownCapacity(capacity_, bytes.size());
  char* grown = new char[capacity + 1u];
  std::memcpy(grown, bytes.data(), bytes.size());
  ReleaseHeap();
  data_ = grown;
  capacity_ = capacity;
  SetSize(static_cast<uint32_t>(bytes.size()));
  return *this;
}

CString& CString::AppendGrown(std::string_view bytes) {
  const size_t total = size_ + bytes.size();
  const uint32_t capacity = GrownCapacity(capacity_, total);
  char* grown = new char[capacity + 1u];
  std::memcpy(grown, data_, size_);
  std::memcpy(grown + size_, bytes.data(), bytes.size());
  ReleaseHeap();
  data_ = grown;
  capacity_ = capacity;
  SetSize(static_cast<uint32_t>(total));
  return *this;
}

void CString::Swap(CString& other) noexcept {
  const bool mine_local = data_ == local_;
  const bool others_local = other.data_ == other.local_;
  std::swap(data_, other.data_);
  std::swap(size_, other.size_);
  std::swap(capacity_, other.capacity_);
  std::swap(local_, other.local_);
  if (others_local) data_ = local_;
  if (mine_local) other.data_ = other.local_;
}

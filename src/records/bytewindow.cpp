// The sliding of a window over a byte source.
#include "records/bytewindow.h"

#include <cstring>

namespace karst {

bool ByteWindow::Grow() {
  if (ended_) return false;
  MakeRoom();
  const int64_t count = source_->Read(bytes_.data() + end_, bytes_.size() - end_);
  failed_ = count < 0;
  ended_ = count <= 0;
  if (!ended_) end_ += static_cast<size_t>(count);
  return !ended_;
}

void ByteWindow::Close() {
  source_.reset();
  bytes_ = {};
  begin_ = end_ = 0;
  ended_ = true;
}

// Moving is worth it only while it frees at least half of the room; that keeps the cost of a byte constant.
void ByteWindow::MakeRoom() {
  if (end_ < bytes_.size()) return;
  const size_t kept = end_ - begin_;
  if (kept > bytes_.size() / 2) bytes_.resize(bytes_.size() * 2);
  std::memmove(bytes_.data(), bytes_.data() + begin_, kept);
  begin_ = 0;
  end_ = kept;
}

}  // namespace karst

// The stream of one connection.
#include "cli/windows/connection.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace karst::cli {

Connection::Connection(socket_t socket) : socket_(socket), read_until_(std::chrono::steady_clock::now() + kReadTime) {}

bool Connection::WaitFor(short what, int64_t milliseconds) const {
  pollfd wanted{socket_, what, 0};
  return poll(&wanted, 1, static_cast<int>(milliseconds)) > 0 && (wanted.revents & what) != 0;
}

bool Connection::Fill() {
  using std::chrono::milliseconds;
  const auto left = std::chrono::duration_cast<milliseconds>(read_until_ - std::chrono::steady_clock::now());
  if (left.count() <= 0 || !WaitFor(POLLIN, left.count())) return false;
  const ssize_t count = recv(socket_, buffer_.data(), buffer_.size(), 0);
  if (count <= 0) return false;
  begin_ = 0;
  end_ = static_cast<size_t>(count);
  received_ += end_;
  return received_ <= kMostBytes;
}

// The head ends with an empty line.
void Connection::CountHead(char byte) {
  if (byte == '\r') return;
  in_head_ = byte != '\n' || line_ != 0;
  line_ = byte == '\n' ? 0 : line_ + 1;
}

ssize_t Connection::read(char* target, size_t size) {
  if (begin_ == end_ && !Fill()) return -1;
  const size_t count = std::min(size, end_ - begin_);
  std::memcpy(target, buffer_.data() + begin_, count);
  for (size_t i = 0; in_head_ && i < count; ++i) CountHead(target[i]);
  begin_ += count;
  if (in_head_ && received_ - (end_ - begin_) > kMostHead) return -1;
  return static_cast<ssize_t>(count);
}

// All of it, or a failure: the library does not ask how much was written.
ssize_t Connection::write(const char* bytes, size_t size) {
  for (size_t done = 0; done < size;) {
    if (!is_writable()) return -1;
    const ssize_t count = send(socket_, bytes + done, size - done, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0 && errno != EAGAIN && errno != EINTR) return -1;
    done += static_cast<size_t>(std::max<ssize_t>(count, 0));
  }
  return static_cast<ssize_t>(size);
}

void Connection::get_remote_ip_and_port(std::string& ip, int& port) const {
  ip = "127.0.0.1";
  port = 0;
}

}  // namespace karst::cli

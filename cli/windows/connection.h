// A connection of the server, with limits: what a client sends, and how long it takes for that.
#pragma once

#include <httplib.h>
#include <poll.h>

#include <array>
#include <chrono>

namespace karst::cli {

// The stream of one connection that carries one request. A read fails once the head is longer than kMostHead, the
// whole longer than kMostBytes, or the time is over; a write fails where the reader takes nothing for some seconds.
class Connection : public httplib::Stream {
 public:
  explicit Connection(socket_t socket);

  bool is_readable() const override { return begin_ < end_ || WaitFor(POLLIN, 0); }
  bool is_writable() const override { return WaitFor(POLLOUT, kWriteTime.count()); }
  ssize_t read(char* target, size_t size) override;
  ssize_t write(const char* bytes, size_t size) override;
  void get_remote_ip_and_port(std::string& ip, int& port) const override;
  void get_local_ip_and_port(std::string& ip, int& port) const override { get_remote_ip_and_port(ip, port); }
  socket_t socket() const override { return socket_; }

  static constexpr size_t kMostHead = 16 << 10;
  static constexpr size_t kMostBytes = (1 << 20) + kMostHead;
  static constexpr std::chrono::milliseconds kReadTime{10'000};
  static constexpr std::chrono::milliseconds kWriteTime{5'000};

 private:
  bool WaitFor(short what, int64_t milliseconds) const;
  bool Fill();
  void CountHead(char byte);

  socket_t socket_;
  std::chrono::steady_clock::time_point read_until_;
  std::array<char, 4096> buffer_;
  size_t begin_ = 0;
  size_t end_ = 0;
  size_t received_ = 0;
  size_t line_ = 0;  // bytes of the head's current line, without line ends
  bool in_head_ = true;
};

}  // namespace karst::cli

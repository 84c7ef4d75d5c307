// A connection to a server on this machine, as any program can make one.
#pragma once

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <utility>

namespace karst::testing {

class LocalClient {
 public:
  explicit LocalClient(int port, const char* address = "127.0.0.1")
      : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(static_cast<uint16_t>(port));
    inet_pton(AF_INET, address, &target.sin_addr);
    connected_ = connect(socket_, reinterpret_cast<sockaddr*>(&target), sizeof target) == 0;
  }
  LocalClient(LocalClient&& other) noexcept : socket_(std::exchange(other.socket_, -1)), connected_(other.connected_) {}
  ~LocalClient() {
    if (socket_ >= 0) close(socket_);
  }
  bool IsConnected() const { return connected_; }
  bool Send(std::string_view bytes) const {
    return send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
  }
  void EndSending() const { shutdown(socket_, SHUT_WR); }
  // True once the other side has closed.
  bool IsClosed(int wait = 0) const {
    pollfd wanted{socket_, POLLIN, 0};
    char byte;
    return poll(&wanted, 1, wait) > 0 && recv(socket_, &byte, 1, MSG_PEEK) <= 0;
  }
  // Reads until `part` has come, or to the end.
  std::string Read(std::string_view part = "\xFF\xFF") const {
    std::string text;
    char buffer[4096];
    for (ssize_t count; text.find(part) == text.npos && (count = recv(socket_, buffer, sizeof buffer, 0)) > 0;) {
      text.append(buffer, static_cast<size_t>(count));
    }
    return text;
  }

 private:
  int socket_;
  bool connected_ = false;
};

}  // namespace karst::testing

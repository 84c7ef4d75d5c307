// Writer: conversion into the buffer, the buffer into the file.
#include "cli/base/writer.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/retried.h"

namespace karst::cli {
namespace {

constexpr size_t kBufferSize = 64 * 1024;
constexpr std::string_view kWipeLine = "\r\x1B[K";

bool WaitUntilReady(int file) {
  pollfd wanted{file, POLLOUT, 0};
  return Retried([&] { return poll(&wanted, 1, -1); }) >= 0;
}

}  // namespace

std::string ReasonOf(int error) { return error == EPIPE ? "its reader is gone" : std::strerror(error); }

int WriteAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = Retried([&] { return write(file, bytes.data(), bytes.size()); });
    if (written >= 0) {
      bytes.remove_prefix(static_cast<size_t>(written));
    } else if (errno != EAGAIN || !WaitUntilReady(file)) {
      return errno;
    }
  }
  return 0;
}

Writer::Writer(int file, Encoding encoding, Buffering buffering, LineState* line, std::function<void()> on_failure)
    : file_(file), encoding_(encoding), buffering_(buffering), line_(line), on_failure_(std::move(on_failure)) {
  if (buffering_ == Buffering::kBlocks) buffer_.reserve(2 * kBufferSize);
}

void Writer::WriteGbk(std::string_view text) {
  if (encoding_ == Encoding::kUtf8) {
    utf8_.Convert(text, buffer_);
  } else {
    buffer_ += text;
  }
  FlushIfDue();
}

void Writer::WriteRaw(std::string_view bytes) {
  utf8_.Finish(buffer_);
  buffer_ += bytes;
  FlushIfDue();
}

void Writer::StartLine() {
  Flush();
  if (!line_->at_start && !line_->shows_progress) WriteRaw("\n");
}

void Writer::FlushIfDue() {
  if (buffering_ == Buffering::kNone || buffer_.size() >= kBufferSize) Flush();
}

void Writer::Flush() {
  WriteOut(buffer_);
  buffer_.clear();
}

void Writer::Finish() {
  utf8_.Finish(buffer_);
  Flush();
}

void Writer::WriteOut(std::string_view bytes) {
  if (bytes.empty() || failure_ != 0) return;
  if (line_->shows_progress) failure_ = WriteAll(file_, kWipeLine);
  line_->shows_progress = false;
  if (failure_ == 0) failure_ = WriteAll(file_, bytes);
  if (failure_ != 0) return on_failure_();
  line_->at_start = bytes.back() == '\n';
}

}  // namespace karst::cli

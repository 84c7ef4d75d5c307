// Exit statuses of the program's own, beside the low 8 bits of a run's result; and the one exception that carries one.
#pragma once

#include <stdexcept>
#include <string>

namespace karst::cli {

constexpr int kNotAllRead = 1;  // around records: something was passed over, or could not be read or written
constexpr int kWrongUsage = 2;
constexpr int kOutOfMemory = 71;               // there was no memory for the program itself
constexpr int kOutputFailed = 74;              // something that goes to a file could not be written
constexpr int kSignalBase = 128;               // plus the signal's number
constexpr int kReaderGone = kSignalBase + 13;  // as of a program that SIGPIPE ends

// The exit status for a run's result: its low 8 bits.
constexpr int StatusOf(int result) { return result & 0xFF; }

inline constexpr char kNoMemoryText[] = "out of memory";

// Something that keeps the program from starting a run, or ends a verb. Its text is for standard error; there may be
// none.
class HostError : public std::runtime_error {
 public:
  HostError(int status, const std::string& text) : std::runtime_error(text), status_(status) {}
  int Status() const { return status_; }

 private:
  int status_;
};

}  // namespace karst::cli

// Exit statuses of the program's own, beside the low 8 bits of a run's result; and the one exception that carries one.
#pragma once

#include <stdexcept>
#include <string>

namespace karst::cli {

constexpr int kNotAllRead = 1;  // a verb around records: something was passed over, or could not be read or written
constexpr int kWrongUsage = 2;
constexpr int kOutputFailed = 74;  // standard output, the messages or the rejects could not be written
constexpr int kSignalBase = 128;   // plus the signal's number

// Something that keeps the program from starting a run. Its text is for standard error.
class HostError : public std::runtime_error {
 public:
  HostError(int status, const std::string& text) : std::runtime_error(text), status_(status) {}
  int Status() const { return status_; }

 private:
  int status_;
};

}  // namespace karst::cli

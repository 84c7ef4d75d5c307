// A file named on the command line: as the user wrote it, as the library takes it, as the file system has it.
#pragma once

#include <string>
#include <string_view>

#include "cli/base/encoding.h"

namespace karst::cli {

// A name from the command line as the file system has it, which is UTF-8, as in the library.
std::string SystemName(const std::string& name, Encoding encoding);

class InputFile {
 public:
  InputFile(const std::string& name, Encoding encoding);
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile();

  static constexpr const char* kStandardInput = "/dev/stdin";

  // For messages, in the user's encoding.
  const std::string& Shown() const { return shown_; }
  // GBK. A name that GBK lacks is reached through a descriptor that is open as long as the object lives.
  const char* ForLibrary() const { return library_name_.c_str(); }
  const char* ForSystem() const { return system_name_.c_str(); }
  // Why the file cannot be read, empty if it can.
  std::string WhyUnreadable() const;
  // Puts the whole file into `bytes`. Why it cannot be read, empty if it was.
  std::string Read(std::string& bytes) const;

 private:
  std::string shown_;
  std::string system_name_;
  std::string library_name_;
  int descriptor_ = -1;
};

}  // namespace karst::cli

// A script held in memory for a benchmark: written to a file once, loaded once, run as often as the benchmark asks.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace bench {

// A file of the benchmark's own, removed at its end.
class TempFile {
 public:
  explicit TempFile(std::string_view content) {
    char name[] = "/tmp/karst-bench-XXXXXX";
    const int descriptor = mkstemp(name);
    if (descriptor < 0) throw std::runtime_error("no temporary file");
    close(descriptor);
    path_ = name;
    std::ofstream(path_, std::ios::binary) << content;
  }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  ~TempFile() { std::remove(path_.c_str()); }
  const char* Path() const { return path_.c_str(); }

 private:
  std::string path_;
};

// Lines in, with LF; CR LF out, as scripts want them.
inline std::string WithLineEnds(std::string_view lines) {
  std::string text;
  for (const char byte : lines) {
    if (byte == '\n') text += '\r';
    text += byte;
  }
  return text;
}

}  // namespace bench

// RecordSink: the file that a verb writes, compressed or not. It is there as a whole or not at all: what is written
// goes to another name in the same folder and gets its own at the end.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "fresh_file.h"
#include "options.h"

namespace karst::cli {

class RecordSink {
 public:
  // "-" is standard output; that, and what is no regular file, is written as it comes. HostError if the file cannot be
  // made, or if the run reads from it.
  RecordSink(const std::string& name, bool compressed, const Options& options);
  RecordSink(const RecordSink&) = delete;
  RecordSink& operator=(const RecordSink&) = delete;
  // Leaves nothing behind of what was not committed.
  ~RecordSink();

  // HostError if the bytes cannot be written.
  void Write(std::string_view bytes);
  // Gives the file its name. HostError if that fails; what had the name before is still there then.
  void Commit();

 private:
  class Compressor;
  void Open(const Options& options);
  void OpenFresh(const struct stat* old);
  void WriteOut(std::string_view bytes);
  [[noreturn]] void Fail(int error) const;

  std::string shown_;
  std::string path_;     // empty: standard output
  FreshFile fresh_;      // what is to be a regular file
  int descriptor_ = -1;  // of this, or of what is written as it comes
  std::unique_ptr<Compressor> compressor_;
};

}  // namespace karst::cli

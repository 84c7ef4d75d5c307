// ResultFile: the file that is the result of a verb, compressed or not. It is there as a whole or not at all: what is
// written goes to another name in the same folder and gets its own at the end.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "cli/base/fresh_file.h"
#include "cli/base/output_file.h"

namespace karst::cli {

class ResultFile {
 public:
  // "-" is standard output; that, and what is no regular file, is written as it comes. HostError if the file cannot be
  // made, or if the run reads from it.
  ResultFile(const std::string& name, bool compressed, const FilesRead& inputs);
  ResultFile(const ResultFile&) = delete;
  ResultFile& operator=(const ResultFile&) = delete;
  // Leaves nothing behind of what was not committed.
  ~ResultFile();

  // HostError if the bytes cannot be written.
  void Write(std::string_view bytes);
  // Gives the file its name. HostError if that fails; what had the name before is still there then.
  void Commit();
  // Ends the file as one that holds only a part of what it should: it gets a name that says so, and what has the name
  // of the file keeps it. Gives a line that says this; empty where the part was written as it came. HostError if it
  // fails.
  std::string CommitPart();

 private:
  class Compressor;
  void Open(const FilesRead& inputs);
  void OpenFresh();
  bool IsFresh() const { return !path_.empty() && descriptor_ == fresh_.Descriptor(); }
  void EndCompression();
  void WriteOut(std::string_view bytes);
  [[noreturn]] void Fail(int error) const;

  std::string shown_;
  std::string path_;     // empty: standard output
  FreshFile fresh_;      // what is to be a regular file
  int descriptor_ = -1;  // of this, or of what is written as it comes
  std::unique_ptr<Compressor> compressor_;
};

}  // namespace karst::cli

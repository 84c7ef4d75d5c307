// A file that the program itself writes: the messages, the rejects.
#pragma once

#include <string>

#include "cli/verbs/options.h"

struct stat;

namespace karst::cli {

// True if this is one of the files that the run reads.
bool IsReadByRun(const struct stat& file, const Options& options);

// True for the failure of standard output that needs no word: its reader has had enough, and no file, which the early
// end would leave incomplete, has been written.
bool EndsQuietly(int error, const Options& options);

class OutputFile {
 public:
  // Makes the file, or empties it. HostError if that fails, or if the run reads from this very file.
  OutputFile(const std::string& name, const Options& options);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  int Descriptor() const { return descriptor_; }
  // False, with errno set, if the system has lost something that was written.
  bool Close();

 private:
  int descriptor_ = -1;
};

}  // namespace karst::cli

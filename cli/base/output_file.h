// A file that the program itself writes: the messages, the rejects.
#pragma once

#include <string>
#include <vector>

#include "cli/base/encoding.h"

struct stat;

namespace karst::cli {

// The files that the command line gives to be read: none of them is written over.
struct FilesRead {
  Encoding encoding = Encoding::kUtf8;  // of their names, and of those that are written
  std::vector<std::string> names;       // "-" is standard input
};

bool IsAmong(const FilesRead& inputs, const struct stat& file);

// True for the failure of standard output that needs no word: its reader has had enough, and no file, which the early
// end would leave incomplete, has been written.
bool EndsQuietly(int error);

class OutputFile {
 public:
  // Makes the file, or empties it. HostError if that fails, or if the run reads from this very file.
  OutputFile(const std::string& name, const FilesRead& inputs);
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

// FreshFile: a new file beside the one whose name it takes at the end, so that this name stands at every moment for
// the old contents or for all of the new ones.
#pragma once

#include <string>

struct stat;

namespace karst::cli {

class FreshFile {
 public:
  FreshFile() = default;
  FreshFile(const FreshFile&) = delete;
  FreshFile& operator=(const FreshFile&) = delete;
  // Removes what has not taken its name.
  ~FreshFile();

  // Makes the file in the folder of `path`, which is no link, once for an object. With `old`, the file that has the
  // name now, it gets the mode and, where that is allowed, the owner of this. 0, or the number of the system's error.
  int Make(const std::string& path, const struct stat* old);
  int Descriptor() const { return descriptor_; }
  // Closes the file and gives it the name of `path`. 0, or the number of the error; what had the name has it still
  // then.
  int TakeName();

 private:
  std::string path_;
  std::string temporary_;  // empty: there is none
  int descriptor_ = -1;
};

}  // namespace karst::cli

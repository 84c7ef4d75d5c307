// FreshFile: a new file beside the one whose name it takes at the end, so that this name stands at every moment, also
// after a crash of the system, for the old contents or for all of the new ones.
#pragma once

#include <string>

namespace karst::cli {

class FreshFile {
 public:
  FreshFile() = default;
  FreshFile(const FreshFile&) = delete;
  FreshFile& operator=(const FreshFile&) = delete;
  // Removes what has not taken a name.
  ~FreshFile();

  // Makes the file in the folder of `path`, once for an object. A link stays one: the file that it leads to is meant.
  // From a regular file that has the name now it gets the mode and, where that is allowed, the owner; one that may not
  // be written is not replaced. 0, or the number of the system's error.
  int Make(const std::string& path);
  int Descriptor() const { return descriptor_; }
  // Closes the file, which is on the disk by then, and gives it the name of `path`. 0, or the number of the error: what
  // had the name has it still, unless the disk could not take the change of names itself.
  int TakeName();
  // The same with another name, for what is only a part: ".partial" is added to the name.
  int TakePartialName();
  std::string PartialPath() const { return path_ + ".partial"; }

 private:
  int TakeName(const std::string& path);

  std::string path_;
  std::string temporary_;  // empty: there is none
  int descriptor_ = -1;
};

}  // namespace karst::cli

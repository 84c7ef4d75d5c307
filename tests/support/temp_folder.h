// A fresh directory that is the working directory while the object lives, and is gone with everything in it after.
#pragma once

#include <filesystem>

namespace karst::testing {

class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  std::filesystem::path previous_;
};

}  // namespace karst::testing

#include "support/temp_folder.h"

#include <stdlib.h>

#include <stdexcept>
#include <string>

namespace karst::testing {

TempFolder::TempFolder() : previous_(std::filesystem::current_path()) {
  std::string name = (std::filesystem::temp_directory_path() / "karst-test-XXXXXX").string();
  if (!mkdtemp(name.data())) throw std::runtime_error("no temporary directory at " + name);
  path_ = name;
  std::filesystem::current_path(path_);
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::current_path(previous_, ignored);
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace karst::testing

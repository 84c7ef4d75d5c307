#include "support/scratch_folder.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "support/temp_folder.h"

namespace karst::testing {
namespace {

int OpenDirectory(const char* path) { return open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC); }

// Making a TempFolder enters it, so the place that was left is entered again behind that.
int OpenScratch() {
  const int previous = OpenDirectory(".");
  static const TempFolder folder;
  const int scratch = OpenDirectory(".");
  if (fchdir(previous) != 0) std::abort();
  close(previous);
  return scratch;
}

}  // namespace

ScratchFolder::ScratchFolder() {
  static const int scratch = OpenScratch();
  previous_ = OpenDirectory(".");
  if (previous_ == -1 || fchdir(scratch) != 0) std::abort();
}

ScratchFolder::~ScratchFolder() {
  if (fchdir(previous_) != 0) std::abort();
  close(previous_);
}

}  // namespace karst::testing

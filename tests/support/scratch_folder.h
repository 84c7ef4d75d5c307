// A working directory for code that runs very often, as fuzzed code does: made once for the process, entered while the
// object lives. What is written there stays until the process ends.
#pragma once

namespace karst::testing {

class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

 private:
  int previous_;  // the directory that was left, open
};

}  // namespace karst::testing

// Where the windows of scripts are shown: a window system, with what has to be made ready there once.
#pragma once

#include <functional>
#include <memory>

#include "export.h"
#include "windows/windowsystem.h"

namespace karst {

// May serve several interpreter objects, as long as they are all on one thread.
class KARST_API HyperModule {
 public:
  explicit HyperModule(std::unique_ptr<WindowSystem> system);
  HyperModule(const HyperModule&) = delete;
  HyperModule& operator=(const HyperModule&) = delete;
  // Frees the control library and drops the frame class.
  ~HyperModule();

  WindowSystem& System() { return *system_; }
  // Makes sure of the control library and the frame class. False if the library cannot be loaded; the next call tries
  // again.
  bool Prepare();

 private:
  std::unique_ptr<WindowSystem> system_;
  bool library_loaded_ = false;
  bool class_registered_ = false;
};

using HyperModuleMaker = std::function<std::shared_ptr<HyperModule>()>;

// Windows in memory, without a user: a wait is answered by the closing of its window.
KARST_API std::shared_ptr<HyperModule> MakeMemoryModule();
// What an interpreter object gets when its script opens a window and its host has given it no module. An empty maker
// stands for MakeMemoryModule, which is also what holds at first. From any thread.
KARST_API void SetHyperModuleMaker(HyperModuleMaker maker);
KARST_API std::shared_ptr<HyperModule> MakeHyperModule();

}  // namespace karst

// Where the windows of the program's scripts are shown, as the option --windows has it.
#pragma once

#include <memory>

#include "cli/base/console.h"
#include "hyper/hypermodule.h"

namespace karst::cli {

class BrowserWindows;

enum class WindowsMode { kBrowser, kMemory, kNone };

// One for the whole process. Nothing is started before a script opens its first window. Must outlive every engine
// object, and be outlived by the console.
class ScriptWindows {
 public:
  ScriptWindows(WindowsMode mode, Console& console);
  ScriptWindows(const ScriptWindows&) = delete;
  ScriptWindows& operator=(const ScriptWindows&) = delete;
  // The pages learn that it is over.
  ~ScriptWindows();

  // Stands in the scope of an engine object, after it: windows that the engine still has at the end of the scope are
  // closed because the run is over.
  struct RunScope {
    RunScope() = default;
    RunScope(const RunScope&) = delete;
    RunScope& operator=(const RunScope&) = delete;
    ~RunScope();
  };

 private:
  std::shared_ptr<HyperModule> Module();
  std::unique_ptr<WindowSystem> MakeSystem();
  void ShowAddress(const std::string& address, const std::string& ticket);
  bool AskUser(std::string_view gbk_text);

  WindowsMode mode_;
  Console& console_;
  std::shared_ptr<HyperModule> module_;
  BrowserWindows* browser_ = nullptr;  // inside the module
};

}  // namespace karst::cli

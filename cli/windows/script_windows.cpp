// Where windows are shown: the module that engines get, made at their first window.
#include "cli/windows/script_windows.h"

#include "cli/base/stop_request.h"
#include "cli/windows/browser_opener.h"
#include "cli/windows/browser_windows.h"
#include "windows/memorywindows.h"

namespace karst::cli {
namespace {

// The scopes of runs find it here.
ScriptWindows* the_windows = nullptr;

std::unique_ptr<Window> MakeUnseenControl() { return std::make_unique<VeldControl>(nullptr); }

}  // namespace

ScriptWindows::ScriptWindows(WindowsMode mode, Console& console) : mode_(mode), console_(console) {
  the_windows = this;
  SetHyperModuleMaker([this] { return Module(); });
  console.OnMessageBox([this](std::string_view text) { return AskUser(text); });
}

ScriptWindows::~ScriptWindows() {
  console_.OnMessageBox({});
  SetHyperModuleMaker({});
  the_windows = nullptr;
}

ScriptWindows::RunScope::~RunScope() {
  if (the_windows && the_windows->browser_) the_windows->browser_->RunIsOver();
}

std::shared_ptr<HyperModule> ScriptWindows::Module() {
  if (!module_) module_ = std::make_shared<HyperModule>(MakeSystem());
  return module_;
}

std::unique_ptr<WindowSystem> ScriptWindows::MakeSystem() {
  if (mode_ == WindowsMode::kNone) return std::make_unique<QueuedWindows>(nullptr);
  if (mode_ == WindowsMode::kMemory) return std::make_unique<MemoryWindows>(MakeUnseenControl);
  auto browser = std::make_unique<BrowserWindows>(
      [this](const std::string& address, const std::string& ticket) { ShowAddress(address, ticket); });
  browser_ = browser.get();
  return browser;
}

void ScriptWindows::ShowAddress(const std::string& address, const std::string& ticket) {
  console_.Say("window at " + address);
  if (HasDisplay() && !OpenInBrowser(ticket)) console_.Say("cannot start xdg-open; open the address by hand");
}

bool ScriptWindows::AskUser(std::string_view gbk_text) {
  return browser_ && browser_->AskUser(gbk_text, [] { return StopRequested(); });
}

}  // namespace karst::cli

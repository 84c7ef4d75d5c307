// CHyperWindow, and the wait for its commands.
#include "hyper/hyperwindow.h"

#include "hyper/hyperframe.h"
#include "hyper/hypermodule.h"
#include "windows/hypermessages.h"

CHyperWindow::~CHyperWindow() {
  m_event.Signal();
  if (!m_hFrame && m_hControl) karst::SendMessage(karst::GetParent(m_hControl), karst::kSetHyperWindow, 0, 0);
  if (karst::IsWindow(m_hFrame)) karst::DestroyWindow(m_hFrame);
}

void CHyperWindow::SetCmd(const char* lpszCmd) {
  m_strCmd = lpszCmd;
  m_event.Signal();
}

namespace karst {

namespace {

// Only the next wait begins when it has passed: it bounds how long a wait goes without asking whether to go on.
constexpr int kWaitMilliseconds = 5000;

}  // namespace

CHyperWindow* FindHyperWindow(const HyperWindowMap& windows, int32_t handle) {
  const auto found = windows.find(static_cast<uint16_t>(handle));
  if (found == windows.end()) return nullptr;
  CHyperWindow* window = found->second.get();
  return handle == 0 || IsWindow(window->m_hFrame) ? window : nullptr;
}

void ShowHyperWindow(HyperModule& module, CHyperWindow& window, const char* file) {
  WindowSystem& system = module.System();
  window.m_hFrame = CreateFrame(system);
  SendMessage(window.m_hFrame, kSetHyperWindow, 0, reinterpret_cast<MessageLong>(&window));
  system.ShowWindow(window.m_hFrame, kShow);
  window.m_hControl = GetChild(window.m_hFrame, kHyperControlId);
  SendMessage(window.m_hControl, kShowFile, 0, reinterpret_cast<MessageLong>(file));
}

bool WaitForCommand(WindowSystem& system, CHyperWindow& window, const std::function<bool()>& goes_on) {
  window.m_event.Reset();
  while (goes_on()) {
    const bool came = system.Wait(window.m_event, window.m_hFrame, kWaitMilliseconds);
    // What is queued behind the command goes out too: a further command is the one that counts.
    while (system.DispatchNext()) {
    }
    if (came) return goes_on();
  }
  return false;
}

}  // namespace karst

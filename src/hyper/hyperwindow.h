// CHyperWindow: one hypertext window, as a script knows it behind its handle.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "export.h"
#include "text/bytestring.h"
#include "windows/windowsystem.h"

class KARST_API CHyperWindow {
 public:
  CHyperWindow() = default;
  CHyperWindow(const CHyperWindow&) = delete;
  CHyperWindow& operator=(const CHyperWindow&) = delete;
  // Takes the frame with it. The parent of a host's own control is told that there is no window any more.
  virtual ~CHyperWindow();

  // Keeps the command (null: the empty one) in the place of an earlier one, and ends a wait for it. To be called on
  // the script's thread.
  void SetCmd(const char* lpszCmd);

  HWND m_hFrame = nullptr;    // null: the host's own control stands in a window of the host
  HWND m_hControl = nullptr;  // the hypertext control
  CString m_strCmd;           // the last command, until a wait has given it to the script
  karst::AutoResetEvent m_event;
};

namespace karst {

class HyperModule;

// The windows of one interpreter object by the low 16 bits of their handles; 0 is the host's own.
using HyperWindowMap = std::map<uint16_t, std::unique_ptr<CHyperWindow>>;

// The window behind a handle that can be talked to, or null.
KARST_API CHyperWindow* FindHyperWindow(const HyperWindowMap& windows, int32_t handle);

// Creates the frame and control of `window` and shows the file there. Where that cannot be done the window stays
// without a frame.
KARST_API void ShowHyperWindow(HyperModule& module, CHyperWindow& window, const char* file);

// Waits until the window gets a command or is closed, dispatching what comes for any window meanwhile. `goes_on` is
// asked between two waits and at the end; false if it ended the waiting, and then the window may be gone.
KARST_API bool WaitForCommand(WindowSystem& system, CHyperWindow& window, const std::function<bool()>& goes_on);

}  // namespace karst

// CRunable: what every piece of an interpreter object shares: a stop flag, one way of failing, one way to the host.
#pragma once

#include <atomic>

#include "outside/zebutil.h"
#include "platform/bytestring.h"
#include "platform/export.h"
#include "platform/window.h"

class KARST_API CRunable {
 public:
  CRunable() = default;
  CRunable(const CRunable&) = default;
  CRunable& operator=(const CRunable&) = default;
  virtual ~CRunable() = default;

  // The run state becomes "running": a stop request is withdrawn.
  int Initial() { return SetRunState(0); }
  // Asks the run to end. May be called from another thread or a signal handler.
  int Stop() { return SetRunState(-1); }
  // Count a level of nesting up and down.
  int Begin() { return SetRunState(RunState() + 1); }
  int End() { return SetRunState(RunState() - 1); }
  // 1 if a stop was asked for, else 0.
  int IsStop() const { return RunState() < 0; }

  // Raises a script error: formats the text into strError and throws CError with it.
  void halt(const char* lpszFormat, ...);

  // Formats by the language of host messages (1,024 bytes at most) and appends to the host's control. 0, or -1 with
  // no control.
  int eprintf(const char* lpszFormat, ...);
  // The same with a text that is no format and has no limit.
  int eprintf1(const char* lpszText);
  // Formats and appends to a file, which is made if it is not there. 0, or -1.
  int fnprintf(const char* lpszFile, const char* lpszFormat, ...);
  // Makes a text control of the interpreter's own, which keeps what is written to it, and puts it in hWnd. 0 or -1.
  int CreateConsoleWindow();
  // Shows a message box with the title "Karst Message". Always 0.
  int MessageBoxA(const char* lpszText);

  HWND hWnd = nullptr;  // the host's output control; null: no output
  CString strError;     // text of the last error that halt formatted
  int nRunState = 0;    // 0 and above: running, that many levels deep; below 0: a stop was asked for

 private:
  // A plain int in the object, read afresh at every poll, so that a request from elsewhere is seen.
  int RunState() const { return std::atomic_ref<int>(const_cast<int&>(nRunState)).load(std::memory_order_relaxed); }
  int SetRunState(int state) {
    std::atomic_ref<int>(nRunState).store(state, std::memory_order_relaxed);
    return 0;
  }
};

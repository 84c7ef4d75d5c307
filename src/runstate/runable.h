// CRunable: what every piece of an interpreter object shares: a stop flag, one way of failing, one way to the host.
#pragma once

#include "export.h"
#include "helpers/zebutil.h"
#include "text/bytestring.h"
#include "windows/window.h"

class KARST_API CRunable {
 public:
  CRunable() = default;
  CRunable(const CRunable&) = default;
  CRunable& operator=(const CRunable&) = default;
  virtual ~CRunable() = default;

  // The run state becomes "running": a stop request is withdrawn.
  int Initial() { return SetRunState(0); }
  // Asks the run to end. May be called from another thread or a signal handler. What runs in the object then ends at
  // its next statement, field or record; a call that a host makes later withdraws the request (see StopsHeld).
  int Stop() { return SetRunState(-1); }
  // Count a level of nesting up and down. The first Begin after Stop withdraws the request.
  int Begin() { return AddToRunState(1); }
  int End() { return AddToRunState(-1); }
  // Opens a level, which End closes, unless a stop was asked for: in one step, so that no request is lost between the
  // question and the opening. True if the level is open.
  bool BeginUnlessStopped();
  // 1 if a stop was asked for, else 0.
  int IsStop() const { return RunState() < 0; }

  // While such an object lives, no run withdraws a stop request; only what was asked for before is withdrawn, when the
  // first of several is made. Each call that loads or runs holds one. A host whose requests come from another thread or
  // a signal, and so may come just before the call or between two, makes one of its own around its calls.
  class StopsHeld {
   public:
    explicit StopsHeld(CRunable& run) : run_(run), held_before_(run.stops_held_) {
      if (!held_before_) run.Initial();
      run.stops_held_ = true;
    }
    StopsHeld(const StopsHeld&) = delete;
    StopsHeld& operator=(const StopsHeld&) = delete;
    ~StopsHeld() { run_.stops_held_ = held_before_; }

   private:
    CRunable& run_;
    const bool held_before_;
  };

  // Raises a script error: formats the text into strError and throws CError with it. A format that cannot be carried
  // out raises nothing; without memory for the text the error is that of HaltForMemory.
  void halt(const char* lpszFormat, ...);
  // Raises the script error of a run that has no memory: throws karst::MemoryError with the text. Needs no memory.
  [[noreturn]] void HaltForMemory(const char* text = karst::MemoryError::kText);

  // Formats by the language of host messages (1,024 bytes at most) and appends to the host's control. 0, or -1 with
  // no control or no memory.
  int eprintf(const char* lpszFormat, ...);
  // The same with a text that is no format and has no limit.
  int eprintf1(const char* lpszText);
  // For the result of the two above, in a run: what a control there is could not be told for lack of memory ends it.
  void MustBeTold(int told) {
    if (told == -1 && hWnd) HaltForMemory();
  }
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
  int RunState() const { return __atomic_load_n(&nRunState, __ATOMIC_RELAXED); }
  int SetRunState(int state) {
    __atomic_store_n(&nRunState, state, __ATOMIC_RELAXED);
    return 0;
  }
  int AddToRunState(int levels) {
    __atomic_fetch_add(&nRunState, levels, __ATOMIC_RELAXED);
    return 0;
  }

  bool stops_held_ = false;
};

inline bool CRunable::BeginUnlessStopped() {
  int levels = RunState();
  while (levels >= 0) {
    if (__atomic_compare_exchange_n(&nRunState, &levels, levels + 1, true, __ATOMIC_RELAXED, __ATOMIC_RELAXED)) {
      return true;
    }
  }
  return false;
}

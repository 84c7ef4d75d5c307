// The window system: what the windows of scripts ask of the place where they are shown.
//
// A system serves one thread, that of the script: it alone creates windows, sends messages, waits. Any other thread
// only posts (Post), and what it posted runs on the script's thread, inside the script's next wait. Windows stand in
// the one table of windows/window.h; IsWindow, DestroyWindow, SendMessage, GetParent and GetChild serve them too.
#pragma once

#include <atomic>
#include <functional>

#include "export.h"
#include "windows/window.h"

namespace karst {

// Messages that a system sends to its windows.
enum WindowMessage : unsigned {
  kCreate = 1,         // lParam: a Creation. The answer -1 undoes the creation
  kDestroy = 2,        // the window is about to go
  kSize = 5,           // lParam: client width in the low 16 bits, client height above them
  kFocusGained = 7,    // wParam: the window that had the focus
  kFocusLost = 8,      // wParam: the window that gets it
  kClose = 16,         // the user wants it closed; the default procedure destroys the window
  kCommand = 273,      // wParam: a child's id in the low 16 bits, its notification code above; lParam: the child
  kParentNotify = 528  // wParam: kCreate or kDestroy in the low 16 bits, the child's id above; lParam: the child
};

enum class Metric { kBorderWidth, kBorderHeight, kCaptionHeight };  // SM_CXBORDER, SM_CYBORDER, SM_CYCAPTION

constexpr int kShow = 5;  // SW_SHOW

class WindowSystem;

// A place in pixels: of a frame on the screen, of a child in its parent's client area.
struct Place {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

using WindowProcedure = MessageLong (*)(WindowSystem& system, HWND self, unsigned message, MessageWord w,
                                        MessageLong l);

// A class of windows. Cursor and background are those of every class here: the arrow, light grey.
struct WindowClass {
  const char* name;
  unsigned style;
  int class_extra;
  int window_extra;  // bytes; room for one pointer is there in any case
  WindowProcedure procedure;
};

// A window to be created.
struct WindowPlan {
  const char* class_name;
  const char* title;
  unsigned extended_style;
  unsigned style;
  Place place;
  HWND parent = nullptr;
  int id = 0;
};

// What kCreate carries.
struct Creation {
  WindowSystem* system;
  HWND self;
  const WindowPlan* plan;
};

// Signalled until somebody takes it. Any thread may signal it, but only a post wakes a wait at once.
class AutoResetEvent {
 public:
  void Signal() { signalled_.store(true); }
  void Reset() { signalled_.store(false); }
  // True if it was signalled; it no longer is.
  bool Take() { return signalled_.exchange(false); }

 private:
  std::atomic<bool> signalled_{false};
};

class KARST_API WindowSystem {
 public:
  WindowSystem() = default;
  WindowSystem(const WindowSystem&) = delete;
  WindowSystem& operator=(const WindowSystem&) = delete;
  virtual ~WindowSystem() = default;

  // The library of the hypertext control, whose class comes with it. False if there is none.
  virtual bool LoadControlLibrary(const char* name) = 0;
  virtual void FreeControlLibrary() = 0;
  virtual bool RegisterClass(const WindowClass& window_class) = 0;
  virtual void UnregisterClass(const char* name) = 0;

  // Enters the window into the table and sends it kCreate. Null if the class is not known or the window refuses.
  virtual HWND CreateWindow(const WindowPlan& plan) = 0;
  virtual void ShowWindow(HWND window, int how) = 0;
  // Has what is shown drawn at once.
  virtual void UpdateWindow(HWND window) = 0;
  // The windows concerned get kFocusLost and kFocusGained.
  virtual void SetFocus(HWND window) = 0;
  // The place inside the borders; left and top are 0. All 0 for no window of this system.
  virtual Place ClientPlace(HWND window) = 0;
  // Nonzero if it was moved. A new size is told to the window by kSize.
  virtual int MoveWindow(HWND window, const Place& place, bool repaint) = 0;
  virtual void SetWindowTitle(HWND window, const char* title) = 0;
  // The pointer in the window's extra bytes, at offset 0.
  virtual void SetWindowPointer(HWND window, void* pointer) = 0;
  virtual void* WindowPointer(HWND window) = 0;
  // What a window procedure does with a message that it has no use for.
  virtual MessageLong DefaultProcedure(HWND window, unsigned message, MessageWord w, MessageLong l) = 0;

  // The base units of dialogs: width in the low 16 bits, height above them.
  virtual unsigned DialogBaseUnits() = 0;
  virtual int SystemMetric(Metric metric) = 0;

  // Waits for the event, for something posted, or for the end of the time, whichever comes first; it may also return
  // earlier. True if it was the event, which is then taken; an event that is signalled already comes before all else.
  // `awaited` is the frame that the script waits on (null: the default window).
  virtual bool Wait(AutoResetEvent& event, HWND awaited, int milliseconds) = 0;
  // Takes the oldest of what was posted and carries it out. False if there was nothing.
  virtual bool DispatchNext() = 0;

  // From any thread: `action` runs on the script's thread, in the order of posting. What is still waiting when the
  // system ends never runs.
  virtual void Post(std::function<void()> action) = 0;
  // From any thread: a message, to be sent to the window if it is still there.
  void PostMessage(HWND window, unsigned message, MessageWord w = 0, MessageLong l = 0) {
    Post([=] { SendMessage(window, message, w, l); });
  }
};

}  // namespace karst

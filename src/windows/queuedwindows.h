// The part of a window system that is the same wherever windows are shown: classes, places, titles, focus, the queue
// and the wait, kept in memory. What a user sees is told to the class that is made of this one.
#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "windows/windowsystem.h"

namespace karst {

// What is known of a window.
struct WindowState {
  HWND self = nullptr;
  std::string class_name;
  std::string title;
  unsigned extended_style = 0;
  unsigned style = 0;
  Place place;
  HWND parent = nullptr;  // null: a frame
  int id = 0;
  bool visible = false;
  void* pointer = nullptr;
};

// Makes the window object of a hypertext control; kCreate tells it its own handle, its parent and its system.
using HyperControlMaker = std::function<std::unique_ptr<Window>()>;

class KARST_API QueuedWindows : public WindowSystem {
 public:
  // Without a maker there is no control library, and no window can be opened.
  explicit QueuedWindows(HyperControlMaker make_control);
  // Destroys the windows that are left, without telling anybody what the user no longer sees.
  ~QueuedWindows() override;

  bool LoadControlLibrary(const char* name) override;
  void FreeControlLibrary() override { library_loaded_ = false; }
  bool RegisterClass(const WindowClass& window_class) override;
  void UnregisterClass(const char* name) override;
  HWND CreateWindow(const WindowPlan& plan) override;
  void ShowWindow(HWND window, int how) override;
  void UpdateWindow(HWND) override {}
  void SetFocus(HWND window) override;
  Place ClientPlace(HWND window) override;
  int MoveWindow(HWND window, const Place& place, bool repaint) override;
  void SetWindowTitle(HWND window, const char* title) override;
  void SetWindowPointer(HWND window, void* pointer) override;
  void* WindowPointer(HWND window) override;
  MessageLong DefaultProcedure(HWND window, unsigned message, MessageWord w, MessageLong l) override;
  unsigned DialogBaseUnits() override;
  int SystemMetric(Metric metric) override;
  bool Wait(AutoResetEvent& event, HWND awaited, int milliseconds) override;
  bool DispatchNext() override;
  void Post(std::function<void()> action) override;

  // The window's state, or null. Good until the next change of any window.
  const WindowState* StateOf(HWND window) const;

 protected:
  // On the script's thread. A frame has been created, or its title, place or visibility is another.
  virtual void FrameChanged(const WindowState&) {}
  // The frame is gone, by the script or by its user.
  virtual void FrameGone(HWND) {}
  // A wait finds nothing posted and the event not signalled. True if something has been done about it: then the wait
  // ends at once and does not sleep.
  virtual bool OnIdle(HWND /*awaited*/) { return false; }
  // Sees each message that one of these windows is about to get.
  virtual void OnDelivery(HWND, unsigned /*message*/, MessageWord, MessageLong) {}

 private:
  class HostedWindow;

  WindowState* Find(HWND window);
  std::unique_ptr<HostedWindow> MakeWindow(const WindowPlan& plan);
  void Tell(const WindowState& state);
  void TellParent(HWND child, unsigned what);
  void SendSize(HWND window);
  void Forget(HWND window);

  HyperControlMaker make_control_;
  bool library_loaded_ = false;
  std::map<std::string, WindowClass, std::less<>> classes_;
  std::map<HWND, WindowState> windows_;
  HWND focus_ = nullptr;

  std::mutex mutex_;  // guards posted_
  std::condition_variable something_posted_;
  std::deque<std::function<void()>> posted_;
};

}  // namespace karst

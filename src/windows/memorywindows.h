// A window system without a screen. Its user is a list of steps, one of which is taken whenever a script waits and
// nothing has come: so a run goes the same way every time.
//
// When no step is left, the frame that the script waits on is closed, as by a user who has had enough: a script that
// asks and nobody is there ends its dialogue, and with it, it ends. A wait on the host's own control (handle 0) is
// not answered for the host: it lasts until the host posts or the run is stopped.
#pragma once

#include <functional>
#include <string>

#include "windows/queuedwindows.h"

namespace karst {

class KARST_API MemoryWindows : public QueuedWindows {
 public:
  using QueuedWindows::QueuedWindows;

  // A step may do anything that a user or a host could; `frame` is the one that is waited on.
  using Step = std::function<void(MemoryWindows& windows, HWND frame)>;
  // Adds a step. From the script's thread, or before its run.
  void Plan(Step step) { steps_.push_back(std::move(step)); }

  // Steps of a user at the window that is waited on: gives a command, enters a macro's value, makes the inside of the
  // frame this large, closes it. A command is all that ends a wait, besides the closing.
  void PlanCommand(std::string command);
  void PlanInput(std::string name, std::string value);
  void PlanResize(int width, int height);
  void PlanClose();
  // True if all steps have been taken.
  bool IsPlanDone() const { return steps_.empty(); }

 protected:
  bool OnIdle(HWND awaited) override;

 private:
  std::deque<Step> steps_;
};

}  // namespace karst

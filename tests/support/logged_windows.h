// Windows in memory that write down what is asked of them and which messages they get, and a hypertext control whose
// answers a test sets.
#pragma once

#include <string>
#include <vector>

#include "hyper/hypermodule.h"
#include "platform/hypermessages.h"
#include "platform/memorywindows.h"

namespace karst::testing {

// What the controls of a test answer, and what they were told last.
struct ControlScript {
  MessageLong show_answer = 0;
  MessageLong set_answer = 0;
  MessageLong print_answer = 0;
  MessageLong get_answer = 0;
  std::string macro_value;
  bool fills_buffers = false;  // gives texts that fill all the room, without a NUL
  std::string file;
  std::string macro_name;
  std::string set_value;
  MessageLong print_flag = 0;
  int32_t room = 0;
  std::function<void()> at_show;
};

class ScriptedControl : public Window {
 public:
  explicit ScriptedControl(ControlScript& script) : script_(script) {}
  MessageLong OnMessage(unsigned message, MessageWord w, MessageLong l) override;

 private:
  MessageLong GiveText(const std::string& text, char* buffer, size_t room) const;
  MessageLong TakeSetting(const MacroSetting& setting);
  MessageLong GiveMacro(const MacroRequest& request);

  ControlScript& script_;
  HWND self_ = nullptr;
  HWND parent_ = nullptr;
  std::string command_;
};

// Log lines call the windows frame1, control1, frame2... in the order of their creation.
class LoggedWindows : public MemoryWindows {
 public:
  LoggedWindows(std::vector<std::string>& log, ControlScript& controls)
      : MemoryWindows([&controls] { return std::make_unique<ScriptedControl>(controls); }), log_(log) {}

  bool LoadControlLibrary(const char* name) override;
  void FreeControlLibrary() override;
  bool RegisterClass(const WindowClass& window_class) override;
  void UnregisterClass(const char* name) override;
  HWND CreateWindow(const WindowPlan& plan) override;
  void ShowWindow(HWND window, int how) override;
  void UpdateWindow(HWND window) override;
  void SetFocus(HWND window) override;
  int MoveWindow(HWND window, const Place& place, bool repaint) override;
  void SetWindowTitle(HWND window, const char* title) override;
  bool Wait(AutoResetEvent& event, HWND awaited, int milliseconds) override;

  std::string NameOf(HWND window);
  bool has_library = true;
  int empty_waits = 0;  // so many waits end without anything

 protected:
  void OnDelivery(HWND window, unsigned message, MessageWord w, MessageLong l) override;

 private:
  std::vector<std::string>& log_;
  std::vector<std::pair<HWND, std::string>> names_;
};

}  // namespace karst::testing

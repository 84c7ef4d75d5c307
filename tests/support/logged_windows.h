// Windows in memory that write down what is asked of them and which messages they get, and a hypertext control whose
// answers a test sets.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "windows/hypermessages.h"
#include "windows/memorywindows.h"

namespace karst::testing {

// What the controls of a test answer, and what they were told last.
struct ControlScript {
  MessageLong answer = 0;  // to all messages of the hypertext control
  std::string macro_value;
  bool fills_buffers = false;  // gives texts that fill all the room, without a NUL
  std::string told;
  std::function<void()> at_show;
};

class ScriptedControl : public Window {
 public:
  explicit ScriptedControl(ControlScript& script) : script_(script) {}
  MessageLong OnMessage(unsigned message, MessageWord w, MessageLong l) override {
    const auto* text = reinterpret_cast<const char*>(l);
    const auto* setting = reinterpret_cast<const MacroSetting*>(l);
    const auto* request = reinterpret_cast<const MacroRequest*>(l);
    switch (message) {
      case kCreate: parent_ = reinterpret_cast<const Creation*>(l)->plan->parent; return 0;
      case kUserCommand:
        command_ = text;
        return SendMessage(parent_, kCommand, kHyperControlId | kCommandReady << 16, 0);
      case kGetCommand: Give(command_, reinterpret_cast<char*>(l), w); break;
      case kShowFile:
        script_.told = text;
        if (script_.at_show) script_.at_show();
        break;
      case kSetMacro: script_.told = std::string(setting->name) + "=" + setting->value; break;
      case kPrint: script_.told = std::to_string(l); break;
      case kGetMacro:
        script_.told = request->name + std::to_string(request->room);
        Give(script_.macro_value, request->buffer, static_cast<size_t>(request->room));
        break;
      default: return 0;
    }
    return script_.answer;
  }

 private:
  void Give(const std::string& text, char* buffer, size_t room) const {
    if (script_.fills_buffers) return static_cast<void>(std::memset(buffer, 'x', room));
    std::snprintf(buffer, room, "%s", text.c_str());
  }

  ControlScript& script_;
  HWND parent_ = nullptr;
  std::string command_;
};

// Log lines call the windows frame1, control1, frame2... in the order of their creation.
class LoggedWindows : public MemoryWindows {
 public:
  LoggedWindows(std::vector<std::string>& log, ControlScript& controls)
      : MemoryWindows([&controls] { return std::make_unique<ScriptedControl>(controls); }), log_(log) {}

  bool LoadControlLibrary(const char* name) override {
    Log("load %s", name);
    return MemoryWindows::LoadControlLibrary(name);
  }
  void FreeControlLibrary() override { Log("free"); }
  bool RegisterClass(const WindowClass& c) override {
    Log("register %s %x %d %d", c.name, c.style, c.class_extra, c.window_extra);
    return MemoryWindows::RegisterClass(c);
  }
  void UnregisterClass(const char* name) override { Log("unregister %s", name); }
  HWND CreateWindow(const WindowPlan& plan) override {
    Log("create %s \"%s\" %x %x %s id %d", plan.class_name, plan.title, plan.extended_style, plan.style,
        Text(plan.place).c_str(), plan.id);
    return MemoryWindows::CreateWindow(plan);
  }
  void ShowWindow(HWND window, int how) override {
    Log("show %s %d", NameOf(window), how);
    MemoryWindows::ShowWindow(window, how);
  }
  void UpdateWindow(HWND window) override { Log("update %s", NameOf(window)); }
  void SetFocus(HWND window) override {
    Log("focus %s", NameOf(window));
    MemoryWindows::SetFocus(window);
  }
  int MoveWindow(HWND window, const Place& place, bool repaint) override {
    Log("move %s %s repaint %d", NameOf(window), Text(place).c_str(), repaint);
    return MemoryWindows::MoveWindow(window, place, repaint);
  }
  void SetWindowTitle(HWND window, const char* title) override { Log("title %s \"%s\"", NameOf(window), title); }
  bool Wait(AutoResetEvent& event, HWND awaited, int milliseconds) override {
    Log("wait %s %d", NameOf(awaited), milliseconds);
    if (empty_waits > 0) return --empty_waits, false;
    return MemoryWindows::Wait(event, awaited, milliseconds);
  }

  int empty_waits = 0;  // so many waits end without anything

 protected:
  void OnDelivery(HWND window, unsigned message, MessageWord w, MessageLong) override {
    const bool tells_handle = message == kFocusGained || message == kFocusLost;
    Log("%s gets %u %x", NameOf(window), message, tells_handle ? 0 : static_cast<unsigned>(w));
  }

 private:
  static std::string Text(const Place& place) {
    CString text;
    text.Format("%d,%d %dx%d", place.left, place.top, place.width, place.height);
    return text.c_str();
  }
  template <typename... Values>
  void Log(const char* format, Values... values) {
    CString line;
    line.Format(format, values...);
    log_.push_back(line.c_str());
  }
  const char* NameOf(HWND window) {
    if (!window) return "none";
    std::string& name = names_[window];
    if (name.empty()) name = GetParent(window) ? "control" + std::to_string(++controls_) : "";
    if (name.empty()) name = "frame" + std::to_string(++frames_);
    return name.c_str();
  }

  std::vector<std::string>& log_;
  std::map<HWND, std::string> names_;
  int frames_ = 0;
  int controls_ = 0;
};

}  // namespace karst::testing

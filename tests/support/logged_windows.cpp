#include "support/logged_windows.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace karst::testing {
namespace {

template <typename... Values>
std::string Print(const char* format, Values... values) {
  char line[300];
  std::snprintf(line, sizeof line, format, values...);
  return line;
}

std::string Print(const Place& place) { return Print("%d,%d %dx%d", place.left, place.top, place.width, place.height); }

}  // namespace

MessageLong ScriptedControl::OnMessage(unsigned message, MessageWord w, MessageLong l) {
  switch (message) {
    case kCreate: {
      const auto* creation = reinterpret_cast<const Creation*>(l);
      self_ = creation->self;
      parent_ = creation->plan->parent;
      return 0;
    }
    case kUserCommand:
      command_ = reinterpret_cast<const char*>(l);
      SendMessage(parent_, kCommand, kHyperControlId | kCommandReady << 16, reinterpret_cast<MessageLong>(self_));
      return 0;
    case kGetCommand: return GiveText(command_, reinterpret_cast<char*>(l), w);
    case kShowFile:
      script_.file = reinterpret_cast<const char*>(l);
      if (script_.at_show) script_.at_show();
      return script_.show_answer;
    case kSetMacro: return TakeSetting(*reinterpret_cast<const MacroSetting*>(l));
    case kPrint: script_.print_flag = l; return script_.print_answer;
    case kGetMacro: return GiveMacro(*reinterpret_cast<const MacroRequest*>(l));
    default: return 0;
  }
}

MessageLong ScriptedControl::GiveText(const std::string& text, char* buffer, size_t room) const {
  if (script_.fills_buffers) {
    std::memset(buffer, 'x', room);
  } else {
    std::snprintf(buffer, room, "%s", text.c_str());
  }
  return 0;
}

MessageLong ScriptedControl::TakeSetting(const MacroSetting& setting) {
  script_.macro_name = setting.name;
  script_.set_value = setting.value;
  return script_.set_answer;
}

MessageLong ScriptedControl::GiveMacro(const MacroRequest& request) {
  script_.macro_name = request.name;
  script_.room = request.room;
  GiveText(script_.macro_value, request.buffer, static_cast<size_t>(request.room));
  return script_.get_answer;
}

std::string LoggedWindows::NameOf(HWND window) {
  if (!window) return "none";
  const auto found =
      std::find_if(names_.begin(), names_.end(), [window](const auto& entry) { return entry.first == window; });
  if (found != names_.end()) return found->second;
  const std::string kind = GetParent(window) ? "control" : "frame";
  const auto number = 1 + std::count_if(names_.begin(), names_.end(),
                                        [&kind](const auto& entry) { return entry.second.starts_with(kind); });
  return names_.emplace_back(window, kind + std::to_string(number)).second;
}

bool LoggedWindows::LoadControlLibrary(const char* name) {
  log_.push_back(Print("load %s", name));
  return has_library && MemoryWindows::LoadControlLibrary(name);
}

void LoggedWindows::FreeControlLibrary() {
  log_.push_back("free");
  MemoryWindows::FreeControlLibrary();
}

bool LoggedWindows::RegisterClass(const WindowClass& c) {
  log_.push_back(Print("register %s %x %d %d", c.name, c.style, c.class_extra, c.window_extra));
  return MemoryWindows::RegisterClass(c);
}

void LoggedWindows::UnregisterClass(const char* name) {
  log_.push_back(Print("unregister %s", name));
  MemoryWindows::UnregisterClass(name);
}

HWND LoggedWindows::CreateWindow(const WindowPlan& plan) {
  log_.push_back(Print("create %s \"%s\" %x %x %s in %s id %d", plan.class_name, plan.title, plan.extended_style,
                       plan.style, Print(plan.place).c_str(), NameOf(plan.parent).c_str(), plan.id));
  return MemoryWindows::CreateWindow(plan);
}

void LoggedWindows::ShowWindow(HWND window, int how) {
  log_.push_back(Print("show %s %d", NameOf(window).c_str(), how));
  MemoryWindows::ShowWindow(window, how);
}

void LoggedWindows::UpdateWindow(HWND window) { log_.push_back("update " + NameOf(window)); }

void LoggedWindows::SetFocus(HWND window) {
  log_.push_back("focus " + NameOf(window));
  MemoryWindows::SetFocus(window);
}

int LoggedWindows::MoveWindow(HWND window, const Place& place, bool repaint) {
  log_.push_back(Print("move %s %s repaint %d", NameOf(window).c_str(), Print(place).c_str(), repaint));
  return MemoryWindows::MoveWindow(window, place, repaint);
}

void LoggedWindows::SetWindowTitle(HWND window, const char* title) {
  log_.push_back(Print("title %s \"%s\"", NameOf(window).c_str(), title));
  MemoryWindows::SetWindowTitle(window, title);
}

bool LoggedWindows::Wait(AutoResetEvent& event, HWND awaited, int milliseconds) {
  log_.push_back(Print("wait %s %d", NameOf(awaited).c_str(), milliseconds));
  if (empty_waits > 0) return --empty_waits, false;
  return MemoryWindows::Wait(event, awaited, milliseconds);
}

void LoggedWindows::OnDelivery(HWND window, unsigned message, MessageWord w, MessageLong) {
  log_.push_back(Print("%s gets %u %x", NameOf(window).c_str(), message,
                       message == kFocusGained || message == kFocusLost ? 0 : static_cast<unsigned>(w)));
}

}  // namespace karst::testing

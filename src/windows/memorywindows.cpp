// The user of the windows in memory.
#include "windows/memorywindows.h"

#include <utility>

#include "windows/hypermessages.h"

namespace karst {

void MemoryWindows::PlanCommand(std::string command) {
  Plan([command = std::move(command)](MemoryWindows&, HWND frame) {
    SendMessage(GetChild(frame, kHyperControlId), kUserCommand, 0, reinterpret_cast<MessageLong>(command.c_str()));
  });
}

void MemoryWindows::PlanInput(std::string name, std::string value) {
  Plan([name = std::move(name), value = std::move(value)](MemoryWindows&, HWND frame) {
    MacroSetting setting{name.c_str(), value.c_str()};
    SendMessage(GetChild(frame, kHyperControlId), kSetMacro, 0, reinterpret_cast<MessageLong>(&setting));
  });
}

void MemoryWindows::PlanResize(int width, int height) {
  Plan([width, height](MemoryWindows& windows, HWND frame) {
    const WindowState* state = windows.StateOf(frame);
    if (!state) return;
    const Place inside = windows.ClientPlace(frame);
    Place place = state->place;
    place.width += width - inside.width;
    place.height += height - inside.height;
    windows.MoveWindow(frame, place, true);
  });
}

void MemoryWindows::PlanClose() {
  Plan([](MemoryWindows&, HWND frame) { SendMessage(frame, kClose, 0, 0); });
}

bool MemoryWindows::OnIdle(HWND awaited) {
  if (steps_.empty()) {
    if (!IsWindow(awaited)) return false;
    PostMessage(awaited, kClose);
    return true;
  }
  Post([this, step = std::move(steps_.front()), awaited] { step(*this, awaited); });
  steps_.pop_front();
  return true;
}

}  // namespace karst

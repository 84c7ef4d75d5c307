// The frame of a hypertext window.
#include "hyper/hyperframe.h"

#include <algorithm>

#include "hyper/hyperwindow.h"
#include "windows/hypermessages.h"

namespace karst {

namespace {

// Redrawn at any change of size, double clicks, what lies below saved, known to the whole process.
constexpr unsigned kFrameClassStyle = 0x480B;
constexpr int kClassExtra = 32;
constexpr int kWindowExtra = 4;

constexpr unsigned kDialogFrame = 1;
constexpr unsigned kCaptionMenuAndBorder = 0xCC0000;
constexpr unsigned kSunkenEdge = 0x200;
// A visible child with both scroll bars that clips its children, and the control's own bits 9.
constexpr unsigned kControlStyle = 0x52300009;

int BordersWidth(WindowSystem& system) { return 2 * system.SystemMetric(Metric::kBorderWidth); }
int BordersHeight(WindowSystem& system) {
  return system.SystemMetric(Metric::kCaptionHeight) + 2 * system.SystemMetric(Metric::kBorderHeight);
}

Place FirstPlace(WindowSystem& system) {
  const unsigned units = system.DialogBaseUnits();
  const int x = static_cast<int>(units & 0xFFFF);
  const int y = static_cast<int>(units >> 16);
  return {x * 30 / 4, y * 25 / 4, x * 260 / 4 + BordersWidth(system), y * 150 / 8 + BordersHeight(system)};
}

// LIMIT: a size past the int range is the largest int.
int FrameExtent(int32_t given, int borders) {
  const int64_t extent = given > 0 ? int64_t{given} + borders : -int64_t{given};
  return static_cast<int>(std::min<int64_t>(extent, INT32_MAX));
}

CHyperWindow* WindowBehind(WindowSystem& system, HWND frame) {
  return static_cast<CHyperWindow*>(system.WindowPointer(frame));
}

void CreateControl(WindowSystem& system, HWND frame) {
  system.CreateWindow(
      {kHyperControlClass, "", kSunkenEdge, kControlStyle, system.ClientPlace(frame), frame, kHyperControlId});
}

void FillWithControl(WindowSystem& system, HWND frame) {
  system.MoveWindow(GetChild(frame, kHyperControlId), system.ClientPlace(frame), false);
}

void Close(WindowSystem& system, HWND frame) {
  if (CHyperWindow* window = WindowBehind(system, frame)) window->SetCmd("_close");
}

void TakeCommand(WindowSystem& system, HWND frame, MessageWord w) {
  const auto id = static_cast<int>(w & 0xFFFF);
  const auto code = static_cast<int>(w >> 16 & 0xFFFF);
  if (id != kHyperControlId || (code != kCommandReady && code != kOtherCommandReady)) return;
  char command[kHyperTextRoom] = {};
  SendMessage(GetChild(frame, kHyperControlId), kGetCommand, sizeof command, reinterpret_cast<MessageLong>(command));
  command[sizeof command - 1] = 0;
  if (CHyperWindow* window = WindowBehind(system, frame)) window->SetCmd(command);
}

MessageLong OnFrameMessage(WindowSystem& system, HWND self, unsigned message, MessageWord w, MessageLong l) {
  switch (message) {
    case kCreate: CreateControl(system, self); return 0;
    case kDestroy: Close(system, self); return 0;
    case kSize: FillWithControl(system, self); return 0;
    case kFocusGained: system.SetFocus(GetChild(self, kHyperControlId)); return 0;
    case kCommand: TakeCommand(system, self, w); return 0;
    case kParentNotify: return 0;
    case kSetHyperWindow: system.SetWindowPointer(self, reinterpret_cast<void*>(l)); return 1;
    default: return system.DefaultProcedure(self, message, w, l);
  }
}

}  // namespace

WindowClass FrameClass() { return {kFrameClassName, kFrameClassStyle, kClassExtra, kWindowExtra, OnFrameMessage}; }

HWND CreateFrame(WindowSystem& system) {
  return system.CreateWindow(
      {kFrameClassName, "HyperTextWindow", kDialogFrame, kCaptionMenuAndBorder, FirstPlace(system)});
}

int FrameWidth(WindowSystem& system, int32_t given) { return FrameExtent(given, BordersWidth(system)); }
int FrameHeight(WindowSystem& system, int32_t given) { return FrameExtent(given, BordersHeight(system)); }

}  // namespace karst

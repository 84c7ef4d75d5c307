// What a frame window and its hypertext control say to each other. All texts are NUL-terminated GBK.
#pragma once

#include <cstdint>

namespace karst {

// Sent to a hypertext control.
enum HyperControlMessage : unsigned {
  kGetCommand = 1029,   // wParam bytes of room at lParam get the text of the last command, cut to fit, with its NUL
  kShowFile = 1030,     // lParam: the file's name. The answer is the result of SetHyperFile: 0, or -1
  kSetMacro = 1031,     // lParam: a MacroSetting. The answer is the result of SetHyperMacro
  kPrint = 1032,        // lParam: the print flag. The answer is the result of PrintWindow
  kGetMacro = 1047,     // lParam: a MacroRequest. -1 if it cannot be served
  kUserCommand = 1100,  // lParam: a command, as if the user had given it: keeps the text, then notifies the parent
};

// Sent to a frame.
constexpr unsigned kSetHyperWindow = 2024;  // lParam: the window object behind the frame, or 0. The answer is 1

// The control's notification to its parent: WM_COMMAND with the id below and one of these codes. Both say that a
// command is ready.
constexpr int kHyperControlId = 100;
constexpr int kCommandReady = 1;
constexpr int kOtherCommandReady = 4;

constexpr char kHyperControlLibrary[] = "veldctl.dll";
constexpr char kHyperControlClass[] = "Ostrand VELDCTL";

// LIMIT: a command or a macro's value that a script reads ends here, its NUL included.
constexpr int kHyperTextRoom = 4096;

struct MacroSetting {
  const char* name;
  const char* value;
};

struct MacroRequest {
  const char* name;
  char* buffer;
  int32_t room;  // bytes at buffer
};

}  // namespace karst

// Windows, as far as the system needs them: a handle, a message, an answer. A host makes its output control here; the
// windows of scripts stand on the same layer.
//
// Handles are never used twice in a process, so a handle whose window is gone is simply no window. The table of
// handles may be used from any thread; a window's messages are handled on the thread that sends them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "export.h"
#include "text/bytestring.h"

// A window handle; null is none.
using HWND = struct WindowHandle*;

namespace karst {

using MessageWord = uintptr_t;
using MessageLong = intptr_t;

// Messages of a multi-line text control.
enum TextControlMessage : unsigned {
  kGetLineCount = 0xBA,      // EM_GETLINECOUNT: the number of lines, at least 1
  kLineIndex = 0xBB,         // EM_LINEINDEX: offset of the first byte of line wParam
  kLineLength = 0xC1,        // EM_LINELENGTH: length of the line that holds the offset wParam
  kSetSelection = 0xB1,      // EM_SETSEL: wParam and lParam are the bounds
  kReplaceSelection = 0xC2,  // EM_REPLACESEL: lParam points to the NUL-terminated text
  kGetText = 0x0D,           // WM_GETTEXT: lParam points to wParam bytes of room; the bytes copied without the NUL
  kGetTextLength = 0x0E,     // WM_GETTEXTLENGTH
};

class KARST_API Window {
 public:
  virtual ~Window() = default;
  // Handles one message and gives its answer; 0 for a message that the window does not know.
  virtual MessageLong OnMessage(unsigned message, MessageWord w, MessageLong l) = 0;
  // Called once by DestroyWindow, while the handle is still good and the children are alive.
  virtual void OnDestroy() {}
};

// Enters a window into the table, which owns it from here on. A child has a parent and an id of its own there.
KARST_API HWND AddWindow(std::unique_ptr<Window> window, HWND parent = nullptr, int id = 0);
KARST_API bool IsWindow(HWND handle);
// Destroys the window: tells it (OnDestroy), destroys its children, removes it. False if the handle names none, or
// one that is being destroyed already.
KARST_API bool DestroyWindow(HWND handle);
// The parent that a window was added with; null for a window without one, and for no window.
KARST_API HWND GetParent(HWND handle);
// The first child with that id, or null.
KARST_API HWND GetChild(HWND parent, int id);
// Sends one message and waits for the answer; 0 if the handle names no window.
KARST_API MessageLong SendMessage(HWND handle, unsigned message, MessageWord w, MessageLong l);

// Puts a text (null: the empty one) at the end of a text control, by five messages: kGetLineCount, kLineIndex of the
// last line, kLineLength there, kSetSelection to the end, kReplaceSelection. A dead handle takes nothing.
KARST_API void AppendToTextControl(HWND handle, const char* text);

// A text control that keeps its text in memory: what a test or a host without a display uses. A line ends behind its
// LF; a CR before that LF does not count to the line's length. An append at the end costs the appended text's length.
class KARST_API MemoryTextControl : public Window {
 public:
  MessageLong OnMessage(unsigned message, MessageWord w, MessageLong l) override;
  const CString& Text() const { return text_; }

 private:
  MessageLong LineIndex(size_t line) const;
  MessageLong LineLength(size_t offset) const;
  void SetSelection(MessageWord begin, MessageLong end);
  void ReplaceSelection(std::string_view piece);
  // Takes the line ends from offset `from` on into line_count_ and last_line_start_.
  void CountLines(size_t from);
  MessageLong CopyText(char* target, size_t room) const;

  CString text_;
  size_t line_count_ = 1;
  size_t last_line_start_ = 0;
  size_t selection_begin_ = 0;
  size_t selection_end_ = 0;
};

// A text control that keeps nothing: each text that is put in goes to `sink`. It always has one empty line.
class KARST_API ForwardingTextControl : public Window {
 public:
  explicit ForwardingTextControl(std::function<void(std::string_view)> sink) : sink_(std::move(sink)) {}
  MessageLong OnMessage(unsigned message, MessageWord w, MessageLong l) override;

 private:
  std::function<void(std::string_view)> sink_;
};

// A modal message box. Without a host's own answer it is written to standard error and answered with OK (1).
KARST_API int ShowMessageBox(HWND owner, const char* text, const char* title, unsigned style);
// Puts a host's own message box in that place; an empty function takes it away again.
KARST_API void SetMessageBoxHandler(
    std::function<int(HWND, const char* text, const char* title, unsigned style)> handler);

// The handler of the calling thread, ahead of the other one, as long as the object lives. Objects of one thread end in
// the reverse order of their beginning.
class KARST_API MessageBoxesOfThread {
 public:
  using Handler = std::function<int(std::string_view text)>;
  explicit MessageBoxesOfThread(Handler handler);
  MessageBoxesOfThread(const MessageBoxesOfThread&) = delete;
  MessageBoxesOfThread& operator=(const MessageBoxesOfThread&) = delete;
  ~MessageBoxesOfThread();

 private:
  Handler handler_;
  const Handler* outer_;
};

}  // namespace karst

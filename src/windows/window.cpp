// The table of windows, the two text controls, and the message box.
#include "windows/window.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "text/charset.h"

namespace karst {

namespace {

// Windows are shared with the calls that run in them, so that a window may be destroyed from inside its own message.
class WindowTable {
 public:
  HWND Add(std::unique_ptr<Window> window, HWND parent, int id) {
    std::lock_guard lock(mutex_);
    const HWND handle = reinterpret_cast<HWND>(++last_handle_);
    windows_.try_emplace(handle, Entry{std::move(window), parent, id, {}, false});
    try {
      if (Entry* above = Get(parent)) above->children.push_back(handle);
    } catch (...) {
      windows_.erase(handle);  // no window that its parent does not know
      throw;
    }
    return handle;
  }
  std::shared_ptr<Window> Find(HWND handle) {
    std::lock_guard lock(mutex_);
    const Entry* entry = Get(handle);
    return entry ? entry->window : nullptr;
  }
  HWND ParentOf(HWND handle) {
    std::lock_guard lock(mutex_);
    const Entry* entry = Get(handle);
    return entry ? entry->parent : nullptr;
  }
  HWND FindChild(HWND parent, int id) {
    std::lock_guard lock(mutex_);
    const Entry* above = Get(parent);
    if (!above) return nullptr;
    const auto has_id = [&](HWND child) { return windows_[child].id == id; };
    const auto found = std::find_if(above->children.begin(), above->children.end(), has_id);
    return found == above->children.end() ? nullptr : *found;
  }
  bool Destroy(HWND handle) {
    const std::shared_ptr<Window> window = BeginDestroying(handle);
    if (!window) return false;
    window->OnDestroy();
    while (const HWND child = FirstChild(handle)) {
      if (!Destroy(child)) Detach(child);
    }
    Remove(handle);
    return true;
  }

 private:
  struct Entry {
    std::shared_ptr<Window> window;
    HWND parent = nullptr;
    int id = 0;
    std::vector<HWND> children;
    bool falls = false;  // is being destroyed
  };

  // To be called under the lock.
  Entry* Get(HWND handle) {
    const auto found = windows_.find(handle);
    return found == windows_.end() ? nullptr : &found->second;
  }
  void LeaveParent(HWND handle) {
    const Entry* entry = Get(handle);
    Entry* above = entry ? Get(entry->parent) : nullptr;
    if (above) std::erase(above->children, handle);
  }

  std::shared_ptr<Window> BeginDestroying(HWND handle) {
    std::lock_guard lock(mutex_);
    Entry* entry = Get(handle);
    if (!entry || entry->falls) return nullptr;
    entry->falls = true;
    return entry->window;
  }
  HWND FirstChild(HWND handle) {
    std::lock_guard lock(mutex_);
    const Entry* entry = Get(handle);
    return entry && !entry->children.empty() ? entry->children.front() : nullptr;
  }
  // A child whose own destruction is under way, further up in the calls, is left to that.
  void Detach(HWND handle) {
    std::lock_guard lock(mutex_);
    LeaveParent(handle);
  }
  // The caller holds the window: it falls outside the lock, since its destructor may use the table.
  void Remove(HWND handle) {
    std::lock_guard lock(mutex_);
    LeaveParent(handle);
    windows_.erase(handle);
  }

  std::mutex mutex_;
  std::unordered_map<HWND, Entry> windows_;
  uintptr_t last_handle_ = 0;
};

// Never destroyed: an interpreter object in a host's static storage may outlive every static of this library.
WindowTable& Table() {
  static WindowTable& table = *new WindowTable;
  return table;
}

struct MessageBoxSlot {
  std::mutex mutex;
  std::function<int(HWND, const char*, const char*, unsigned)> handler;
};

MessageBoxSlot& BoxSlot() {
  static MessageBoxSlot& slot = *new MessageBoxSlot;
  return slot;
}

thread_local const MessageBoxesOfThread::Handler* handler_of_thread = nullptr;

constexpr int kAnswerOk = 1;

int WriteBoxToStandardError(const char* text, const char* title) {
  const std::string line = GbkToUtf8(title) + ": " + GbkToUtf8(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
  return kAnswerOk;
}

const char* TextOf(MessageLong l) {
  const char* text = reinterpret_cast<const char*>(l);
  return text ? text : "";
}

}  // namespace

HWND AddWindow(std::unique_ptr<Window> window, HWND parent, int id) {
  return window ? Table().Add(std::move(window), parent, id) : nullptr;
}

bool IsWindow(HWND handle) { return Table().Find(handle) != nullptr; }

bool DestroyWindow(HWND handle) { return Table().Destroy(handle); }

HWND GetParent(HWND handle) { return Table().ParentOf(handle); }

HWND GetChild(HWND parent, int id) { return Table().FindChild(parent, id); }

MessageLong SendMessage(HWND handle, unsigned message, MessageWord w, MessageLong l) {
  const std::shared_ptr<Window> window = Table().Find(handle);
  return window ? window->OnMessage(message, w, l) : 0;
}

void AppendToTextControl(HWND handle, const char* text) {
  // SPEED: the handle is looked up once for the five messages; the control cannot tell.
  const std::shared_ptr<Window> control = Table().Find(handle);
  if (!control) return;
  const MessageLong lines = control->OnMessage(kGetLineCount, 0, 0);
  const MessageLong last_line = control->OnMessage(kLineIndex, static_cast<MessageWord>(lines - 1), 0);
  const MessageLong length = control->OnMessage(kLineLength, static_cast<MessageWord>(last_line), 0);
  const MessageLong end = last_line + length;
  control->OnMessage(kSetSelection, static_cast<MessageWord>(end), end);
  control->OnMessage(kReplaceSelection, 0, reinterpret_cast<MessageLong>(text ? text : ""));
}

MessageLong MemoryTextControl::OnMessage(unsigned message, MessageWord w, MessageLong l) {
  switch (message) {
    case kGetLineCount: return static_cast<MessageLong>(line_count_);
    case kLineIndex: return LineIndex(w);
    case kLineLength: return LineLength(w);
    case kSetSelection: SetSelection(w, l); return 0;
    case kReplaceSelection: ReplaceSelection(TextOf(l)); return 0;
    case kGetTextLength: return static_cast<MessageLong>(text_.size());
    case kGetText: return CopyText(reinterpret_cast<char*>(l), w);
    default: return 0;
  }
}

MessageLong MemoryTextControl::LineIndex(size_t line) const {
  if (line >= line_count_) return -1;
  if (line + 1 == line_count_) return static_cast<MessageLong>(last_line_start_);
  size_t start = 0;
  for (; line > 0; --line) start = text_.view().find('\n', start) + 1;
  return static_cast<MessageLong>(start);
}

MessageLong MemoryTextControl::LineLength(size_t offset) const {
  const std::string_view text = text_.view();
  if (offset > text.size()) return 0;
  if (offset >= last_line_start_) return static_cast<MessageLong>(text.size() - last_line_start_);
  const size_t before = offset == 0 ? text.npos : text.rfind('\n', offset - 1);
  const size_t start = before == text.npos ? 0 : before + 1;
  const size_t end = text.find('\n', offset);
  return static_cast<MessageLong>(end - start - (end > start && text[end - 1] == '\r'));
}

void MemoryTextControl::SetSelection(MessageWord begin, MessageLong end) {
  const size_t size = text_.size();
  const size_t first = std::min<size_t>(begin, size);
  const size_t second = end < 0 ? size : std::min<size_t>(static_cast<size_t>(end), size);
  selection_begin_ = std::min(first, second);
  selection_end_ = std::max(first, second);
}

void MemoryTextControl::ReplaceSelection(std::string_view piece) {
  if (selection_begin_ == text_.size()) {
    text_.Append(piece);
    CountLines(selection_begin_);
  } else {
    const std::string_view old = text_.view();
    CString replaced(old.substr(0, selection_begin_));
    replaced.Append(piece);
    replaced.Append(old.substr(selection_end_));
    text_ = std::move(replaced);
    line_count_ = 1;
    last_line_start_ = 0;
    CountLines(0);
  }
  selection_begin_ = selection_end_ = selection_begin_ + piece.size();
}

void MemoryTextControl::CountLines(size_t from) {
  const std::string_view text = text_.view();
  for (size_t at = text.find('\n', from); at != text.npos; at = text.find('\n', at + 1)) {
    ++line_count_;
    last_line_start_ = at + 1;
  }
}

MessageLong MemoryTextControl::CopyText(char* target, size_t room) const {
  if (target == nullptr || room == 0) return 0;
  const size_t count = std::min(room - 1, text_.size());
  std::memcpy(target, text_.data(), count);
  target[count] = 0;
  return static_cast<MessageLong>(count);
}

MessageLong ForwardingTextControl::OnMessage(unsigned message, MessageWord, MessageLong l) {
  if (message == kGetLineCount) return 1;
  if (message == kReplaceSelection && sink_) sink_(TextOf(l));
  return 0;
}

int ShowMessageBox(HWND owner, const char* text, const char* title, unsigned style) {
  if (handler_of_thread) return (*handler_of_thread)(text ? text : "");
  std::function<int(HWND, const char*, const char*, unsigned)> handler;
  {
    std::lock_guard lock(BoxSlot().mutex);
    handler = BoxSlot().handler;
  }
  if (handler) return handler(owner, text ? text : "", title ? title : "", style);
  return WriteBoxToStandardError(text ? text : "", title ? title : "");
}

MessageBoxesOfThread::MessageBoxesOfThread(Handler handler) : handler_(std::move(handler)), outer_(handler_of_thread) {
  if (handler_) handler_of_thread = &handler_;
}

MessageBoxesOfThread::~MessageBoxesOfThread() { handler_of_thread = outer_; }

void SetMessageBoxHandler(std::function<int(HWND, const char* text, const char* title, unsigned style)> handler) {
  std::lock_guard lock(BoxSlot().mutex);
  BoxSlot().handler = std::move(handler);
}

}  // namespace karst

// Windows in memory: their states, what they are told, and the queue that other threads post into.
#include "windows/queuedwindows.h"

#include <algorithm>
#include <utility>

#include "windows/hypermessages.h"

namespace karst {

namespace {

constexpr int kBorder = 1;
constexpr int kCaption = 19;
constexpr unsigned kBaseUnits = 8 | 16u << 16;

// A wait looks up this often, so that a stop that was asked for meanwhile is seen soon.
constexpr int kLongestSleep = 100;  // milliseconds

MessageLong Pair(int low, int high) {
  return static_cast<MessageLong>((static_cast<unsigned>(low) & 0xFFFF) | (static_cast<unsigned>(high) & 0xFFFF) << 16);
}

}  // namespace

// A window of the table: a class's procedure, or the control's own object.
class QueuedWindows::HostedWindow : public Window {
 public:
  HostedWindow(QueuedWindows& home, WindowProcedure procedure) : home_(home), procedure_(procedure) {}
  HostedWindow(QueuedWindows& home, std::unique_ptr<Window> control) : home_(home), control_(std::move(control)) {}

  MessageLong OnMessage(unsigned message, MessageWord w, MessageLong l) override {
    home_.OnDelivery(self_, message, w, l);
    return control_ ? control_->OnMessage(message, w, l) : procedure_(home_, self_, message, w, l);
  }
  void OnDestroy() override {
    OnMessage(kDestroy, 0, 0);
    if (control_) control_->OnDestroy();
    home_.Forget(self_);
  }
  void SetHandle(HWND self) { self_ = self; }

 private:
  QueuedWindows& home_;
  WindowProcedure procedure_ = nullptr;
  std::unique_ptr<Window> control_;
  HWND self_ = nullptr;
};

QueuedWindows::QueuedWindows(HyperControlMaker make_control) : make_control_(std::move(make_control)) {}

QueuedWindows::~QueuedWindows() {
  while (!windows_.empty()) DestroyWindow(windows_.begin()->first);
}

bool QueuedWindows::LoadControlLibrary(const char*) { return library_loaded_ = make_control_ != nullptr; }

bool QueuedWindows::RegisterClass(const WindowClass& window_class) {
  return classes_.emplace(window_class.name, window_class).second;
}

void QueuedWindows::UnregisterClass(const char* name) {
  const auto found = classes_.find(std::string_view(name));
  if (found != classes_.end()) classes_.erase(found);
}

std::unique_ptr<QueuedWindows::HostedWindow> QueuedWindows::MakeWindow(const WindowPlan& plan) {
  if (library_loaded_ && plan.class_name == std::string_view(kHyperControlClass)) {
    return std::make_unique<HostedWindow>(*this, make_control_());
  }
  const auto found = classes_.find(std::string_view(plan.class_name));
  return found == classes_.end() ? nullptr : std::make_unique<HostedWindow>(*this, found->second.procedure);
}

HWND QueuedWindows::CreateWindow(const WindowPlan& plan) {
  std::unique_ptr<HostedWindow> made = MakeWindow(plan);
  if (!made) return nullptr;
  HostedWindow* window = made.get();
  const HWND self = AddWindow(std::move(made), plan.parent, plan.id);
  window->SetHandle(self);
  try {
    windows_[self] = {self,       plan.class_name, plan.title,  plan.extended_style,
                      plan.style, plan.place,      plan.parent, plan.id};
  } catch (...) {
    DestroyWindow(self);  // nobody else could: its handle is known here only
    throw;
  }
  Creation creation{this, self, &plan};
  if (SendMessage(self, kCreate, 0, reinterpret_cast<MessageLong>(&creation)) == -1) DestroyWindow(self);
  if (!IsWindow(self)) return nullptr;
  TellParent(self, kCreate);
  if (const WindowState* state = StateOf(self)) Tell(*state);
  return self;
}

void QueuedWindows::ShowWindow(HWND window, int how) {
  WindowState* state = Find(window);
  if (!state) return;
  const bool was_visible = std::exchange(state->visible, how != 0);
  // A frame that appears is told its size and becomes the active one.
  const bool appears = state->visible && !was_visible && !state->parent;
  Tell(*state);
  if (!appears) return;
  SendSize(window);
  SetFocus(window);
}

void QueuedWindows::SetFocus(HWND window) {
  if (!Find(window)) return;
  const HWND before = std::exchange(focus_, window);
  if (before == window) return;
  SendMessage(before, kFocusLost, reinterpret_cast<MessageWord>(window), 0);
  SendMessage(window, kFocusGained, reinterpret_cast<MessageWord>(before), 0);
}

Place QueuedWindows::ClientPlace(HWND window) {
  const WindowState* state = StateOf(window);
  if (!state) return {};
  if (state->parent) return {0, 0, state->place.width, state->place.height};
  return {0, 0, std::max(state->place.width - 2 * kBorder, 0),
          std::max(state->place.height - kCaption - 2 * kBorder, 0)};
}

int QueuedWindows::MoveWindow(HWND window, const Place& place, bool) {
  WindowState* state = Find(window);
  if (!state) return 0;
  const Place before = std::exchange(state->place, place);
  Tell(*state);
  if (before.width != place.width || before.height != place.height) SendSize(window);
  return 1;
}

void QueuedWindows::SetWindowTitle(HWND window, const char* title) {
  WindowState* state = Find(window);
  if (!state) return;
  state->title = title;
  Tell(*state);
}

void QueuedWindows::SetWindowPointer(HWND window, void* pointer) {
  if (WindowState* state = Find(window)) state->pointer = pointer;
}

void* QueuedWindows::WindowPointer(HWND window) {
  const WindowState* state = StateOf(window);
  return state ? state->pointer : nullptr;
}

MessageLong QueuedWindows::DefaultProcedure(HWND window, unsigned message, MessageWord, MessageLong) {
  if (message == kClose) DestroyWindow(window);
  return 0;
}

unsigned QueuedWindows::DialogBaseUnits() { return kBaseUnits; }

int QueuedWindows::SystemMetric(Metric metric) { return metric == Metric::kCaptionHeight ? kCaption : kBorder; }

bool QueuedWindows::Wait(AutoResetEvent& event, HWND awaited, int milliseconds) {
  if (event.Take()) return true;
  std::unique_lock lock(mutex_);
  if (!posted_.empty()) return false;
  lock.unlock();
  if (OnIdle(awaited)) return false;
  lock.lock();
  something_posted_.wait_for(lock, std::chrono::milliseconds(std::min(milliseconds, kLongestSleep)),
                             [this] { return !posted_.empty(); });
  return event.Take();
}

bool QueuedWindows::DispatchNext() {
  std::unique_lock lock(mutex_);
  if (posted_.empty()) return false;
  const std::function<void()> action = std::move(posted_.front());
  posted_.pop_front();
  lock.unlock();
  action();
  return true;
}

void QueuedWindows::Post(std::function<void()> action) {
  {
    std::lock_guard lock(mutex_);
    posted_.push_back(std::move(action));
  }
  something_posted_.notify_one();
}

const WindowState* QueuedWindows::StateOf(HWND window) const {
  const auto found = windows_.find(window);
  return found == windows_.end() ? nullptr : &found->second;
}

WindowState* QueuedWindows::Find(HWND window) { return const_cast<WindowState*>(StateOf(window)); }

void QueuedWindows::Tell(const WindowState& state) {
  if (!state.parent) FrameChanged(state);
}

void QueuedWindows::TellParent(HWND child, unsigned what) {
  const WindowState* state = StateOf(child);
  if (!state || !state->parent) return;
  SendMessage(state->parent, kParentNotify, what | static_cast<MessageWord>(state->id) << 16,
              reinterpret_cast<MessageLong>(child));
}

void QueuedWindows::SendSize(HWND window) {
  const Place inside = ClientPlace(window);
  SendMessage(window, kSize, 0, Pair(inside.width, inside.height));
}

void QueuedWindows::Forget(HWND window) {
  TellParent(window, kDestroy);
  const auto found = windows_.find(window);
  if (found == windows_.end()) return;
  const bool was_frame = !found->second.parent;
  windows_.erase(found);
  if (focus_ == window) focus_ = nullptr;
  if (was_frame) FrameGone(window);
}

}  // namespace karst

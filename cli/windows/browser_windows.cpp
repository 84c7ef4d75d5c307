// Browser windows: from the window system's hooks to the board, from the server's reports to the controls.
#include "cli/windows/browser_windows.h"

#include <climits>
#include <cstdlib>
#include <vector>

#include "cli/base/encoding.h"
#include "cli/windows/page_module.h"

namespace karst::cli {
namespace {

constexpr int kMostUntaken = 1000;  // LIMIT: reports that wait for the script; the server refuses further ones
constexpr std::chrono::milliseconds kLook{100};

std::string RealPath(const std::string& folder) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(folder.c_str(), nullptr), &std::free);
  return real ? real.get() : "";
}

std::map<std::string, PageMacro> PageMacros(const VeldMacros& macros) {
  std::map<std::string, PageMacro> shown;
  for (const auto& [name, macro] : macros) shown[ToUtf8(name)] = {ToUtf8(macro.value), macro.setting};
  return shown;
}

std::vector<VeldField> GbkFields(const PageReport::Fields& fields) {
  std::vector<VeldField> converted;
  for (const auto& [name, value] : fields) converted.push_back({GbkWithReferences(name), GbkWithReferences(value)});
  return converted;
}

}  // namespace

BrowserWindows::BrowserWindows(Opener opener)
    : QueuedWindows([this] { return std::make_unique<VeldControl>(static_cast<VeldView*>(this)); }),
      opener_(std::move(opener)) {}

// The frames go while the board that they report to is still there.
BrowserWindows::~BrowserWindows() {
  while (!controls_.empty()) {
    const HWND frame = controls_.begin()->first;
    if (!DestroyWindow(frame)) controls_.erase(frame);
  }
}

bool BrowserWindows::LoadControlLibrary(const char* name) {
  return LoadPageModule() && QueuedWindows::LoadControlLibrary(name);
}

int BrowserWindows::MoveWindow(HWND window, const Place& place, bool repaint) {
  const auto moved = moved_.find(window);
  if (moved != moved_.end()) moved->second = true;
  return QueuedWindows::MoveWindow(window, place, repaint);
}

void BrowserWindows::FrameChanged(const WindowState& state) {
  if (state.visible && !moved_.contains(state.self)) OpenPage(state.self);
  board_.Show(state.self, [&](PageState& page) {
    page.title = ToUtf8(state.title);
    page.place = state.place;
    page.placed = moved_[state.self];
  });
}

void BrowserWindows::OpenPage(HWND frame) {
  if (!server_) {
    server_ = MakePageServer(board_,
                             [this](HWND target, PageReport report) { return TakeReport(target, std::move(report)); });
  }
  moved_[frame] = false;
  const std::string secret = board_.Open(frame);
  opener_(server_->AddressOf(secret), server_->TicketFor(secret));
}

void BrowserWindows::FrameGone(HWND frame) {
  controls_.erase(frame);
  moved_.erase(frame);
  board_.Close(frame);
}

// A wait is the time to see who has gone away.
bool BrowserWindows::OnIdle(HWND) {
  const std::vector<HWND> deserted = board_.TakeDeserted();
  for (const HWND frame : deserted) PostMessage(frame, kClose);
  return !deserted.empty();
}

void BrowserWindows::OnCreated(VeldControl& control) { controls_[control.Frame()] = &control; }

void BrowserWindows::OnPage(const VeldControl& control) {
  auto document = std::make_shared<const std::string>(ToUtf8(control.Page()));
  const std::string folder = control.Folder().empty() ? "" : RealPath(control.Folder());
  board_.Show(control.Frame(), [&](PageState& state) {
    if (state.page != control.PageNumber() || *state.document != *document) ++state.revision;
    state.page = control.PageNumber();
    state.document = std::move(document);
    state.folder = folder;
    state.macros = PageMacros(control.Macros());
  });
}

void BrowserWindows::OnPrint(const VeldControl& control) {
  board_.Show(control.Frame(), [](PageState& state) { state.print = true; });
}

bool BrowserWindows::TakeReport(HWND frame, PageReport report) {
  if (untaken_.load() >= kMostUntaken) return false;
  ++untaken_;
  Post([this, frame, taken = std::move(report)] {
    --untaken_;
    CarryOut(frame, taken);
  });
  return true;
}

// What was done on a page that is no longer shown is not meant for the one that is.
void BrowserWindows::CarryOut(HWND frame, const PageReport& report) {
  const auto found = controls_.find(frame);
  if (found == controls_.end() || found->second->PageNumber() != report.page) return;
  VeldControl& control = *found->second;
  for (const auto& [name, value] : GbkFields(report.entered)) control.EnterField(name, value);
  const std::string target = GbkWithReferences(report.target);
  if (report.kind == PageReport::Kind::kLink) control.FollowLink(target);
  if (report.kind == PageReport::Kind::kForm) control.SendForm(target, GbkFields(report.query));
}

bool BrowserWindows::AskUser(std::string_view gbk_text, const std::function<bool()>& is_stopped) {
  const uint64_t message = board_.ShowMessage(ToUtf8(gbk_text));
  if (message == 0) return false;
  while (!is_stopped() && !board_.WaitForAnswer(message, kLook)) continue;
  board_.TakeMessageAway();
  return is_stopped() || board_.IsAnswered(message);
}

}  // namespace karst::cli

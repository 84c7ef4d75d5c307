// The board: what pages show and who looks at them, under one lock.
#include "cli/windows/page_board.h"

#include <algorithm>

#include "cli/windows/secret.h"

namespace karst::cli {

std::string PageBoard::Open(HWND frame) {
  std::string secret = NewSecret();
  const std::lock_guard lock(mutex_);
  run_over_ = false;
  std::erase_if(pages_, [](const auto& page) { return !IsOpen(page.second) && !IsConnected(page.second); });
  pages_[frame].secret = secret;
  return secret;
}

void PageBoard::Close(HWND frame) {
  Show(frame, [this](PageState& state) {
    if (state.end == PageState::End::kOpen) {
      state.end = run_over_ ? PageState::End::kRunOver : PageState::End::kClosed;
    }
    state.document = std::make_shared<std::string>();
    state.folder.clear();
    state.macros.clear();
  });
}

void PageBoard::RunIsOver() {
  const std::lock_guard lock(mutex_);
  run_over_ = true;
}

HWND PageBoard::FrameOf(std::string_view secret) const {
  const std::lock_guard lock(mutex_);
  HWND found = nullptr;
  for (const auto& [frame, page] : pages_) {
    if (IsSameSecret(page.secret, secret)) found = frame;
  }
  return found;
}

std::optional<PageState> PageBoard::StateOf(HWND frame) const {
  const std::lock_guard lock(mutex_);
  const auto page = pages_.find(frame);
  return page == pages_.end() ? std::nullopt : std::optional(page->second.state);
}

std::optional<PageState> PageBoard::WaitForChange(HWND frame, const std::string& viewer, uint64_t known,
                                                  std::chrono::milliseconds most) {
  std::unique_lock lock(mutex_);
  const Viewer* waiting = FindViewer(frame, viewer);
  if (waiting == nullptr) return std::nullopt;
  const PageState& state = pages_[frame].state;
  changed_.wait_for(lock, most, [&] { return state.version != known || all_sent_away_ || IsLeaving(*waiting); });
  return state.version == known ? std::nullopt : std::optional(state);
}

PageBoard::Viewer* PageBoard::FindViewer(HWND frame, const std::string& viewer) {
  const auto page = pages_.find(frame);
  if (page == pages_.end()) return nullptr;
  const auto found = page->second.viewers.find(viewer);
  return found == page->second.viewers.end() ? nullptr : &found->second;
}

void PageBoard::Expect(HWND frame) {
  const std::lock_guard lock(mutex_);
  const auto page = pages_.find(frame);
  if (page != pages_.end()) page->second.expected_until = Clock::now() + kReconnectTime;
}

bool PageBoard::Arrive(HWND frame, const std::string& viewer) {
  const std::lock_guard lock(mutex_);
  const auto page = pages_.find(frame);
  if (page == pages_.end()) return false;
  auto& viewers = page->second.viewers;
  IsDeserted(page->second, Clock::now());  // forgets those that are gone for good
  if (!viewers.contains(viewer) && viewers.size() >= kMostViewers) return false;
  Viewer& arrived = viewers[viewer];
  ++arrived.connections;
  arrived.gone_at = {};
  page->second.expected_until = {};
  page->second.was_seen = true;
  return true;
}

void PageBoard::Lose(HWND frame, const std::string& viewer) {
  {
    const std::lock_guard lock(mutex_);
    Viewer* lost = FindViewer(frame, viewer);
    if (lost == nullptr || lost->connections == 0) return;
    // One that has said that it leaves is given up at the time set then.
    if (--lost->connections == 0 && !IsLeaving(*lost)) lost->gone_at = Clock::now() + kReconnectTime;
  }
  changed_.notify_all();
}

void PageBoard::Leave(HWND frame, const std::string& viewer) {
  {
    const std::lock_guard lock(mutex_);
    if (Viewer* leaving = FindViewer(frame, viewer)) leaving->gone_at = Clock::now() + kReloadTime;
  }
  changed_.notify_all();
}

bool PageBoard::HasLeft(HWND frame, const std::string& viewer) {
  const std::lock_guard lock(mutex_);
  const Viewer* known = FindViewer(frame, viewer);
  return all_sent_away_ || known == nullptr || IsLeaving(*known);
}

void PageBoard::SendAllAway() {
  {
    const std::lock_guard lock(mutex_);
    all_sent_away_ = true;
  }
  changed_.notify_all();
}

bool PageBoard::IsConnected(const BoardPage& page) {
  return std::any_of(page.viewers.begin(), page.viewers.end(),
                     [](const auto& viewer) { return viewer.second.connections > 0; });
}

bool PageBoard::IsDeserted(BoardPage& page, Clock::time_point now) {
  std::erase_if(page.viewers,
                [&](const auto& entry) { return entry.second.connections == 0 && entry.second.gone_at <= now; });
  return page.was_seen && page.viewers.empty() && page.expected_until <= now;
}

std::vector<HWND> PageBoard::TakeDeserted() {
  const std::lock_guard lock(mutex_);
  std::vector<HWND> deserted;
  for (auto& [frame, page] : pages_) {
    if (!IsOpen(page) || page.was_reported || !IsDeserted(page, Clock::now())) continue;
    page.was_reported = true;
    deserted.push_back(frame);
  }
  return deserted;
}

bool PageBoard::WaitForNobody(std::chrono::milliseconds most) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, most, [this] {
    return std::none_of(pages_.begin(), pages_.end(), [](const auto& page) { return IsConnected(page.second); });
  });
}

// A page whose browser is still starting counts as one that can.
bool PageBoard::CanAnswer() {
  return std::any_of(pages_.begin(), pages_.end(),
                     [](auto& page) { return IsOpen(page.second) && !IsDeserted(page.second, Clock::now()); });
}

uint64_t PageBoard::ShowMessage(const std::string& text) {
  const std::lock_guard lock(mutex_);
  if (!CanAnswer()) return 0;
  ++last_message_;
  for (auto& [frame, page] : pages_) {
    page.state.message = last_message_;
    page.state.message_text = text;
    ++page.state.version;
  }
  changed_.notify_all();
  return last_message_;
}

bool PageBoard::WaitForAnswer(uint64_t message, std::chrono::milliseconds most) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, most, [&] { return answered_ == message || !CanAnswer(); });
}

void PageBoard::Answer(uint64_t message) {
  {
    const std::lock_guard lock(mutex_);
    if (message != last_message_) return;
    answered_ = message;
  }
  changed_.notify_all();
}

bool PageBoard::IsAnswered(uint64_t message) const {
  const std::lock_guard lock(mutex_);
  return answered_ == message;
}

void PageBoard::TakeMessageAway() {
  {
    const std::lock_guard lock(mutex_);
    for (auto& [frame, page] : pages_) {
      page.state.message = 0;
      page.state.message_text.clear();
      ++page.state.version;
    }
  }
  changed_.notify_all();
}

}  // namespace karst::cli

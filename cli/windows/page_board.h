// The board between the script's thread, which says what each page shows, and the threads of the server, which bring
// it to the browser and say who looks at it. Every operation may be called from any thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "windows/windowsystem.h"

namespace karst::cli {

using Clock = std::chrono::steady_clock;

// A macro as a page gets it: its value, and the setting by the script that the value goes back to.
struct PageMacro {
  std::string value;
  uint64_t setting = 0;
};

// What a page shows. Texts are UTF-8.
struct PageState {
  enum class End { kOpen, kClosed, kRunOver };

  uint64_t version = 0;  // goes up with every change
  std::string title;
  Place place;
  bool placed = false;    // false: the page takes all the room it has
  uint32_t page = 0;      // counts the files shown; 0: none so far
  uint64_t revision = 0;  // counts the documents, also those of one file with other values
  std::shared_ptr<const std::string> document = std::make_shared<std::string>();
  std::string folder;  // whose files the document may use; empty: none
  std::map<std::string, PageMacro> macros;
  bool print = false;    // to be printed, until some page says that it does
  uint64_t message = 0;  // the message box on show, 0 for none
  std::string message_text;
  End end = End::kOpen;
};

class PageBoard {
 public:
  // A page for a frame; gives the secret of its address.
  std::string Open(HWND frame);
  // Changes what the frame's page shows, if there is one.
  template <class Change>
  void Show(HWND frame, const Change& change) {
    {
      const std::lock_guard lock(mutex_);
      const auto page = pages_.find(frame);
      if (page == pages_.end()) return;
      change(page->second.state);
      ++page->second.state.version;
    }
    changed_.notify_all();
  }
  // The page learns that its window is closed. It is kept for those who look at it.
  void Close(HWND frame);
  // From here on, a window that closes does so because the run is over; until the next one opens.
  void RunIsOver();

  // The frame whose page has this secret, null for none.
  HWND FrameOf(std::string_view secret) const;
  std::optional<PageState> StateOf(HWND frame) const;
  // Waits until the page has another version than `known`. Nothing if it has none in that time, or the viewer leaves.
  std::optional<PageState> WaitForChange(HWND frame, const std::string& viewer, uint64_t known,
                                         std::chrono::milliseconds most);

  // A browser has asked for the page, and is about to arrive: slow as it may be, it was never away.
  void Expect(HWND frame);
  // Somebody looks at the page: a browser's page under the name that it gave itself. False if there are too many.
  // A name may come again, before or after it went.
  bool Arrive(HWND frame, const std::string& viewer);
  // The connection to it is gone; it may come back.
  void Lose(HWND frame, const std::string& viewer);
  // It says that it is leaving: closed, or loaded afresh.
  void Leave(HWND frame, const std::string& viewer);
  bool HasLeft(HWND frame, const std::string& viewer);
  // From here on every viewer counts as one that leaves.
  void SendAllAway();
  // The open windows at which nobody looks any more, though somebody did; each is given once. A viewer that comes back
  // soon enough was never away.
  std::vector<HWND> TakeDeserted();
  // Waits until nobody is connected.
  bool WaitForNobody(std::chrono::milliseconds most);

  // Puts a message box on all open pages. 0 if there is no page that could show it.
  uint64_t ShowMessage(const std::string& text);
  // Waits for the answer. True when it has come, or when the last page that could give it is gone.
  bool WaitForAnswer(uint64_t message, std::chrono::milliseconds most);
  void Answer(uint64_t message);
  // False if a wait for it ended without an answer.
  bool IsAnswered(uint64_t message) const;
  void TakeMessageAway();

  static constexpr size_t kMostViewers = 8;  // LIMIT: of one page at a time
  static constexpr std::chrono::milliseconds kReloadTime{2000};
  static constexpr std::chrono::milliseconds kReconnectTime{8000};

 private:
  struct Viewer {
    int connections = 0;
    Clock::time_point gone_at{};  // when it is given up, while it has no connection
  };
  struct BoardPage {
    std::string secret;
    PageState state;
    std::map<std::string, Viewer> viewers;
    Clock::time_point expected_until{};
    bool was_seen = false;
    bool was_reported = false;
  };

  static bool IsLeaving(const Viewer& viewer) { return viewer.gone_at != Clock::time_point(); }
  static bool IsOpen(const BoardPage& page) { return page.state.end == PageState::End::kOpen; }
  static bool IsConnected(const BoardPage& page);
  static bool IsDeserted(BoardPage& page, Clock::time_point now);
  Viewer* FindViewer(HWND frame, const std::string& viewer);
  bool CanAnswer();

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::map<HWND, BoardPage> pages_;
  bool run_over_ = false;
  bool all_sent_away_ = false;
  uint64_t last_message_ = 0;
  uint64_t answered_ = 0;
};

}  // namespace karst::cli

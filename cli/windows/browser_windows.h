// The windows of scripts as pages in the user's browser.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cli/windows/page_board.h"
#include "cli/windows/page_server.h"
#include "hyper/veldctl.h"
#include "windows/queuedwindows.h"

namespace karst::cli {

// Each frame is a page of its own, under an address of its own. The server starts with the first. What users do comes
// from the server's threads through the queue, so that everything here runs on the script's thread.
class BrowserWindows : public QueuedWindows, private VeldView {
 public:
  // What is to happen with the address of a page that opens: `address` is for the user's eyes, `ticket` leads to the
  // same page and is good once.
  using Opener = std::function<void(const std::string& address, const std::string& ticket)>;

  explicit BrowserWindows(Opener opener);
  ~BrowserWindows() override;

  bool LoadControlLibrary(const char* name) override;
  int MoveWindow(HWND window, const Place& place, bool repaint) override;

  // Shows a message box on the open pages and waits until it is answered, until no page is left that could, or until
  // `is_stopped` says so. False if the last page went without an answer, and at once if there is none now.
  bool AskUser(std::string_view gbk_text, const std::function<bool()>& is_stopped);
  // Windows that close from here on do so because the run is over, until the next one opens.
  void RunIsOver() { board_.RunIsOver(); }

 protected:
  void FrameChanged(const WindowState& state) override;
  void FrameGone(HWND frame) override;
  bool OnIdle(HWND awaited) override;

 private:
  void OnCreated(VeldControl& control) override;
  void OnPage(const VeldControl& control) override;
  void OnPrint(const VeldControl& control) override;

  void OpenPage(HWND frame);
  bool TakeReport(HWND frame, PageReport report);
  void CarryOut(HWND frame, const PageReport& report);

  Opener opener_;
  std::map<HWND, VeldControl*> controls_;  // of the frames that are there
  std::map<HWND, bool> moved_;             // of the pages that are open: whether the script has placed the frame
  PageBoard board_;
  std::atomic<int> untaken_{0};  // reports in the queue
  std::unique_ptr<PageServer> server_;
};

}  // namespace karst::cli

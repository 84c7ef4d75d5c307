// The server that brings pages to the browser, on a loopback address only.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "cli/windows/page_board.h"
#include "cli/windows/page_text.h"

namespace karst::cli {

// Serves what stands on the board, from threads of its own:
//
//   GET  /open/TICKET         once: goes on to the page that the ticket was made for
//   GET  /SECRET/             the page around the document; shell.css and shell.js with it
//   GET  /SECRET/events       the states of the page, as they come, as server-sent events
//   GET  /SECRET/page/        the document
//   GET  /SECRET/page/NAME    a file beside it
//   POST /SECRET/report       what the user did
//
// Anything else, a wrong secret, and a request with another Host or Origin are refused.
class PageServer {
 public:
  // A report of the user at a frame, of the kinds kLink, kForm and kEnter; called on a thread of the server. False:
  // there are too many that nobody has taken.
  using Taker = std::function<bool(HWND frame, PageReport report)>;

  PageServer() = default;
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;
  // Lets the open pages see their last state, for half a second at most.
  virtual ~PageServer() = default;

  virtual std::string AddressOf(const std::string& secret) const = 0;
  // An address that leads there once: what other users of the machine may see in the list of processes opens nothing
  // after the browser has used it.
  virtual std::string TicketFor(const std::string& secret) = 0;
};

}  // namespace karst::cli

// Makes a server, which listens on a free port at once. HostError if it cannot. The one function of the module that
// the server is in: see page_module.h.
extern "C" void KarstMakePageServer(karst::cli::PageBoard& board, karst::cli::PageServer::Taker taker,
                                    std::unique_ptr<karst::cli::PageServer>& server);

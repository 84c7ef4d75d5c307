// The server, on the HTTP library; its limits, its refusals, its routes.
#include "cli/windows/page_server.h"

#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <set>
#include <thread>

#include "cli/base/exit_status.h"
#include "cli/windows/connection.h"
#include "cli/windows/page_files.h"
#include "cli/windows/secret.h"
#include "cli/windows/shell_files.h"

namespace karst::cli {
namespace {

using httplib::Request;
using httplib::Response;

constexpr const char* kLoopback = "127.0.0.1";
constexpr size_t kThreads = 32;
constexpr int kMostWaiting = 64;       // LIMIT: connections that wait for a thread; a further one is closed at once
constexpr int kMostStreams = 24;       // LIMIT: pages that follow at a time, so that threads are left for all else
constexpr size_t kMostBody = 1 << 20;  // LIMIT: bytes of a report
constexpr size_t kMostFileBytes = 32 << 20;  // LIMIT: bytes of a file beside a page
constexpr size_t kMostViewerName = 32;
constexpr size_t kMostTickets = 1000;
constexpr std::chrono::milliseconds kBeat{2000};  // how often a silent stream is written to, to see if it is alive
constexpr std::chrono::milliseconds kFarewell{500};
constexpr uint64_t kNothingKnown = ~uint64_t{0};  // no version of a page

constexpr const char* kShellPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; frame-src 'self'; base-uri 'none'; "
    "form-action 'none'; frame-ancestors 'none'";
// No script runs in a document, and nothing is loaded into it from elsewhere.
constexpr const char* kDocumentPolicy =
    "default-src 'none'; img-src 'self' data:; media-src 'self'; font-src 'self'; style-src 'self' 'unsafe-inline'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'self'";
// A file opened by itself is no part of this site at all.
constexpr const char* kFilePolicy =
    "default-src 'none'; img-src 'self' data:; style-src 'self' 'unsafe-inline'; form-action 'none'; "
    "frame-ancestors 'self'; sandbox";

// True on the thread that accepts, while it turns a connection away.
thread_local bool turned_away = false;

class BoundedPool : public httplib::ThreadPool {
 public:
  BoundedPool() : ThreadPool(kThreads) {}
  void enqueue(std::function<void()> serve) override {
    if (waiting_.load() >= kMostWaiting) {
      turned_away = true;
      serve();
      turned_away = false;
      return;
    }
    ++waiting_;
    ThreadPool::enqueue([this, serve = std::move(serve)] {
      --waiting_;
      serve();
    });
  }

 private:
  std::atomic<int> waiting_{0};
};

// One request a connection, so that its limits are those of the request.
class LimitedServer : public httplib::Server {
 public:
  // The library's own queue of connections that are not accepted yet is shorter than what a browser opens at once.
  void WidenQueue() { ::listen(svr_sock_, kMostWaiting); }
  // Ends every connection, those that are still to be served included: none keeps a thread from its end.
  void DropConnections() {
    const std::lock_guard lock(mutex_);
    dropping_ = true;
    for (const socket_t socket : sockets_) shutdown(socket, SHUT_RDWR);
  }

 private:
  bool process_and_close_socket(socket_t socket) override {
    bool served = false;
    if (!turned_away && Enter(socket)) {
      Connection connection(socket);
      bool closed = false;
      served = process_request(connection, true, closed, nullptr);
      shutdown(socket, SHUT_RDWR);
      const std::lock_guard lock(mutex_);
      sockets_.erase(socket);
    }
    close(socket);
    return served;
  }
  bool Enter(socket_t socket) {
    const std::lock_guard lock(mutex_);
    if (!dropping_) sockets_.insert(socket);
    return !dropping_;
  }

  std::mutex mutex_;
  std::set<socket_t> sockets_;
  bool dropping_ = false;
};

// Signals are for the script's thread.
template <class Start>
auto WithoutSignals(const Start& start) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  auto started = start();
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return started;
}

void Refuse(Response& response, int status) {
  response.status = status;
  response.set_content("refused\n", "text/plain");
}

struct Route {
  HWND frame = nullptr;
  std::string rest;  // after the secret and its slash
};

class LoopbackServer : public PageServer {
 public:
  LoopbackServer(PageBoard& board, Taker taker) : board_(board), taker_(std::move(taker)) {
    SetLimits();
    SetRoutes();
    port_ = server_.bind_to_any_port(kLoopback);
    if (port_ <= 0) throw HostError(kOutputFailed, "no free port for the pages of windows");
    server_.WidenQueue();
    host_ = std::string(kLoopback) + ":" + std::to_string(port_);
    thread_ = WithoutSignals([this] { return std::thread([this] { server_.listen_after_bind(); }); });
    while (!server_.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ~LoopbackServer() override {
    board_.WaitForNobody(kFarewell);
    board_.SendAllAway();
    server_.stop();
    server_.DropConnections();
    thread_.join();
  }

  std::string AddressOf(const std::string& secret) const override { return "http://" + host_ + "/" + secret + "/"; }

  std::string TicketFor(const std::string& secret) override {
    const std::string ticket = NewSecret();
    const std::lock_guard lock(tickets_mutex_);
    if (tickets_.size() >= kMostTickets) tickets_.clear();
    tickets_[ticket] = secret;
    return "http://" + host_ + "/open/" + ticket;
  }

 private:
  void SetLimits() {
    server_.new_task_queue = [] { return new BoundedPool; };
    server_.set_payload_max_length(kMostBody);
    server_.set_address_family(AF_INET);
    server_.set_tcp_nodelay(true);
    server_.set_default_headers({{"X-Content-Type-Options", "nosniff"},
                                 {"Referrer-Policy", "no-referrer"},
                                 {"Cache-Control", "no-store"},
                                 {"Cross-Origin-Resource-Policy", "same-origin"},
                                 {"Cross-Origin-Opener-Policy", "same-origin"}});
  }

  void SetRoutes() {
    using Handled = httplib::Server::HandlerResponse;
    server_.set_pre_routing_handler([this](const Request& request, Response& response) {
      const int refusal = RefusalOf(request);
      if (refusal == 0) return Handled::Unhandled;
      Refuse(response, refusal);
      return Handled::Handled;
    });
    server_.Get("/.*", [this](const Request& request, Response& response) { Get(request, response); });
    server_.Post("/.*", [this](const Request& request, Response& response) { Post(request, response); });
  }

  // 0 if the request is let in. A browser names the page that a request comes from in all but plain look-ups.
  int RefusalOf(const Request& request) const {
    const bool posts = request.method == "POST";
    if (request.method != "GET" && !posts) return 405;
    if (request.get_header_value_count("Host") != 1 || request.get_header_value("Host") != host_) return 403;
    const size_t origins = request.get_header_value_count("Origin");
    if (origins > 1 || (posts && origins == 0)) return 403;
    if (origins == 1 && request.get_header_value("Origin") != "http://" + host_) return 403;
    if (request.path.starts_with("/open/")) return posts ? 405 : 0;
    return RouteOf(request).frame ? 0 : 404;
  }

  Route RouteOf(const Request& request) const {
    const std::string& path = request.path;
    if (path.size() < kSecretDigits + 2 || path[kSecretDigits + 1] != '/') return {};
    return {board_.FrameOf(std::string_view(path).substr(1, kSecretDigits)), path.substr(kSecretDigits + 2)};
  }

  void Get(const Request& request, Response& response) {
    if (request.path.starts_with("/open/")) return TakeTicket(request, response);
    const Route route = RouteOf(request);
    constexpr std::string_view kPage = "page/";
    if (route.rest == "events") return Follow(route.frame, request, response);
    if (route.rest == kPage) return SendDocument(route.frame, request, response);
    if (route.rest.starts_with(kPage)) return SendFile(route.frame, route.rest.substr(kPage.size()), response);
    if (route.rest.empty()) board_.Expect(route.frame);
    SendShell(route.rest, response);
  }

  void TakeTicket(const Request& request, Response& response) {
    const std::lock_guard lock(tickets_mutex_);
    const auto ticket = tickets_.find(request.path.substr(std::string_view("/open/").size()));
    if (ticket == tickets_.end()) return Refuse(response, 404);
    response.set_redirect("/" + ticket->second + "/", 303);
    tickets_.erase(ticket);
  }

  static void SendShell(const std::string& name, Response& response) {
    for (const ShellFile& file : kShellFiles) {
      if (name != file.name) continue;
      response.set_header("Content-Security-Policy", kShellPolicy);
      return response.set_content(file.bytes.data(), file.bytes.size(), file.type);
    }
    Refuse(response, 404);
  }

  // Only the newest document is there; a request for another is led to it, so that the page knows which one it got.
  void SendDocument(HWND frame, const Request& request, Response& response) const {
    const std::optional<PageState> state = board_.StateOf(frame);
    if (!state) return Refuse(response, 404);
    const std::string newest = "?" + std::to_string(state->page) + "." + std::to_string(state->revision);
    response.set_header("Content-Security-Policy", kDocumentPolicy);
    if (!request.target.ends_with("/page/" + newest)) {
      return response.set_redirect(request.path + newest, 303);
    }
    response.set_content(*state->document, "text/html; charset=utf-8");
  }

  void SendFile(HWND frame, const std::string& name, Response& response) const {
    const std::optional<PageState> state = board_.StateOf(frame);
    if (!state || state->folder.empty()) return Refuse(response, 404);
    std::optional<std::string> bytes = ReadPageFile(state->folder, name, kMostFileBytes);
    if (!bytes) return Refuse(response, 404);
    response.set_header("Content-Security-Policy", kFilePolicy);
    response.set_content(*bytes, ContentTypeOf(name));
  }

  void Follow(HWND frame, const Request& request, Response& response) {
    const std::string viewer = request.get_param_value("viewer");
    if (viewer.empty() || viewer.size() > kMostViewerName) return Refuse(response, 400);
    if (++streams_ > kMostStreams || !board_.Arrive(frame, viewer)) {
      --streams_;
      return Refuse(response, 503);
    }
    response.set_chunked_content_provider(
        "text/event-stream",
        [this, frame, viewer, known = kNothingKnown](size_t, httplib::DataSink& sink) mutable {
          return SendNext(frame, viewer, known, sink);
        },
        [this, frame, viewer](bool) {
          --streams_;
          board_.Lose(frame, viewer);
        });
  }

  // One event, or a comment where there is none for a while. False ends the stream.
  bool SendNext(HWND frame, const std::string& viewer, uint64_t& known, httplib::DataSink& sink) {
    const std::optional<PageState> state = board_.WaitForChange(frame, viewer, known, kBeat);
    if (board_.HasLeft(frame, viewer)) return false;
    std::string event = state ? "data: " + StateText(*state) + "\n\n" : ":\n\n";
    if (known == kNothingKnown) event = "retry: 500\n" + event;
    if (!sink.write(event.data(), event.size())) return false;
    if (state) known = state->version;
    if (state && state->end != PageState::End::kOpen) sink.done();
    return true;
  }

  void Post(const Request& request, Response& response) {
    const Route route = RouteOf(request);
    if (route.rest != "report") return Refuse(response, 404);
    std::optional<PageReport> report = ReadReport(request.body);
    if (!report) return Refuse(response, 400);
    response.status = Take(route.frame, std::move(*report)) ? 204 : 429;
  }

  bool Take(HWND frame, PageReport report) {
    switch (report.kind) {
      case PageReport::Kind::kPrinted: board_.Show(frame, [](PageState& state) { state.print = false; }); return true;
      case PageReport::Kind::kAnswer: board_.Answer(report.message); return true;
      case PageReport::Kind::kLeave: board_.Leave(frame, report.viewer); return true;
      default: return taker_(frame, std::move(report));
    }
  }

  PageBoard& board_;
  Taker taker_;
  LimitedServer server_;
  int port_ = 0;
  std::string host_;
  std::thread thread_;
  std::atomic<int> streams_{0};
  std::mutex tickets_mutex_;
  std::map<std::string, std::string> tickets_;  // to secrets
};

}  // namespace
}  // namespace karst::cli

void KarstMakePageServer(karst::cli::PageBoard& board, karst::cli::PageServer::Taker taker,
                         std::unique_ptr<karst::cli::PageServer>& server) {
  server = std::make_unique<karst::cli::LoopbackServer>(board, std::move(taker));
}

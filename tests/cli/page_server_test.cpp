// The server of pages as a stranger on the same machine meets it, through bare sockets: what it refuses, and that its
// limits hold. And its message boxes.
#include "cli/windows/page_server.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <thread>

#include "support/builtin_call.h"
#include "support/local_client.h"
#include "support/temp_folder.h"

namespace karst::cli {
namespace {

using std::chrono::milliseconds;
using testing::LocalClient;
using testing::MakeFile;

HWND Frame(uintptr_t number) { return reinterpret_cast<HWND>(number); }

class Server : public ::testing::Test {
 protected:
  Server() {
    const auto take = [this](HWND frame, PageReport report) {
      taken_.emplace_back(frame, std::move(report));
      return taken_.size() <= 2;
    };
    KarstMakePageServer(board_, take, server_);
    std::filesystem::create_directories("pages/sub");
    MakeFile("pages/near.txt", "near");
    MakeFile("pages/\xE7\xBA\xA2.txt", "red");
    std::filesystem::create_symlink("near.txt", "pages/inner.txt");
    mkfifo("pages/pipe", 0600);
    secret_ = board_.Open(Frame(1));
    board_.Show(Frame(1), [](PageState& state) {
      state.page = state.revision = 1;
      state.document = std::make_shared<std::string>("document");
      state.folder = std::filesystem::current_path() / "pages";
    });
    other_secret_ = board_.Open(Frame(2));
    port_ = std::stoi(server_->AddressOf("").substr(std::string_view("http://127.0.0.1:").size()));
    host_ = "127.0.0.1:" + std::to_string(port_);
  }

  std::string Ask(const std::string& request) const {
    const LocalClient client(port_);
    client.Send(request);
    return client.Read();
  }
  // A request with the right host; `path` stands behind the secret.
  std::string Get(const std::string& path, const std::string& headers = "") const {
    return Ask("GET /" + secret_ + "/" + path + " HTTP/1.1\r\nHost: " + host_ + "\r\n" + headers + "\r\n");
  }
  std::string Post(const std::string& body, const std::string& headers) const {
    return Ask("POST /" + secret_ + "/report HTTP/1.1\r\nHost: " + host_ + "\r\n" + headers +
               "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
  }
  std::string Origin() const { return "Origin: http://" + host_ + "\r\n"; }

  static std::string StatusOf(const std::string& answer) { return answer.substr(0, answer.find("\r\n")).substr(0, 12); }
  static std::string BodyOf(const std::string& answer) {
    const size_t end = answer.find("\r\n\r\n");
    return end == answer.npos ? "" : answer.substr(end + 4);
  }

  testing::TempFolder folder_;
  PageBoard board_;
  std::vector<std::pair<HWND, PageReport>> taken_;
  std::unique_ptr<PageServer> server_;
  std::string secret_;
  std::string other_secret_;
  std::string host_;
  int port_ = 0;
};

TEST_F(Server, SecretsHave128BitsAndItListensOnOneAddress) {
  EXPECT_EQ(secret_.size(), 32u);
  EXPECT_EQ(secret_.find_first_not_of("0123456789abcdef"), std::string::npos) << secret_;
  EXPECT_NE(secret_, other_secret_);
  EXPECT_EQ(server_->AddressOf(secret_), "http://" + host_ + "/" + secret_ + "/");
  EXPECT_TRUE(LocalClient(port_).IsConnected());
  EXPECT_FALSE(LocalClient(port_, "127.0.0.2").IsConnected()) << "it listens on all addresses";
}

TEST_F(Server, AWrongHostOriginSecretOrMethodIsRefused) {
  const std::string host = "Host: " + host_ + "\r\n";
  const std::string page = "GET /" + secret_ + "/ HTTP/1.1\r\n";
  const std::string report = "POST /" + secret_ + "/report HTTP/1.1\r\nContent-Length: 0\r\n";
  std::string near_secret = secret_;
  near_secret.back() = near_secret.back() == '0' ? '1' : '0';
  const std::pair<std::string, std::string> cases[] = {
      {page + host + Origin(), "200"},
      {page, "403"},
      {page + host + host, "403"},
      {page + "Host: evil.example:" + std::to_string(port_) + "\r\n", "403"},
      {page + "Host: 127.0.0.1\r\n", "403"},
      {page + host + "Origin: null\r\n", "403"},
      {page + host + "Origin: http://127.0.0.1:1\r\n", "403"},
      {page + host + Origin() + "Origin: http://evil.example\r\n", "403"},
      {report + host, "403"},
      {report + host + "Origin: https://" + host_ + "\r\n", "403"},
      {report + host + Origin(), "400"},
      {"GET / HTTP/1.1\r\n" + host, "404"},
      {"GET /" + near_secret + "/events?viewer=x HTTP/1.1\r\n" + host, "404"},
      {"GET /" + secret_.substr(1) + "/ HTTP/1.1\r\n" + host, "404"},
      {"GET /open/" + secret_ + " HTTP/1.1\r\n" + host, "404"},
      {"PUT /" + secret_ + "/page/x HTTP/1.1\r\nContent-Length: 0\r\n" + host + Origin(), "405"},
  };
  for (const auto& [request, status] : cases) {
    EXPECT_EQ(StatusOf(Ask(request + "\r\n")), "HTTP/1.1 " + status) << request;
  }
  EXPECT_TRUE(taken_.empty());
}

// Files beyond the page's folder: replay_server_fuzz.
TEST_F(Server, OnlyTheFilesOfTheOwnPageAreServedWhileItIsOpen) {
  EXPECT_EQ(BodyOf(Get("page/?1.1")), "document");
  EXPECT_EQ(BodyOf(Get("page/%E7%BA%A2.txt")), "red");
  EXPECT_NE(Get("page/near.txt").find("sandbox"), std::string::npos);
  for (const char* path : {"page/none.txt", "page/sub", "page/inner.txt", "page/sub/../near.txt", "page//etc/hostname",
                           "page/pipe", "page/near.txt%00.png", "near.txt"}) {
    EXPECT_EQ(StatusOf(Get(path)), "HTTP/1.1 404") << path;
  }
  EXPECT_EQ(StatusOf(Ask("GET /" + other_secret_ + "/page/near.txt HTTP/1.1\r\nHost: " + host_ + "\r\n\r\n")),
            "HTTP/1.1 404");
  board_.Close(Frame(1));
  EXPECT_EQ(StatusOf(Get("page/near.txt")), "HTTP/1.1 404");
  EXPECT_EQ(BodyOf(Get("page/?1.1")), "");
}

TEST_F(Server, ATicketIsGoodOnce) {
  const std::string ticket = server_->TicketFor(secret_);
  const std::string request =
      "GET " + ticket.substr(ticket.find("/open/")) + " HTTP/1.1\r\nHost: " + host_ + "\r\n\r\n";
  const std::string answer = Ask(request);
  EXPECT_EQ(StatusOf(answer), "HTTP/1.1 303");
  EXPECT_NE(answer.find("Location: /" + secret_ + "/\r\n"), std::string::npos) << answer;
  EXPECT_EQ(StatusOf(Ask(request)), "HTTP/1.1 404");
}

TEST_F(Server, ReportsAreReadOrRefused) {
  const std::string form = R"({"kind":"form","page":2,"target":"a","query":[["n","v"]],"entered":[["m","1,2"]]})";
  const std::pair<std::string, std::string> cases[] = {
      {form, "204"},
      {R"({"kind":"leave","viewer":"nobody"})", "204"},
      {R"({"kind":"answer","message":77})", "204"},
      {R"({"kind":7})", "400"},
      {R"({"kind":"link","query":[["n"]]})", "400"},
      {R"({"kind":"link","page":"one"})", "400"},
      {R"([])", "400"},
      {"\xFF", "400"},
      {std::string(100'000, '['), "400"},
      {form, "204"},
      {form, "429"},  // the script has taken none since
  };
  for (const auto& [body, status] : cases) {
    EXPECT_EQ(StatusOf(Post(body, Origin())), "HTTP/1.1 " + status) << body.substr(0, 80);
  }
  ASSERT_FALSE(taken_.empty());
  const auto& [frame, report] = taken_[0];
  EXPECT_EQ(frame, Frame(1));
  EXPECT_EQ(report.target, "a");
  EXPECT_EQ(report.page, 2u);
  EXPECT_EQ(report.query, (PageReport::Fields{{"n", "v"}}));
  EXPECT_EQ(report.entered, (PageReport::Fields{{"m", "1,2"}}));
}

TEST_F(Server, SizesHaveLimits) {
  EXPECT_EQ(StatusOf(Post(std::string(900'000, 'x'), Origin())), "HTTP/1.1 400") << "long, but not too long";
  const std::string endless = "GET /" + secret_ + "/ HTTP/1.1\r\nHost: " + host_ + "\r\n";
  const std::string report = "POST /" + secret_ + "/report HTTP/1.1\r\nHost: " + host_ + "\r\n" + Origin();
  const std::string heads[] = {endless, report + "Content-Length: 99999999999\r\n\r\n",
                               report + "Transfer-Encoding: chunked\r\n\r\nFFFFFFF\r\n",
                               "GET /" + std::string(8000, 'a')};
  std::string lines;
  while (lines.size() < 1 << 20) lines += "X: y\r\n";
  for (const std::string& head : heads) {
    const LocalClient client(port_);
    client.Send(head);
    constexpr int kMuch = 64;  // megabytes: more than the buffers on the way hold
    int sent = 0;
    while (sent < kMuch && client.Send(lines)) ++sent;
    EXPECT_LT(sent, kMuch) << head << ": it takes all that and goes on";
  }
  EXPECT_EQ(StatusOf(Get("")), "HTTP/1.1 200");
}

TEST_F(Server, CountsHaveLimitsAndTheServerComesBack) {
  {
    std::vector<LocalClient> crowd;
    for (int i = 0; i < 150; ++i) crowd.emplace_back(port_);
    ptrdiff_t closed = 0;
    for (int looks = 0; closed < 40 && looks < 200; ++looks) {
      std::this_thread::sleep_for(milliseconds(50));
      closed = std::count_if(crowd.begin(), crowd.end(), [](const LocalClient& client) { return client.IsClosed(); });
    }
    EXPECT_GE(closed, 40) << "connections that say nothing are all kept";
  }
  std::string status;
  for (int i = 0; i < 200 && status != "HTTP/1.1 200"; ++i) {
    status = StatusOf(Get(""));
    std::this_thread::sleep_for(milliseconds(50));
  }
  EXPECT_EQ(status, "HTTP/1.1 200");
}

TEST_F(Server, OnlySoManyFollowOnePage) {
  std::vector<LocalClient> followers;
  for (size_t i = 0; i <= PageBoard::kMostViewers; ++i) {
    followers.emplace_back(port_);
    followers.back().Send("GET /" + secret_ + "/events?viewer=v" + std::to_string(i) + " HTTP/1.1\r\nHost: " + host_ +
                          "\r\n\r\n");
    const bool last = i == PageBoard::kMostViewers;
    EXPECT_EQ(StatusOf(followers.back().Read("\r\n\r\n")), last ? "HTTP/1.1 503" : "HTTP/1.1 200") << i;
  }
}

TEST_F(Server, EndsSoonWhateverIsConnected) {
  const LocalClient silent(port_);
  const LocalClient following(port_);
  following.Send("GET /" + secret_ + "/events?viewer=v HTTP/1.1\r\nHost: " + host_ + "\r\n\r\n");
  following.Read("data: ");
  board_.RunIsOver();
  board_.Close(Frame(1));
  const auto start = Clock::now();
  server_.reset();
  EXPECT_LT(Clock::now() - start, milliseconds(3000));
  EXPECT_NE(following.Read().find("\"end\":\"over\""), std::string::npos);
  EXPECT_TRUE(silent.IsClosed());
}

TEST(PageBoard, AMessageBoxWaitsForAnAnswerOrForTheLastPageToGo) {
  PageBoard board;
  EXPECT_EQ(board.ShowMessage("x"), 0u) << "nobody could answer";
  board.Open(Frame(1));
  const uint64_t first = board.ShowMessage("first");
  EXPECT_EQ(board.StateOf(Frame(1))->message_text, "first");
  EXPECT_FALSE(board.WaitForAnswer(first, milliseconds(20)));
  board.Answer(first + 1);
  EXPECT_FALSE(board.WaitForAnswer(first, milliseconds(20)));
  board.Answer(first);
  EXPECT_TRUE(board.WaitForAnswer(first, milliseconds(20)));
  EXPECT_TRUE(board.IsAnswered(first));
  const uint64_t answered = board.StateOf(Frame(1))->version;
  board.TakeMessageAway();
  EXPECT_EQ(board.StateOf(Frame(1))->message, 0u);
  EXPECT_GT(board.StateOf(Frame(1))->version, answered) << "the pages hear of it";
  const uint64_t second = board.ShowMessage("second");
  board.Close(Frame(1));
  EXPECT_TRUE(board.WaitForAnswer(second, milliseconds(20)));
  EXPECT_FALSE(board.IsAnswered(second));
}

}  // namespace
}  // namespace karst::cli

// A request to the server of pages, as any program on the machine can send it: without the secret nothing comes out and
// no report gets in, never a file that is not beside the page, and the server goes on.
//
// The request goes over a connection to the real server: its limits stand between the socket and the HTTP library, and
// nothing below that would have them all. In the input the bytes 1, 2 and 3 stand for the page's secret, the server's
// host and a ticket.
#include <atomic>
#include <filesystem>
#include <fstream>

#include "cli/windows/page_server.h"
#include "support/fuzz_input.h"
#include "support/local_client.h"
#include "support/scratch_folder.h"

namespace {

using karst::cli::PageBoard;
using karst::cli::PageReport;
using karst::cli::PageServer;
using karst::cli::PageState;
using karst::testing::Require;

constexpr char kDocument[] = "the document", kNear[] = "a file beside it", kFar[] = "a file elsewhere";
constexpr char kSecretMark = 1, kHostMark = 2, kTicketMark = 3;

void Write(const std::string& name, const std::string& text) { std::ofstream(name) << text; }

class Bench {
 public:
  Bench() {
    const karst::testing::ScratchFolder folder;
    std::filesystem::create_directories("pages/sub");
    Write("pages/near.txt", kNear);
    Write("pages/sub/near.html", kNear);
    Write("pages/.hidden", kFar);
    Write("far.txt", kFar);
    std::filesystem::create_symlink("../far.txt", "pages/link.txt");
    secret_ = board_.Open(frame_);
    board_.Show(frame_, [](PageState& state) {
      state.page = state.revision = 1;
      state.document = std::make_shared<std::string>(kDocument);
      state.folder = std::filesystem::current_path() / "pages";
      state.end = PageState::End::kClosed;  // the stream of its states ends with the first
    });
    KarstMakePageServer(
        board_, [this](HWND, PageReport) { return ++reports_ % 2 == 0; }, server_);
    const std::string address = server_->AddressOf("");
    host_ = address.substr(7, address.size() - 9);
  }

  std::string WithoutMarks(std::string_view request) {
    std::string text;
    for (const char byte : request) {
      if (byte == kSecretMark) {
        text += secret_;
      } else if (byte == kHostMark) {
        text += host_;
      } else if (byte == kTicketMark) {
        const std::string address = server_->TicketFor(secret_);
        text += address.substr(address.rfind('/') + 1);
      } else {
        text += byte;
      }
    }
    return text;
  }

  // What came back; empty where the server closed without a word.
  std::string Ask(std::string_view request) const {
    const karst::testing::LocalClient client(std::stoi(host_.substr(host_.find(':') + 1)));
    Require(client.IsConnected());
    client.Send(request);
    client.EndSending();
    return client.Read();
  }

  bool IsWell() { return Ask(WithoutMarks("GET /\1/page/near.txt HTTP/1.1\r\nHost: \2\r\n\r\n")).ends_with(kNear); }
  const std::string& Secret() const { return secret_; }
  int Reports() const { return reports_; }

 private:
  const HWND frame_ = reinterpret_cast<HWND>(uintptr_t{1});
  PageBoard board_;
  std::atomic<int> reports_{0};
  std::unique_ptr<PageServer> server_;
  std::string secret_;
  std::string host_;
};

bool Holds(const std::string& text, std::string_view part) { return text.find(part) != text.npos; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Bench bench;
  const std::string request(reinterpret_cast<const char*>(data), size);
  const int reports = bench.Reports();
  const std::string answer = bench.Ask(bench.WithoutMarks(request));
  Require(answer.empty() || answer.starts_with("HTTP/1.1 "));
  Require(!Holds(answer, kFar));
  if (!Holds(request, {&kSecretMark, 1}) || !Holds(request, {&kHostMark, 1})) {
    Require(!Holds(answer, kDocument) && !Holds(answer, kNear) && bench.Reports() == reports);
    Require(Holds(request, {&kTicketMark, 1}) || !Holds(answer, bench.Secret()));
  }
  static int asked = 0;
  if (++asked % 16 == 1) Require(bench.IsWell());
  return 0;
}

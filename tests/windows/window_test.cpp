// The table of windows, and what a text control answers.
#include "windows/window.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace karst {
namespace {

constexpr unsigned kOwnMessage = 0x7E8;

class SelfDestroyer : public Window {
 public:
  explicit SelfDestroyer(bool& alive) : alive_(alive) {}
  ~SelfDestroyer() override { alive_ = false; }
  MessageLong OnMessage(unsigned, MessageWord, MessageLong l) override {
    EXPECT_TRUE(DestroyWindow(reinterpret_cast<HWND>(l)));
    EXPECT_TRUE(alive_);  // the window lives until its message is done
    return 5;
  }

 private:
  bool& alive_;
};

TEST(Window, AHandleIsGoodUntilItsWindowIsDestroyed) {
  bool alive = true;
  const HWND window = AddWindow(std::make_unique<SelfDestroyer>(alive));
  const HWND other = AddWindow(std::make_unique<MemoryTextControl>());
  EXPECT_TRUE(IsWindow(window));
  EXPECT_EQ(SendMessage(window, kOwnMessage, 0, reinterpret_cast<MessageLong>(window)), 5);
  EXPECT_FALSE(alive);
  EXPECT_FALSE(IsWindow(window));
  EXPECT_FALSE(DestroyWindow(window));
  EXPECT_EQ(SendMessage(window, kGetLineCount, 0, 0), 0);
  const HWND later = AddWindow(std::make_unique<MemoryTextControl>());
  EXPECT_NE(later, window);
  EXPECT_TRUE(DestroyWindow(other));
  EXPECT_TRUE(DestroyWindow(later));
  EXPECT_FALSE(IsWindow(nullptr));
  EXPECT_EQ(AddWindow(nullptr), nullptr);
}

TEST(Window, AWindowThatFallsMayUseTheTable) {
  class Owner : public Window {
   public:
    explicit Owner(HWND child) : child_(child) {}
    ~Owner() override { DestroyWindow(child_); }
    MessageLong OnMessage(unsigned, MessageWord, MessageLong) override { return 0; }

   private:
    HWND child_;
  };
  const HWND child = AddWindow(std::make_unique<MemoryTextControl>());
  const HWND owner = AddWindow(std::make_unique<Owner>(child));
  EXPECT_TRUE(DestroyWindow(owner));
  EXPECT_FALSE(IsWindow(child));
}

// A control as it would be written without a thought for speed.
struct SlowControl {
  std::string text;
  std::vector<size_t> Starts() const {
    std::vector<size_t> starts = {0};
    for (size_t i = 0; i < text.size(); ++i) {
      if (text[i] == '\n') starts.push_back(i + 1);
    }
    return starts;
  }
  MessageLong LengthAt(size_t offset) const {
    const std::vector<size_t> starts = Starts();
    size_t line = starts.size() - 1;
    while (starts[line] > offset) --line;
    if (line + 1 == starts.size()) return static_cast<MessageLong>(text.size() - starts[line]);
    size_t end = starts[line + 1] - 1;
    if (end > starts[line] && text[end - 1] == '\r') --end;
    return static_cast<MessageLong>(end - starts[line]);
  }
};

TEST(MemoryTextControl, AgreesWithASlowOneOnRandomEdits) {
  std::mt19937 random(2);
  const char* const kPieces[] = {"", "a", "\r\n", "\r", "\n", "abc\r\ndef", "\r\n\r\n", "中文"};
  MemoryTextControl control;
  SlowControl slow;
  for (int round = 0; round < 2000; ++round) {
    const size_t size = slow.text.size();
    size_t first = random() % 3 ? size : random() % (size + 1);
    size_t second = random() % 3 ? first : random() % (size + 1);
    if (first > second) std::swap(first, second);
    const char* piece = kPieces[random() % std::size(kPieces)];
    control.OnMessage(kSetSelection, first, static_cast<MessageLong>(second));
    control.OnMessage(kReplaceSelection, 0, reinterpret_cast<MessageLong>(piece));
    slow.text.replace(first, second - first, piece);
    ASSERT_EQ(control.Text().view(), slow.text);
    const std::vector<size_t> starts = slow.Starts();
    ASSERT_EQ(control.OnMessage(kGetLineCount, 0, 0), static_cast<MessageLong>(starts.size()));
    const size_t line = random() % starts.size();
    ASSERT_EQ(control.OnMessage(kLineIndex, line, 0), static_cast<MessageLong>(starts[line]));
    ASSERT_EQ(control.OnMessage(kLineIndex, starts.size(), 0), -1);
    const size_t offset = random() % (slow.text.size() + 1);
    ASSERT_EQ(control.OnMessage(kLineLength, offset, 0), slow.LengthAt(offset)) << slow.text << " " << offset;
    if (slow.text.size() > 60) {
      control.OnMessage(kSetSelection, 0, -1);
      control.OnMessage(kReplaceSelection, 0, 0);
      slow.text.clear();
    }
  }
}

TEST(MemoryTextControl, GivesItsTextWithinTheRoom) {
  const HWND control = AddWindow(std::make_unique<MemoryTextControl>());
  AppendToTextControl(control, "first");
  AppendToTextControl(control, "\r\nsecond");
  EXPECT_EQ(SendMessage(control, kGetTextLength, 0, 0), 13);
  std::string room(14, '#');
  EXPECT_EQ(SendMessage(control, kGetText, 14, reinterpret_cast<MessageLong>(room.data())), 13);
  EXPECT_STREQ(room.c_str(), "first\r\nsecond");
  room.assign(14, '#');
  EXPECT_EQ(SendMessage(control, kGetText, 4, reinterpret_cast<MessageLong>(room.data())), 3);
  EXPECT_EQ(room.substr(0, 5), std::string("fir\0#", 5));
  EXPECT_EQ(SendMessage(control, kGetText, 0, reinterpret_cast<MessageLong>(room.data())), 0);
  DestroyWindow(control);
}

TEST(TextControl, AnAppendIsFiveMessages) {
  struct Seen {
    unsigned message;
    MessageWord w;
    MessageLong l;
    bool operator==(const Seen&) const = default;
  };
  class Recorder : public Window {
   public:
    explicit Recorder(std::vector<Seen>& seen) : seen_(seen) {}
    MessageLong OnMessage(unsigned message, MessageWord w, MessageLong l) override {
      seen_.push_back({message, w, message == kReplaceSelection ? 0 : l});
      if (message == kReplaceSelection) {
        EXPECT_STREQ(reinterpret_cast<const char*>(l), "text");
      }
      return message == kGetLineCount ? 7 : message == kLineIndex ? 100 : message == kLineLength ? 11 : 0;
    }

   private:
    std::vector<Seen>& seen_;
  };
  std::vector<Seen> seen;
  const HWND control = AddWindow(std::make_unique<Recorder>(seen));
  AppendToTextControl(control, "text");
  const std::vector<Seen> expected = {{kGetLineCount, 0, 0},
                                      {kLineIndex, 6, 0},
                                      {kLineLength, 100, 0},
                                      {kSetSelection, 111, 111},
                                      {kReplaceSelection, 0, 0}};
  EXPECT_TRUE(seen == expected);
  DestroyWindow(control);
  AppendToTextControl(control, "text");
  EXPECT_EQ(seen.size(), 5u);
}

TEST(TextControl, AForwardingOnePassesTextsOn) {
  std::string all;
  const HWND control =
      AddWindow(std::make_unique<ForwardingTextControl>([&all](std::string_view text) { all += text; }));
  AppendToTextControl(control, "one ");
  AppendToTextControl(control, nullptr);
  AppendToTextControl(control, "two");
  EXPECT_EQ(all, "one two");
  DestroyWindow(control);
}

TEST(MessageBox, GoesToTheHostOrToStandardError) {
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(ShowMessageBox(nullptr, "缓冲区", "Karst", 0), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Karst: \xE7\xBC\x93\xE5\x86\xB2\xE5\x8C\xBA\n");
  std::string shown;
  SetMessageBoxHandler([&shown](HWND, const char* text, const char* title, unsigned) {
    shown = std::string(title) + "/" + text;
    return 2;
  });
  EXPECT_EQ(ShowMessageBox(nullptr, "text", "title", 0), 2);
  EXPECT_EQ(shown, "title/text");
  SetMessageBoxHandler(nullptr);
}

}  // namespace
}  // namespace karst

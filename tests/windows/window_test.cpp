// The table of windows, and what a text control answers.
#include "windows/window.h"

#include <gtest/gtest.h>

#include <functional>

namespace karst {
namespace {

// A window made of what a test does at its moments.
struct ActingWindow : Window {
  using Action = std::function<void()>;
  explicit ActingWindow(Action destroyed, Action message = {}, Action gone = {})
      : on_destroy(std::move(destroyed)), on_message(std::move(message)), on_gone(std::move(gone)) {}
  ~ActingWindow() override { Do(on_gone); }
  MessageLong OnMessage(unsigned, MessageWord, MessageLong) override { return Do(on_message), 5; }
  void OnDestroy() override { Do(on_destroy); }
  static void Do(const Action& action) {
    if (action) action();
  }
  Action on_destroy, on_message, on_gone;
};

HWND Add(ActingWindow::Action destroyed, ActingWindow::Action message = {}, ActingWindow::Action gone = {},
         HWND parent = nullptr) {
  return AddWindow(std::make_unique<ActingWindow>(std::move(destroyed), std::move(message), std::move(gone)), parent,
                   5);
}

TEST(Window, AHandleIsGoodUntilItsWindowIsDestroyed) {
  bool alive = true;
  HWND window = nullptr;
  window = Add(
      {}, [&] { EXPECT_TRUE(DestroyWindow(window) && alive) << "it lives until its message is done"; },
      [&] { alive = false; });
  const HWND other = AddWindow(std::make_unique<MemoryTextControl>());
  EXPECT_TRUE(IsWindow(window));
  EXPECT_EQ(SendMessage(window, 0x7E8, 0, 0), 5);
  EXPECT_FALSE(alive || IsWindow(window) || DestroyWindow(window));
  EXPECT_EQ(SendMessage(window, kGetLineCount, 0, 0), 0);
  // A window that falls may use the table.
  const HWND later = Add({}, {}, [&] { EXPECT_TRUE(DestroyWindow(other)); });
  EXPECT_NE(later, window);
  EXPECT_TRUE(DestroyWindow(later));
  EXPECT_FALSE(IsWindow(other) || IsWindow(nullptr));
  EXPECT_EQ(AddWindow(nullptr), nullptr);
}

TEST(Window, ChildrenGoWithTheirParent) {
  std::string log;
  HWND parent = nullptr;
  const auto add = [&log](const char* name, HWND above, ActingWindow::Action more = {}) {
    return Add([&log, name, more] { log += name, ActingWindow::Do(more); }, {}, [&log] { log += '-'; }, above);
  };
  parent = add("p", nullptr, [&] {
    EXPECT_TRUE(IsWindow(parent) && GetChild(parent, 5)) << "children are told after their parent";
    EXPECT_FALSE(DestroyWindow(parent)) << "it is going already";
  });
  const HWND child = add("c", parent), twin = add("t", parent);
  add("g", child);
  EXPECT_EQ(GetChild(parent, 5), child);
  EXPECT_EQ(GetChild(parent, 6), nullptr);
  EXPECT_EQ(GetParent(twin), parent);
  EXPECT_TRUE(DestroyWindow(child));
  EXPECT_EQ(GetChild(parent, 5), twin);
  // A child that takes its parent with it.
  const HWND rebel = add("r", parent, [&] { EXPECT_TRUE(DestroyWindow(parent)); });
  EXPECT_TRUE(DestroyWindow(rebel));
  EXPECT_FALSE(IsWindow(parent) || IsWindow(rebel) || IsWindow(twin));
  EXPECT_EQ(log, "cg--rpt---");
}

TEST(MemoryTextControl, KnowsItsLinesAndReplacesItsSelection) {
  MemoryTextControl control;
  const auto replace = [&control](size_t first, MessageLong second, const char* text) {
    control.OnMessage(kSetSelection, first, second);
    control.OnMessage(kReplaceSelection, 0, reinterpret_cast<MessageLong>(text));
  };
  replace(0, 0, "abc\r\n\ndef");
  replace(9, 9, "\r");
  replace(1, 2, "\xD6\xD0");
  EXPECT_EQ(control.Text(),
            "a\xD6\xD0"
            "c\r\n\ndef\r");
  EXPECT_EQ(control.OnMessage(kGetLineCount, 0, 0), 3);
  const MessageLong indexes[] = {0, 6, 7, -1}, lengths[] = {4, 4, 4, 4, 4, 4, 0, 4, 4, 4, 4, 4};
  for (size_t line = 0; line < std::size(indexes); ++line)
    EXPECT_EQ(control.OnMessage(kLineIndex, line, 0), indexes[line]);
  for (size_t at = 0; at < std::size(lengths); ++at)
    EXPECT_EQ(control.OnMessage(kLineLength, at, 0), lengths[at]) << at;
  replace(0, -1, nullptr);
  EXPECT_TRUE(control.Text().IsEmpty());
  EXPECT_EQ(control.OnMessage(kGetLineCount, 0, 0), 1);
}

TEST(TextControl, AppendsAndGivesItsTextWithinTheRoom) {
  std::string all;
  const HWND control = AddWindow(std::make_unique<MemoryTextControl>());
  const HWND passing =
      AddWindow(std::make_unique<ForwardingTextControl>([&all](std::string_view text) { all += text; }));
  for (const char* text : {"first", static_cast<const char*>(nullptr), "\r\nsecond"}) {
    AppendToTextControl(control, text);
    AppendToTextControl(passing, text);
  }
  EXPECT_EQ(all, "first\r\nsecond");
  EXPECT_EQ(SendMessage(control, kGetTextLength, 0, 0), 13);
  const std::pair<MessageWord, std::string> rooms[] = {{14, {"first\r\nsecond\0#", 15}}, {4, {"fir\0#", 5}}, {0, "#"}};
  for (const auto& [room, given] : rooms) {
    std::string buffer(given.size(), '#');
    SendMessage(control, kGetText, room, reinterpret_cast<MessageLong>(buffer.data()));
    EXPECT_EQ(buffer, given);
  }
  DestroyWindow(control);
  DestroyWindow(passing);
}

// A host's own control sees these messages.
TEST(TextControl, AnAppendIsFiveMessages) {
  struct Recorder : Window {
    explicit Recorder(std::string& log) : seen(log) {}
    MessageLong OnMessage(unsigned message, MessageWord w, MessageLong l) override {
      const bool has_text = message == kReplaceSelection;
      seen += std::to_string(message) + " " + std::to_string(w) + " " +
              (has_text ? reinterpret_cast<const char*>(l) : std::to_string(l)) + ";";
      return message == kGetLineCount ? 7 : message == kLineIndex ? 100 : message == kLineLength ? 11 : 0;
    }
    std::string& seen;
  };
  std::string seen;
  const HWND control = AddWindow(std::make_unique<Recorder>(seen));
  AppendToTextControl(control, "text");
  DestroyWindow(control);
  AppendToTextControl(control, "text");
  EXPECT_EQ(seen, "186 0 0;187 6 0;193 100 0;177 111 111;194 0 text;");
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

// CRunable: the run state, failing, and what reaches the host and files.
#include "runstate/runable.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/readable.h"
#include "support/temp_folder.h"
#include "support/whole_files.h"

namespace karst::testing {
namespace {

TEST(CRunable, StopsAndCountsInOneState) {
  CRunable run;
  EXPECT_EQ(run.IsStop(), 0);
  for (int i = 0; i < 3; ++i) run.Begin();
  EXPECT_EQ(run.nRunState, 3);
  run.Stop();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(run.IsStop(), 1);
    run.End();
  }
  EXPECT_EQ(run.IsStop(), 1);
  run.Stop();
  run.Begin();
  EXPECT_EQ(run.IsStop(), 0);
  run.Stop();
  run.Initial();
  EXPECT_EQ(run.IsStop(), 0);
}

TEST(CRunable, HaltThrowsItsTextAndReturnsWhereNoneCanBeMade) {
  CRunable run;
  try {
    run.halt(" 变量[%s]出错%d%%", "abc", 50);
    ADD_FAILURE();
  } catch (const CError& error) {
    EXPECT_STREQ(error.what(), " 变量[abc]出错50%");
    EXPECT_EQ(error.first_code, -1);
    EXPECT_EQ(error.second_code, -1);
  }
  // The last message may be a value of the next.
  EXPECT_EQ(RefusalOf([&] { run.halt("again: %s", run.strError.c_str()); }), "again:  变量[abc]出错50%");
  int written = 0;
  EXPECT_EQ(RefusalOf([&] { run.halt("%n", &written); }), "none");
  EXPECT_EQ(run.strError, "again:  变量[abc]出错50%");
}

TEST(CRunable, WritesToItsConsoleToFilesAndInABox) {
  const TempFolder folder;
  CRunable run;
  EXPECT_EQ(run.eprintf("%d", 1), -1);
  EXPECT_EQ(run.eprintf1("x"), -1);
  ASSERT_EQ(run.CreateConsoleWindow(), 0);
  const std::string text(3000, 'x');
  EXPECT_EQ(run.eprintf("\r\n第%d行: %s", 7, "100%d"), 0);
  EXPECT_EQ(run.eprintf1(" %d%%"), 0);
  EXPECT_EQ(run.eprintf("%s", text.c_str()), 0);
  run.eprintf1(text.c_str());
  char shown[5000];
  SendMessage(run.hWnd, kGetText, sizeof shown, reinterpret_cast<MessageLong>(shown));
  EXPECT_EQ(shown, "\r\n第7行: 100%d %d%%" + text.substr(0, 1024) + text);
  DestroyWindow(run.hWnd);

  int written = 0;
  EXPECT_EQ(run.fnprintf("log", "%s-%d", "a", 1), 0);
  EXPECT_EQ(run.fnprintf("log", "%s", text.c_str()), 0);
  EXPECT_EQ(ReadWhole("log"), "a-1" + text);
  EXPECT_EQ(run.fnprintf("missing/log", "x"), -1);
  EXPECT_EQ(run.fnprintf("never", "%n", &written), -1);
  EXPECT_FALSE(std::filesystem::exists("never"));

  std::string box;
  SetMessageBoxHandler([&box](HWND owner, const char* content, const char* title, unsigned) {
    box = std::string(title) + "/" + content + (owner ? "/owned" : "");
    return 7;
  });
  EXPECT_EQ(CRunable().MessageBoxA("文字 %d"), 0);
  EXPECT_EQ(box, "Karst Message/文字 %d");
  SetMessageBoxHandler(nullptr);
}

}  // namespace
}  // namespace karst::testing

// CRunable: the run state, failing, and what reaches the host and files.
#include "runstate/runable.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "support/temp_folder.h"

namespace karst {
namespace {

std::string GetFile(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string TextOfControl(HWND control) {
  std::string text(static_cast<size_t>(SendMessage(control, kGetTextLength, 0, 0)) + 1, 0);
  SendMessage(control, kGetText, text.size(), reinterpret_cast<MessageLong>(text.data()));
  text.pop_back();
  return text;
}

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

TEST(CRunable, HaltThrowsItsText) {
  CRunable run;
  try {
    run.halt(" 变量[%s]出错%d%%", "abc", 50);
    ADD_FAILURE();
  } catch (const CError& error) {
    EXPECT_STREQ(error.what(), " 变量[abc]出错50%");
    EXPECT_EQ(error.first_code, -1);
    EXPECT_EQ(error.second_code, -1);
    EXPECT_EQ(run.strError, error.what());
  }
  // The last message may be a value of the next.
  EXPECT_THROW(run.halt("again: %s", run.strError.c_str()), CError);
  EXPECT_EQ(run.strError, "again:  变量[abc]出错50%");
}

TEST(CRunable, HaltReturnsWhereItsTextCannotBeMade) {
  CRunable run;
  run.strError = "before";
  int written = 0;
  EXPECT_NO_THROW(run.halt("%n", &written));
  EXPECT_NO_THROW(run.halt("%9999999d", 1));
  EXPECT_EQ(run.strError, "before");
}

TEST(CRunable, WritesToItsConsole) {
  CRunable run;
  EXPECT_EQ(run.eprintf("%d", 1), -1);
  EXPECT_EQ(run.eprintf1("x"), -1);
  ASSERT_EQ(run.CreateConsoleWindow(), 0);
  EXPECT_EQ(run.eprintf("\r\n第%d行: %s", 7, "100%d"), 0);
  EXPECT_EQ(run.eprintf1(" %d%%"), 0);
  EXPECT_EQ(run.eprintf(""), 0);
  EXPECT_EQ(TextOfControl(run.hWnd), "\r\n第7行: 100%d %d%%");
  const std::string text(3000, 'x');
  const CRunable copy = run;
  DestroyWindow(run.hWnd);
  ASSERT_EQ(run.CreateConsoleWindow(), 0);
  EXPECT_NE(run.hWnd, copy.hWnd);
  run.eprintf("%s", text.c_str());
  EXPECT_EQ(TextOfControl(run.hWnd), text.substr(0, 1024));
  run.eprintf1(text.c_str());
  EXPECT_EQ(TextOfControl(run.hWnd), std::string(4024, 'x'));
  DestroyWindow(run.hWnd);
}

TEST(CRunable, AppendsToFiles) {
  const karst::testing::TempFolder folder;
  CRunable run;
  EXPECT_EQ(run.fnprintf("karst.log", "%s-%d", "a", 1), 0);
  EXPECT_EQ(run.fnprintf("karst.log", ""), 0);
  EXPECT_EQ(run.fnprintf("karst.log", "%s", std::string(5000, 'x').c_str()), 0);
  EXPECT_EQ(GetFile("karst.log"), "a-1" + std::string(5000, 'x'));
  EXPECT_EQ(run.fnprintf("missing/karst.log", "x"), -1);
  int written = 0;
  EXPECT_EQ(run.fnprintf("never.log", "%n", &written), -1);
  EXPECT_FALSE(std::filesystem::exists("never.log"));
}

TEST(CRunable, ShowsAMessageBox) {
  std::string shown;
  SetMessageBoxHandler([&shown](HWND owner, const char* text, const char* title, unsigned) {
    shown = std::string(title) + "/" + text + (owner ? "/owned" : "");
    return 7;
  });
  CRunable run;
  EXPECT_EQ(run.MessageBoxA("文字 %d"), 0);
  EXPECT_EQ(shown, "Karst Message/文字 %d");
  SetMessageBoxHandler(nullptr);
}

}  // namespace
}  // namespace karst

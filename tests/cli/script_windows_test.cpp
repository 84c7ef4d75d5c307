// Where the program shows windows, by its option and its surroundings; how a wait without a user ends.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "support/child_process.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

constexpr std::string_view kScript =
    "string command\r\nint w\r\nint n\r\nFnCat(\"page.htm\", \"x\")\r\nw = OpenWindow(\"page.htm\")\r\n"
    "n = WaitWindow(w, &command)\r\nprintf(\"%d %d %s\", w, n, command)\r\n";
const char* const kAddress = "karst: window at http://127\\.0\\.0\\.1:[0-9]+/[0-9a-f]{32}/\n";

bool Holds(const std::string& text, const std::string& pattern) {
  return ::testing::Matcher<std::string>(::testing::ContainsRegex(pattern)).Matches(text);
}

class ScriptWindows : public ::testing::Test {
 protected:
  ScriptWindows() { WriteWhole("script.pro", kScript); }

  // A stand-in for xdg-open that writes what it was given to a file.
  std::string BrowserInPath() const {
    std::filesystem::create_directory("bin");
    WriteWhole("bin/xdg-open", "#!/bin/sh\nls /proc/self/fd > files\necho \"$#:$*\" > part && mv part opened\n");
    std::filesystem::permissions("bin/xdg-open", std::filesystem::perms::owner_all);
    return "PATH=" + (folder_.path() / "bin").string() + ":/usr/bin:/bin";
  }

  // Runs with these variables until `file` is there, and interrupts the program soon after.
  static ChildResult Interrupted(std::vector<std::string> environment, const std::string& file) {
    return RunProgram({.arguments = {"run", "script.pro"}, .environment = std::move(environment)}, [&](pid_t child) {
      constexpr int kLooks = 500;
      for (int i = 0; i < kLooks && !std::filesystem::exists(file); ++i) usleep(10'000);
      usleep(300'000);
      kill(child, SIGINT);
    });
  }

  TempFolder folder_;
};

TEST_F(ScriptWindows, WithoutAUserAWaitEndsAtOnce) {
  const ChildResult memory = RunProgram({.arguments = {"run", "--windows", "memory", "script.pro"}});
  EXPECT_EQ(memory.output, "1 6 _close");
  EXPECT_EQ(memory.error, "");
  const ChildResult none = RunProgram({.arguments = {"run", "--windows", "none", "script.pro"}});
  EXPECT_EQ(none.output, "1 -1 ");
  EXPECT_EQ(none.error, "Load DLL veldctl.dll error ...\n");
  EXPECT_EQ(RunProgram({.arguments = {"run", "--windows", "paper", "script.pro"}}).status, 2);
}

TEST_F(ScriptWindows, AScriptWithoutWindowsStartsNothing) {
  WriteWhole("script.pro", "printf(\"%d\", MsgBox(\"box\"))\r\n");
  const ChildResult result =
      RunProgram({.arguments = {"run", "script.pro"}, .environment = {"DISPLAY=:9", BrowserInPath()}});
  EXPECT_EQ(result.output, "1");
  EXPECT_EQ(result.error, "box\n");
  EXPECT_FALSE(std::filesystem::exists("opened"));
}

TEST_F(ScriptWindows, WithoutADisplayTheAddressIsToldAndCtrlCEndsTheWait) {
  const ChildResult result = Interrupted({"DISPLAY=", "WAYLAND_DISPLAY=", BrowserInPath()}, "page.htm");
  EXPECT_EQ(result.status, 130);
  EXPECT_EQ(result.output, "");
  EXPECT_TRUE(Holds(result.error, kAddress)) << result.error;
  EXPECT_FALSE(std::filesystem::exists("opened"));
}

TEST_F(ScriptWindows, WithADisplayTheBrowserGetsAnotherAddress) {
  for (const char* display : {"DISPLAY=:9", "WAYLAND_DISPLAY=wayland-9"}) {
    const ChildResult result = Interrupted({display, BrowserInPath()}, "opened");
    EXPECT_TRUE(Holds(result.error, kAddress)) << result.error;
    const std::string opened = ReadWhole("opened");
    EXPECT_TRUE(Holds(opened, "^1:http://127\\.0\\.0\\.1:[0-9]+/open/[0-9a-f]{32}\n$")) << opened;
    EXPECT_EQ(ReadWhole("files"), "0\n1\n2\n3\n") << "it has got a file of the program";
    std::filesystem::remove("opened");
  }
  const ChildResult without = Interrupted({"DISPLAY=:9", "PATH=/nowhere"}, "page.htm");
  EXPECT_NE(without.error.find("cannot start xdg-open"), std::string::npos) << without.error;
}

TEST_F(ScriptWindows, WhatOpenedTheBrowserDoesNotPileUp) {
  const std::string path = BrowserInPath();
  WriteWhole("bin/xdg-open", "#!/bin/sh\nexit 0\n");
  // Between two windows there is time for what was started to end.
  WriteWhole("script.pro",
             "int w\r\nint n\r\nint i = 0\r\nloop i < 10\r\nw = OpenWindow(\"none.htm\")\r\ni = i + 1\r\n"
             "n = 0\r\nloop n < 1000000\r\nn = n + 1\r\nendloop\r\nendloop\r\n"
             "FnCat(\"page.htm\", \"x\")\r\nstring c\r\nWaitWindow(w, &c)\r\n");
  int dead = 0;
  RunProgram({.arguments = {"run", "script.pro"}, .environment = {"DISPLAY=:9", path}}, [&](pid_t child) {
    for (int i = 0; i < 500 && !std::filesystem::exists("page.htm"); ++i) usleep(10'000);
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      if (!isdigit(entry.path().filename().string()[0])) continue;
      std::string line;
      std::getline(std::ifstream(entry.path() / "stat"), line);
      dead += line.find(") Z " + std::to_string(child) + " ") != std::string::npos;
    }
    kill(child, SIGINT);
  });
  EXPECT_LT(dead, 5);
}

TEST_F(ScriptWindows, AMessageBoxThatNobodyAnswersIsEndedByCtrlCToo) {
  WriteWhole(
      "script.pro",
      "int w = OpenWindow(\"none.htm\")\r\nFnCat(\"page.htm\", \"x\")\r\nMsgBox(\"box\")\r\nprintf(\"after\")\r\n");
  const ChildResult result = Interrupted({"DISPLAY=", "WAYLAND_DISPLAY="}, "page.htm");
  EXPECT_EQ(result.status, 130);
  EXPECT_EQ(result.output, "");
}

TEST_F(ScriptWindows, EachRunOfAFilterHasWindowsOfItsOwn) {
  WriteWhole("filter.flt", std::string("Record\r\n{\r\n}\r\nFinal\r\n{\r\n") + std::string(kScript) + "}\r\n");
  for (const char* name : {"one", "two"})
    WriteWhole(name,
               "00049nam  2200037   450 200001000000\x1E"
               "10\x1F"
               "a12345\x1E\x1D");
  const ChildResult result =
      RunProgram({.arguments = {"filter", "-q", "--windows", "memory", "filter.flt", "one", "two"}});
  EXPECT_EQ(result.output, "1 6 _close1 6 _close") << result.error;
}

}  // namespace
}  // namespace karst::testing

// Whole scripts with windows in memory: dialogues with a planned user, runs that end while windows are open.
#include <gtest/gtest.h>

#include <thread>

#include "helpers/zebutil.h"
#include "hyper/hypermodule.h"
#include "hyper/veldctl.h"
#include "script/script.h"
#include "support/builtin_call.h"
#include "support/temp_folder.h"
#include "windows/memorywindows.h"

namespace karst::testing {
namespace {

struct NotingView : VeldView {
  void OnCreated(VeldControl&) override {}
  void OnPage(const VeldControl& control) override { pages.push_back(control.Page()); }
  void OnPrint(const VeldControl&) override { ++prints; }
  std::vector<std::string> pages;
  int prints = 0;
};

class HyperScript : public ::testing::Test {
 protected:
  HyperScript() { script->UseHyperModule(module); }
  int Run(const std::string& text) {
    MakeFile("dialogue.pro", text);
    return script->Run("dialogue.pro");
  }
  std::string Variable(const char* name) {
    CString text;
    return script->GetVarString(name, text) == 0 ? std::string(text.view()) : "(none)";
  }

  const TempFolder folder;
  NotingView view;
  MemoryWindows* windows = new MemoryWindows([this] { return std::make_unique<VeldControl>(&view); });
  std::shared_ptr<HyperModule> module = std::make_shared<HyperModule>(std::unique_ptr<WindowSystem>(windows));
  std::unique_ptr<CScript> script = std::make_unique<CScript>();
};

TEST_F(HyperScript, GoesPageByPage) {
  windows->PlanInput("title", "红<楼>");
  windows->PlanCommand("find");
  windows->PlanResize(800, 600);
  windows->PlanCommand("print");
  windows->PlanClose();
  const int result =
      Run("string command\r\nstring title\r\nstring said\r\nint w\r\nint n\r\n"
          "FnCat(\"form.htm\", \"<input name=title>\")\r\n"
          "w = OpenWindow(\"form.htm\")\r\n"
          "loop 1\r\n"
          "n = WaitWindow(w, &command)\r\n"
          "said << command\r\nsaid << \";\"\r\n"
          "if n < 0 break\r\n"
          "if command == \"find\"\r\n{\r\n"
          "GetHyperMacro(w, \"title\", &title)\r\n"
          "FnCat(\"list.htm\", \"<p>{{title}}\")\r\n"
          "SetHyperFile(w, \"list.htm\")\r\n}\r\n"
          "if command == \"print\" PrintWindow(w, 2)\r\n"
          "endloop\r\n"
          "stop CloseWindow(w) + 3\r\n");
  EXPECT_EQ(result, 3);
  EXPECT_EQ(Variable("said"), "find;print;_close;;");
  EXPECT_EQ(Variable("title"), "红<楼>");
  EXPECT_EQ(view.pages.back(), "<p>红&#60;楼&#62;");
  EXPECT_EQ(view.prints, 1);
  EXPECT_TRUE(windows->IsPlanDone());
}

TEST_F(HyperScript, WindowsThatAScriptLeavesOpenCloseWithItsObject) {
  windows->PlanCommand("go on");
  EXPECT_THROW(Run("string c\r\nOpenWindow(\"a.htm\")\r\nWaitWindow(1, &c)\r\nint n = 1 / 0\r\n"), CError);
  EXPECT_EQ(Variable("c"), "go on");
  const HWND frame = script->HyperWindowFromHandle(1)->m_hFrame;
  script.reset();
  EXPECT_FALSE(IsWindow(frame));
}

TEST_F(HyperScript, AStopEndsTheRunInsideAWait) {
  const HWND parent = AddWindow(std::make_unique<MemoryTextControl>());
  script->SetDefaultHyperWindow(AddWindow(std::make_unique<VeldControl>(nullptr), parent, 100));
  std::atomic<bool> waits{false};
  windows->Post([&] { waits = true; });
  std::thread stopper([&] {
    while (!waits) std::this_thread::yield();
    script->Stop();
  });
  EXPECT_EQ(Run("string c = \"old\"\r\nstring after = \"no\"\r\nWaitWindow(0, &c)\r\nafter = \"yes\"\r\n"), 0);
  stopper.join();
  EXPECT_EQ(Variable("c"), "");
  EXPECT_EQ(Variable("after"), "no");
  DestroyWindow(parent);
}

// As the program does it for scripts whose objects it does not make itself.
TEST_F(HyperScript, AMakerServesTheObjectsThatHaveNoModule) {
  MakeFile("own.pro", "string c\r\nWaitWindow(OpenWindow(\"a.htm\"), &c)\r\nFnCat(\"out.txt\", c)\r\n");
  SetHyperModuleMaker([this] { return module; });
  windows->PlanCommand("planned");
  EXPECT_EQ(RunKarstPro("own.pro", nullptr), 0);
  SetHyperModuleMaker({});
  EXPECT_EQ(RunKarstPro("own.pro", nullptr), 0);
  EXPECT_EQ(FileBytes("out.txt"), "planned_close");
}

}  // namespace
}  // namespace karst::testing

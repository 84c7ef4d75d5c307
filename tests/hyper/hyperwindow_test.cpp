// Hypertext windows that the built-ins open: what is asked of the window system in which order, waits, closing, the
// host's own window, and what the control's answers become.
#include "hyper/hyperwindow.h"

#include <gtest/gtest.h>

#include <climits>
#include <thread>
#include <tuple>

#include "hyper/hypermodule.h"
#include "support/builtin_call.h"
#include "support/logged_windows.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

using Lines = std::vector<std::string>;

class HyperWindows : public ::testing::Test {
 protected:
  HyperWindows() {
    caller.self.UseHyperModule(module);
    caller.Declare("text", "old");
  }
  int32_t Open() { return caller.Call("OpenWindow", {"a.htm"}); }
  int32_t Close(int32_t handle) { return caller.Call("CloseWindow", {handle}); }
  // The result and the command.
  std::string Wait(int32_t handle) {
    const int32_t result = caller.Call("WaitWindow", {handle, Ref{"text"}});
    return std::to_string(result) + " " + caller.Text("text");
  }
  CHyperWindow& At(int32_t handle) { return *caller.self.HyperWindowFromHandle(handle); }
  void Command(int32_t handle, const char* text) {
    SendMessage(At(handle).m_hControl, kUserCommand, 0, reinterpret_cast<MessageLong>(text));
  }
  Lines Log() { return std::exchange(log, {}); }

  Lines log;
  ControlScript controls;
  LoggedWindows* windows = new LoggedWindows(log, controls);
  std::shared_ptr<HyperModule> module = std::make_shared<HyperModule>(std::unique_ptr<WindowSystem>(windows));
  BuiltinCaller caller;
};

TEST_F(HyperWindows, OpenGoesThroughItsSteps) {
  EXPECT_EQ(caller.Call("OpenWindow", {"结果.htm"}), 1);
  EXPECT_EQ(Log(), (Lines{"load veldctl.dll", "register KARSTHYPERFRAMECLASS 480b 32 4",
                          "create KARSTHYPERFRAMECLASS \"HyperTextWindow\" 1 cc0000 60,100 522x321 id 0",
                          "frame1 gets 1 0", "create Ostrand VELDCTL \"\" 200 52300009 0,0 520x300 id 100",
                          "control1 gets 1 0", "frame1 gets 528 640001", "frame1 gets 2024 0", "show frame1 5",
                          "frame1 gets 5 0", "move control1 0,0 520x300 repaint 0", "focus frame1", "frame1 gets 7 0",
                          "focus control1", "frame1 gets 8 0", "control1 gets 7 0", "control1 gets 1030 0"}));
  EXPECT_EQ(controls.told, "结果.htm");
  {
    BuiltinCaller other;
    other.self.UseHyperModule(module);
    EXPECT_EQ(other.Call("OpenWindow", {"b.htm"}), 1) << "each interpreter object counts its own";
    EXPECT_TRUE(Log()[0].starts_with("create KARST")) << "library and class are there";
  }
  EXPECT_EQ(Log(), (Lines{"frame2 gets 2 0", "control2 gets 2 0", "frame2 gets 528 640002"}))
      << "windows end with their interpreter object";
  caller.self.CloseAllHyperWindow();
  caller.self.UseHyperModule(nullptr);
  Log();
  module.reset();
  EXPECT_EQ(Log(), (Lines{"free", "unregister KARSTHYPERFRAMECLASS"}));
}

TEST_F(HyperWindows, AWaitGivesTheLastCommandThatComesWhileItLasts) {
  Open();
  windows->PlanCommand("查找?k=红");
  windows->PlanCommand("");
  EXPECT_EQ(Wait(1), "9 查找?k=红");
  EXPECT_EQ(At(1).m_strCmd, "");
  EXPECT_EQ(Wait(1), "0 ");
  Command(1, "early");
  windows->PlanCommand("late");
  EXPECT_EQ(Wait(1), "4 late");
  for (const char* text : {"first", "second", "third"}) {
    windows->Post([this, text] { Command(1, text); });
  }
  EXPECT_EQ(Wait(1), "5 third");
  // What is queued when the event is signalled is still taken out.
  windows->Plan([this](MemoryWindows&, HWND) {
    Command(1, "a");
    windows->Post([this] { Command(1, "bc"); });
  });
  EXPECT_EQ(Wait(1), "2 bc");
  Log();
  windows->empty_waits = 3;
  windows->PlanClose();
  EXPECT_EQ(Wait(1), "6 _close");
  EXPECT_EQ(Lines(log.begin(), log.begin() + 4), Lines(4, "wait frame1 5000")) << "an empty wait starts the next";
}

TEST_F(HyperWindows, AWaitServesAllWindowsUntilItsOwnIsClosed) {
  Open();
  Open();
  windows->Plan([this](MemoryWindows&, HWND) { Command(1, "other"); });
  windows->Plan([this](MemoryWindows&, HWND) { SendMessage(At(1).m_hFrame, kClose, 0, 0); });
  windows->PlanCommand("awaited");
  EXPECT_EQ(Wait(2), "7 awaited");
  EXPECT_EQ(Wait(1), "-1 ") << "closed meanwhile";
  EXPECT_EQ(Open(), 3);
  EXPECT_EQ(Wait(2), "6 _close") << "there is no user left";
  EXPECT_NE(caller.self.HyperWindowFromHandle(3), nullptr);
  EXPECT_EQ(caller.self.m_mapHyperWindow.size(), 3u);
  EXPECT_EQ(Close(2), 0);
  EXPECT_EQ(Close(2), -1);
  EXPECT_EQ(Open(), 4) << "no handle is given out again";
}

TEST_F(HyperWindows, HandlesThatNameNoWindow) {
  Open();
  const std::pair<int32_t, int32_t> closings[] = {{2, -1},       {-1, -1}, {-65535, -1},  {65536, -1},
                                                  {INT_MAX, -1}, {0, 0},   {INT_MIN, -1}, {1, 0}};
  for (const auto& [handle, result] : closings) EXPECT_EQ(Close(handle), result) << handle;
  for (const int32_t handle : {0, 1, 2, -1}) {
    const std::pair<const char*, std::vector<Argument>> calls[] = {
        {"WaitWindow", {handle, Ref{"text"}}},
        {"MoveWindow", {handle, 1, 1, 1, 1}},
        {"SetHyperFile", {handle, "b.htm"}},
        {"SetTitle", {handle, "b"}},
        {"PrintWindow", {handle}},
        {"SetHyperMacro", {handle, "m", "v"}},
        {"GetHyperMacro", {handle, "m", Ref{"text"}}},
    };
    for (const auto& [name, arguments] : calls) {
      caller.self.ChangeVarValue("text", "old");
      EXPECT_EQ(caller.Call(name, arguments), -1) << name << handle;
      const bool empties = arguments.size() > 1 && std::holds_alternative<Ref>(arguments.back());
      EXPECT_EQ(caller.Text("text"), empties ? "" : "old") << name;
    }
  }
  EXPECT_EQ(caller.Refusal("SetTitle", {0, 5}), "函数SetTitle()参数2应当为string类型...");
  EXPECT_EQ(caller.Refusal("PrintWindow", {9, "x"}), "函数PrintWindow()参数2应当为int或int64类型...");
  EXPECT_EQ(caller.Call("MoveWindow", {0, "x"}), -1) << "the others are not looked at";
}

TEST_F(HyperWindows, TheLowSixteenBitsOfAHandleCount) {
  caller.self.m_nNextHyperWindow = 65535;
  EXPECT_EQ(Open(), 65535);
  EXPECT_EQ(Open(), 65537) << "0 is the host's";
  EXPECT_EQ(&At(1), &At(65537));
  EXPECT_EQ(&At(-1), &At(65535));
  caller.self.m_nNextHyperWindow = 131071;
  const HWND before = At(65535).m_hFrame;
  EXPECT_EQ(Open(), 131071);
  EXPECT_FALSE(IsWindow(before)) << "the older window with these bits is not lost, it is closed";
}

TEST_F(HyperWindows, MoveTakesTheSizeOfTheInsideOrNegatedOfTheFrame) {
  Open();
  const std::tuple<int32_t, int32_t, const char*> cases[] = {{-400, -300, "400x300"},
                                                             {0, 0, "0x0"},
                                                             {1, -1, "3x1"},
                                                             {INT_MAX, INT_MIN, "2147483647x2147483647"},
                                                             {400, 300, "402x321"}};
  for (const auto& [width, height, size] : cases) {
    Log();
    EXPECT_EQ(caller.Call("MoveWindow", {1, -5, int64_t{0x5'0000'0007}, width, height}), 1);
    EXPECT_EQ(log[0], std::string("move frame1 -5,7 ") + size + " repaint 1");
  }
  EXPECT_EQ(log[2], "move control1 0,0 400x300 repaint 0") << "the control fills the frame";
}

TEST_F(HyperWindows, WhatIsSentReachesItsWindow) {
  const TempFolder folder;
  Open();
  Open();
  Log();
  size_t open_files = 9;
  controls.at_show = [&] { open_files = caller.self.m_mapCatchedFile.size(); };
  caller.Call("FnCat", {"b.htm", "<p>"});
  caller.Call("SetHyperFile", {9, "b.htm"});
  EXPECT_EQ(caller.self.m_mapCatchedFile.size(), 1u);
  controls.answer = 42;
  EXPECT_EQ(caller.Call("SetTitle", {1, "检索"}), 0);
  EXPECT_EQ(caller.Call("SetHyperFile", {1, "b.htm"}), 42);
  EXPECT_EQ(open_files, 0u) << "files are closed before one is shown";
  EXPECT_EQ(Log(), (Lines{"title frame1 \"检索\"", "control1 gets 1030 0", "update control1", "focus control1",
                          "control2 gets 8 0", "control1 gets 7 0"}));
}

TEST_F(HyperWindows, TheControlsAnswersReachTheScript) {
  Open();
  controls.answer = -7;
  controls.macro_value = "值1";
  const std::tuple<const char*, std::vector<Argument>, const char*> cases[] = {
      {"PrintWindow", {1}, "0"},
      {"PrintWindow", {1, -2}, "-2"},
      {"PrintWindow", {1, 3, "more"}, "3"},
      {"SetHyperMacro", {1, "题名", ""}, "题名="},
      {"GetHyperMacro", {1, "k", Ref{"text"}}, "k4096"}};
  for (const auto& [name, arguments, told] : cases) {
    EXPECT_EQ(caller.Call(name, arguments), -7);
    EXPECT_EQ(controls.told, told);
  }
  EXPECT_EQ(caller.Text("text"), "值1");
  controls.answer = -1;
  controls.macro_value = "other";
  EXPECT_EQ(caller.Call("GetHyperMacro", {1, "k", Ref{"text"}}), -1);
  EXPECT_EQ(caller.Text("text"), "值1") << "kept: the window is there, the macro is not";
  controls.answer = 0;
  controls.fills_buffers = true;
  windows->PlanCommand("any");
  EXPECT_EQ(Wait(1), "4095 " + std::string(4095, 'x')) << "a text without an end is cut at the room";
  caller.self.SearchVar("text")->string->Empty();
  caller.Call("GetHyperMacro", {1, "k", Ref{"text"}});
  EXPECT_EQ(caller.Text("text").size(), 4095u);
}

TEST_F(HyperWindows, OnlyTheControlsTwoNotificationsAreCommands) {
  Open();
  CHyperWindow& window = At(1);
  const std::tuple<MessageWord, MessageWord, bool> cases[] = {{100, 1, true},  {100, 4, true}, {100, 0, false},
                                                              {100, 2, false}, {99, 1, false}, {100, 257, false},
                                                              {0, 4, false}};
  for (const auto& [id, code, is_command] : cases) {
    window.m_event.Reset();
    EXPECT_EQ(SendMessage(window.m_hFrame, kCommand, id | code << 16, 0), 0);
    EXPECT_EQ(window.m_event.Take(), is_command) << id << " " << code;
  }
  EXPECT_EQ(SendMessage(window.m_hFrame, 2024, 0, 0), 1);
  SendMessage(window.m_hFrame, kCommand, 100 | 1 << 16, 0);
  EXPECT_FALSE(window.m_event.Take()) << "a frame without a window object stays harmless";
}

// A host's window that holds a control of the host's.
struct HostFrame : Window {
  HostFrame(Lines& log, std::string name) : log_(log), name_(std::move(name)) {}
  MessageLong OnMessage(unsigned message, MessageWord, MessageLong l) override {
    object = reinterpret_cast<CHyperWindow*>(l);
    log_.push_back(name_ + " gets " + std::to_string(message) + (l ? "" : " none"));
    return 1;
  }
  CHyperWindow* object = nullptr;
  Lines& log_;
  std::string name_;
};

struct HostControl {
  HostControl(Lines& log, ControlScript& script, const char* name) {
    auto owned = std::make_unique<HostFrame>(log, name);
    frame = owned.get();
    handle = AddWindow(std::move(owned));
    control = AddWindow(std::make_unique<ScriptedControl>(script), handle, 7);
  }
  ~HostControl() { DestroyWindow(handle); }
  HostFrame* frame;
  HWND handle;
  HWND control;
};

TEST_F(HyperWindows, TheHostsOwnWindowIsHandle0) {
  const HostControl host(log, controls, "host");
  EXPECT_EQ(caller.self.SetDefaultHyperWindow(host.control), 0);
  EXPECT_EQ(host.frame->object, &At(0));
  EXPECT_EQ(caller.Call("SetTitle", {0, "x"}), -1);
  EXPECT_EQ(caller.Call("MoveWindow", {0, 1, 1, 1, 1}), -1);
  controls.answer = 8;
  EXPECT_EQ(caller.Call("SetHyperFile", {0, "h.htm"}), 8);
  EXPECT_EQ(caller.Call("GetHyperMacro", {0, "m", Ref{"text"}}), 8);
  windows->Post([&] { host.frame->object->SetCmd("from the host"); });
  EXPECT_EQ(Wait(0), "13 from the host");
  EXPECT_EQ(Close(0), 0);
  EXPECT_EQ(Close(65536), -1);
  EXPECT_EQ(caller.self.HyperWindowFromHandle(65536), nullptr);
  EXPECT_EQ(Open(), 1);
  const HostControl second(log, controls, "second");
  Log();
  caller.self.SetDefaultHyperWindow(second.control);
  caller.self.CloseAllHyperWindow();
  EXPECT_EQ(Lines(log.begin(), log.begin() + 4),
            (Lines{"host gets 2024 none", "second gets 2024", "second gets 2024 none", "frame1 gets 2 0"}));
  EXPECT_TRUE(IsWindow(host.control)) << "the host's windows are the host's";
  EXPECT_EQ(Wait(0), "-1 ");
}

TEST_F(HyperWindows, AHostMayTakeTheAwaitedWindowAway) {
  const HostControl host(log, controls, "host");
  caller.self.SetDefaultHyperWindow(host.control);
  windows->Post([&] { caller.self.SetDefaultHyperWindow(nullptr); });
  EXPECT_EQ(Wait(0), "-1 ");
  Open();
  windows->Plan([&](MemoryWindows&, HWND) { caller.self.CloseHyperWindow(1); });
  EXPECT_EQ(Wait(1), "-1 ");
}

TEST_F(HyperWindows, AStopOfAnotherThreadEndsAWait) {
  const HostControl host(log, controls, "host");
  caller.self.SetDefaultHyperWindow(host.control);
  std::thread stopper;
  windows->Post([&] { stopper = std::thread([this] { caller.self.Stop(); }); });
  EXPECT_EQ(Wait(0), "-1 ");
  EXPECT_TRUE(caller.self.IsStop());
  stopper.join();
}

TEST_F(HyperWindows, PostsOfOtherThreadsRunInTheWaitInTheirOrder) {
  Open();
  constexpr int kPosts = 200;
  int arrived = 0;
  std::thread poster([&] {
    for (int i = 0; i < kPosts; ++i) windows->Post([&arrived, i] { arrived += arrived == i; });
    windows->Post([&] { Command(1, "done"); });
  });
  // A step for a wait that finds nothing posted yet; one that finds it all leaves the step alone.
  windows->Plan([&](MemoryWindows&, HWND) { poster.join(); });
  EXPECT_EQ(Wait(1), "4 done");
  if (poster.joinable()) poster.join();
  EXPECT_EQ(arrived, kPosts);
}

}  // namespace
}  // namespace karst::testing

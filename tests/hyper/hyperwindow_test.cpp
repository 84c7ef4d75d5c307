// Hypertext windows behind the built-ins: what is asked of the window system in which order, waits, closing, the
// host's own window, and what the control's answers become.
#include "hyper/hyperwindow.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <thread>

#include "support/builtin_call.h"
#include "support/logged_windows.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

using Lines = std::vector<std::string>;

class HyperWindows : public ::testing::Test {
 protected:
  HyperWindows() {
    Connect(caller);
    caller.Declare("text", "old");
  }
  void Connect(BuiltinCaller& other) { other.self.UseHyperModule(module); }

  int32_t Open(const char* file = "a.htm") { return caller.Call("OpenWindow", {file}); }
  int32_t Wait(int32_t handle) { return caller.Call("WaitWindow", {handle, Ref{"text"}}); }
  int32_t Close(int32_t handle) { return caller.Call("CloseWindow", {handle}); }
  HWND FrameOf(int32_t handle) { return caller.self.HyperWindowFromHandle(handle)->m_hFrame; }
  HWND ControlOf(int32_t handle) { return caller.self.HyperWindowFromHandle(handle)->m_hControl; }
  void Command(int32_t handle, const char* text) {
    SendMessage(ControlOf(handle), kUserCommand, 0, reinterpret_cast<MessageLong>(text));
  }
  Lines Log() { return std::exchange(log, {}); }

  Lines log;
  ControlScript controls;
  LoggedWindows* windows = new LoggedWindows(log, controls);
  std::shared_ptr<HyperModule> module = std::make_shared<HyperModule>(std::unique_ptr<WindowSystem>(windows));
  BuiltinCaller caller;
};

TEST_F(HyperWindows, OpenGoesThroughItsSteps) {
  EXPECT_EQ(Open("结果.htm"), 1);
  EXPECT_EQ(Log(), (Lines{"load veldctl.dll", "register KARSTHYPERFRAMECLASS 480b 32 4",
                          "create KARSTHYPERFRAMECLASS \"HyperTextWindow\" 1 cc0000 60,100 522x321 in none id 0",
                          "frame1 gets 1 0", "create Ostrand VELDCTL \"\" 200 52300009 0,0 520x300 in frame1 id 100",
                          "control1 gets 1 0", "frame1 gets 528 640001", "frame1 gets 2024 0", "show frame1 5",
                          "frame1 gets 5 0", "move control1 0,0 520x300 repaint 0", "focus frame1", "frame1 gets 7 0",
                          "focus control1", "frame1 gets 8 0", "control1 gets 7 0", "control1 gets 1030 0"}));
  EXPECT_EQ(controls.file, "结果.htm");
  EXPECT_EQ(FrameOf(1), GetParent(ControlOf(1)));
  EXPECT_EQ(windows->Focus(), ControlOf(1));

  BuiltinCaller other;
  Connect(other);
  EXPECT_EQ(other.Call("OpenWindow", {"b.htm"}), 1) << "each interpreter object counts its own";
  EXPECT_TRUE(log[0].starts_with("create KARST")) << "library and class are there";
  EXPECT_EQ(other.Call("CloseWindow", {1}), 0);
  EXPECT_EQ(log.back(), "frame2 gets 528 640002");
}

TEST_F(HyperWindows, ALibraryThatCannotBeLoadedIsToldAtEachOpen) {
  Lines boxes;
  SetMessageBoxHandler([&](HWND, const char* text, const char*, unsigned) { return boxes.push_back(text), 1; });
  windows->has_library = false;
  EXPECT_EQ(Open(), 1);
  EXPECT_EQ(Open(), 2);
  EXPECT_EQ(boxes, Lines(2, "Load DLL veldctl.dll error ..."));
  EXPECT_EQ(Wait(1), -1);
  EXPECT_EQ(caller.Text("text"), "");
  EXPECT_EQ(Close(1), 0);
  EXPECT_EQ(Close(1), -1);
  windows->has_library = true;
  EXPECT_EQ(Open(), 3);
  EXPECT_NE(caller.self.HyperWindowFromHandle(3), nullptr);
  EXPECT_EQ(boxes.size(), 2u);
  SetMessageBoxHandler({});
}

TEST_F(HyperWindows, TheModulesEndFreesWhatItMadeReady) {
  caller.self.UseHyperModule(nullptr);
  {
    BuiltinCaller other;
    Connect(other);
    other.Call("OpenWindow", {"a.htm"});
    Log();
  }
  EXPECT_EQ(Log(), (Lines{"frame1 gets 2 0", "control1 gets 2 0", "frame1 gets 528 640002"}))
      << "windows end with their interpreter object";
  module.reset();
  EXPECT_EQ(Log(), (Lines{"free", "unregister KARSTHYPERFRAMECLASS"}));
}

TEST_F(HyperWindows, AWaitGivesTheCommandAndItsLength) {
  Open();
  windows->PlanCommand("查找?k=红");
  windows->PlanCommand("");
  EXPECT_EQ(Wait(1), 9);
  EXPECT_EQ(caller.Text("text"), "查找?k=红");
  EXPECT_EQ(caller.self.HyperWindowFromHandle(1)->m_strCmd, "");
  EXPECT_EQ(Wait(1), 0);
  EXPECT_EQ(caller.Text("text"), "");
  EXPECT_TRUE(windows->IsPlanDone());
}

TEST_F(HyperWindows, ACommandThatCameWhileNobodyWaitedEndsNoWait) {
  Open();
  Command(1, "early");
  windows->PlanCommand("late");
  EXPECT_EQ(Wait(1), 4);
  EXPECT_EQ(caller.Text("text"), "late");
  Command(1, "early");
  windows->PlanClose();
  EXPECT_EQ(Wait(1), 6);
}

TEST_F(HyperWindows, ALaterCommandInTheQueueOverwritesTheFirst) {
  Open();
  for (const char* text : {"first", "second", "third"}) {
    windows->Post([this, text] { Command(1, text); });
  }
  EXPECT_EQ(Wait(1), 5);
  EXPECT_EQ(caller.Text("text"), "third");
  windows->PlanCommand("next");
  EXPECT_EQ(Wait(1), 4) << "nothing is left of the others";

  // The pump runs once more behind the signalled event.
  windows->Plan([this](MemoryWindows&, HWND) {
    Command(1, "a");
    windows->Post([this] { Command(1, "bc"); });
  });
  EXPECT_EQ(Wait(1), 2);
  EXPECT_EQ(caller.Text("text"), "bc");
}

TEST_F(HyperWindows, AnEmptyWaitStartsTheNext) {
  Open();
  Log();
  windows->empty_waits = 3;
  windows->Post([] {});
  windows->PlanClose();
  EXPECT_EQ(Wait(1), 6);
  EXPECT_EQ(Lines(log.begin(), log.begin() + 4), Lines(4, "wait frame1 5000"));
}

TEST_F(HyperWindows, AWaitOnOneWindowServesAllOfThem) {
  Open();
  Open();
  windows->Plan([this](MemoryWindows&, HWND) { Command(1, "other"); });
  windows->Plan([this](MemoryWindows&, HWND) { SendMessage(FrameOf(1), kClose, 0, 0); });
  windows->PlanCommand("awaited");
  EXPECT_EQ(Wait(2), 7);
  EXPECT_EQ(caller.Text("text"), "awaited");
  EXPECT_EQ(Wait(1), -1) << "closed meanwhile";
  EXPECT_EQ(caller.Text("text"), "");
}

TEST_F(HyperWindows, AWindowThatItsUserClosedStaysUntilItIsClosed) {
  Open();
  windows->PlanClose();
  EXPECT_EQ(Wait(1), 6);
  EXPECT_EQ(caller.Text("text"), "_close");
  EXPECT_EQ(caller.self.m_mapHyperWindow.size(), 1u);
  EXPECT_EQ(Wait(1), -1);
  EXPECT_EQ(caller.Text("text"), "");
  EXPECT_EQ(Close(1), 0);
  EXPECT_EQ(Close(1), -1);
  EXPECT_EQ(Open(), 2) << "no handle is given out again";
}

TEST_F(HyperWindows, WithoutAUserTheAwaitedWindowIsClosed) {
  Open();
  Open();
  EXPECT_EQ(Wait(1), 6);
  EXPECT_NE(caller.self.HyperWindowFromHandle(2), nullptr) << "only the one that is awaited";
}

TEST_F(HyperWindows, HandlesThatNameNoWindow) {
  Open();
  const std::pair<int32_t, int32_t> closings[] = {{2, -1}, {-1, -1},      {-65535, -1}, {65536, -1}, {INT_MAX, -1},
                                                  {0, 0},  {INT_MIN, -1}, {1, 0},       {1, -1}};
  for (const auto& [handle, result] : closings) EXPECT_EQ(Close(handle), result) << handle;
  for (const int32_t handle : {0, 1, 2, -1}) {
    EXPECT_EQ(Wait(handle), -1);
    EXPECT_EQ(caller.Call("MoveWindow", {handle, 1, 1, 1, 1}), -1);
    EXPECT_EQ(caller.Call("SetHyperFile", {handle, "b.htm"}), -1);
    EXPECT_EQ(caller.Call("SetTitle", {handle, "b"}), -1);
    EXPECT_EQ(caller.Call("PrintWindow", {handle}), -1);
    EXPECT_EQ(caller.Call("SetHyperMacro", {handle, "m", "v"}), -1);
    caller.self.GetVarString("text", *caller.self.SearchVar("text")->string);
    EXPECT_EQ(caller.Call("GetHyperMacro", {handle, "m", Ref{"text"}}), -1);
    EXPECT_EQ(caller.Text("text"), "");
  }
  EXPECT_EQ(caller.Refusal("SetTitle", {0, 5}), "函数SetTitle()参数2应当为string类型...");
  EXPECT_EQ(caller.Call("MoveWindow", {0, "x"}), -1) << "the others are not looked at";
  EXPECT_EQ(caller.Refusal("MoveWindow", {9, 1, 1, 1, "x"}), "函数MoveWindow()参数5应当为int或int64类型...");
}

TEST_F(HyperWindows, TheLowSixteenBitsOfAHandleCount) {
  caller.self.m_nNextHyperWindow = 65535;
  EXPECT_EQ(Open(), 65535);
  EXPECT_EQ(Open(), 65537) << "0 is the host's";
  EXPECT_EQ(caller.self.HyperWindowFromHandle(1), caller.self.HyperWindowFromHandle(65537));
  EXPECT_EQ(caller.self.HyperWindowFromHandle(-1), caller.self.HyperWindowFromHandle(65535));
  caller.self.m_nNextHyperWindow = 131071;
  const HWND before = FrameOf(65535);
  EXPECT_EQ(Open(), 131071);
  EXPECT_FALSE(IsWindow(before)) << "the older window with these bits is not lost, it is closed";
}

TEST_F(HyperWindows, MoveTakesTheSizeOfTheInsideOrNegatedOfTheFrame) {
  Open();
  const struct {
    int32_t width, height;
    const char* moved;
  } cases[] = {
      {400, 300, "move frame1 -5,7 402x321 repaint 1"},
      {-400, -300, "move frame1 -5,7 400x300 repaint 1"},
      {0, 0, "move frame1 -5,7 0x0 repaint 1"},
      {1, -1, "move frame1 -5,7 3x1 repaint 1"},
      {INT_MAX, INT_MIN, "move frame1 -5,7 2147483647x2147483647 repaint 1"},
  };
  for (const auto& c : cases) {
    Log();
    EXPECT_EQ(caller.Call("MoveWindow", {1, -5, int64_t{0x5'0000'0007}, c.width, c.height}), 1);
    EXPECT_EQ(log[0], c.moved);
  }
  caller.Call("MoveWindow", {1, 0, 0, 400, 300});
  EXPECT_EQ(windows->StateOf(ControlOf(1))->place.width, 400) << "the control fills the frame";
  EXPECT_EQ(windows->StateOf(ControlOf(1))->place.height, 300);
}

TEST_F(HyperWindows, SetTitleAndSetHyperFileReachTheirWindow) {
  Open();
  Open();
  Log();
  EXPECT_EQ(caller.Call("SetTitle", {1, "检索"}), 0);
  controls.show_answer = 42;
  EXPECT_EQ(caller.Call("SetHyperFile", {1, "b.htm"}), 42);
  EXPECT_EQ(Log(), (Lines{"title frame1 \"检索\"", "control1 gets 1030 0", "update control1", "focus control1",
                          "control2 gets 8 0", "control1 gets 7 0"}));
  EXPECT_EQ(controls.file, "b.htm");
}

TEST_F(HyperWindows, AFileIsOnTheDiskBeforeItIsShown) {
  const TempFolder folder;
  Open();
  std::string bytes_at_show;
  size_t open_at_show = 9;
  controls.at_show = [&] {
    bytes_at_show = FileBytes("page.htm");
    open_at_show = caller.self.m_mapCatchedFile.size();
  };
  caller.Call("FnCat", {"page.htm", "<p>"});
  EXPECT_EQ(caller.Call("SetHyperFile", {9, "page.htm"}), -1);
  EXPECT_EQ(caller.self.m_mapCatchedFile.size(), 1u);
  caller.Call("SetHyperFile", {1, "page.htm"});
  EXPECT_EQ(bytes_at_show, "<p>");
  EXPECT_EQ(open_at_show, 0u);
}

TEST_F(HyperWindows, TheControlsAnswersReachTheScript) {
  Open();
  controls.print_answer = -7;
  controls.set_answer = 5;
  controls.get_answer = 3;
  controls.macro_value = "值1";
  controls.print_flag = 9;
  EXPECT_EQ(caller.Call("PrintWindow", {1}), -7);
  EXPECT_EQ(controls.print_flag, 0);
  EXPECT_EQ(caller.Call("PrintWindow", {1, -2}), -7);
  EXPECT_EQ(controls.print_flag, -2);
  EXPECT_EQ(caller.Call("PrintWindow", {1, 3, "more"}), -7);
  EXPECT_EQ(controls.print_flag, 3);
  EXPECT_EQ(caller.Refusal("PrintWindow", {9, "x"}), "函数PrintWindow()参数2应当为int或int64类型...");
  EXPECT_EQ(caller.Call("SetHyperMacro", {1, "题名", ""}), 5);
  EXPECT_EQ(controls.macro_name + "=" + controls.set_value, "题名=");
  EXPECT_EQ(caller.Call("GetHyperMacro", {1, "k", Ref{"text"}}), 3);
  EXPECT_EQ(controls.macro_name, "k");
  EXPECT_EQ(controls.room, 4096);
  EXPECT_EQ(caller.Text("text"), "值1");
  controls.get_answer = -1;
  controls.macro_value = "other";
  EXPECT_EQ(caller.Call("GetHyperMacro", {1, "k", Ref{"text"}}), -1);
  EXPECT_EQ(caller.Text("text"), "值1") << "kept: the window is there, the macro is not";
}

TEST_F(HyperWindows, AControlThatEndsNoTextIsCutAtTheRoom) {
  Open();
  controls.fills_buffers = true;
  windows->PlanCommand("any");
  EXPECT_EQ(Wait(1), 4095);
  caller.Call("GetHyperMacro", {1, "k", Ref{"text"}});
  EXPECT_EQ(caller.Text("text"), std::string(4095, 'x'));
}

TEST_F(HyperWindows, OnlyTheControlsTwoNotificationsAreCommands) {
  Open();
  const struct {
    int id, code;
    bool is_command;
  } cases[] = {{100, 1, true},  {100, 4, true}, {100, 0, false}, {100, 2, false},
               {100, 5, false}, {99, 1, false}, {0, 4, false},   {100, 0x101, false}};
  for (const auto& c : cases) {
    CHyperWindow* window = caller.self.HyperWindowFromHandle(1);
    window->SetCmd("before");
    window->m_event.Reset();
    EXPECT_EQ(SendMessage(window->m_hFrame, kCommand, static_cast<MessageWord>(c.id | c.code << 16), 0), 0);
    EXPECT_EQ(window->m_event.Take(), c.is_command) << c.id << " " << c.code;
    EXPECT_EQ(window->m_strCmd, c.is_command ? "" : "before");
  }
  EXPECT_EQ(SendMessage(FrameOf(1), 2024, 0, 0), 1);
  SendMessage(FrameOf(1), kCommand, 100 | 1 << 16, 0);
  SendMessage(FrameOf(1), 9999, 0, 0);
  EXPECT_TRUE(IsWindow(FrameOf(1))) << "a frame without a window object stays harmless";
}

// A host's window that holds a control of the host's.
class HostFrame : public Window {
 public:
  HostFrame(Lines& log, std::string name) : log_(log), name_(std::move(name)) {}
  MessageLong OnMessage(unsigned message, MessageWord, MessageLong l) override {
    if (message != kSetHyperWindow) return 0;
    object = reinterpret_cast<CHyperWindow*>(l);
    log_.push_back(name_ + (l ? " has a window" : " has none"));
    return 1;
  }
  CHyperWindow* object = nullptr;

 private:
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
  EXPECT_EQ(host.frame->object, caller.self.HyperWindowFromHandle(0));
  EXPECT_EQ(caller.Call("SetTitle", {0, "x"}), -1);
  EXPECT_EQ(caller.Call("MoveWindow", {0, 1, 1, 1, 1}), -1);
  controls.show_answer = controls.set_answer = controls.print_answer = controls.get_answer = 8;
  EXPECT_EQ(caller.Call("SetHyperFile", {0, "h.htm"}), 8);
  EXPECT_EQ(caller.Call("SetHyperMacro", {0, "m", "v"}), 8);
  EXPECT_EQ(caller.Call("GetHyperMacro", {0, "m", Ref{"text"}}), 8);
  EXPECT_EQ(caller.Call("PrintWindow", {0}), 8);
  windows->Post([&] { host.frame->object->SetCmd("from the host"); });
  EXPECT_EQ(Wait(0), 13);
  EXPECT_EQ(Close(0), 0);
  EXPECT_EQ(Close(65536), -1);
  EXPECT_EQ(caller.self.HyperWindowFromHandle(65536), nullptr);
  EXPECT_EQ(Open(), 1);
  Log();
  caller.self.CloseAllHyperWindow();
  EXPECT_EQ(log[0], "host has none");
  EXPECT_TRUE(IsWindow(host.control)) << "the host's windows are the host's";
  EXPECT_EQ(Wait(0), -1);
}

TEST_F(HyperWindows, AnotherDefaultWindowTakesThePlaceOfTheFirst) {
  const HostControl first(log, controls, "first");
  const HostControl second(log, controls, "second");
  caller.self.SetDefaultHyperWindow(first.control);
  caller.self.SetDefaultHyperWindow(second.control);
  EXPECT_EQ(Log(), (Lines{"first has a window", "first has none", "second has a window"}));
  caller.self.SetDefaultHyperWindow(nullptr);
  EXPECT_EQ(Log(), (Lines{"second has none"}));
  EXPECT_EQ(caller.Call("SetHyperFile", {0, "h.htm"}), 0) << "a window with nothing in it";
}

TEST_F(HyperWindows, AHostMayTakeTheAwaitedWindowAway) {
  const HostControl host(log, controls, "host");
  caller.self.SetDefaultHyperWindow(host.control);
  windows->Post([&] { caller.self.SetDefaultHyperWindow(nullptr); });
  EXPECT_EQ(Wait(0), -1);
  Open();
  windows->Plan([&](MemoryWindows&, HWND) { caller.self.CloseHyperWindow(1); });
  EXPECT_EQ(Wait(1), -1);
  Open();
  windows->Plan([&](MemoryWindows&, HWND) { caller.self.CloseAllHyperWindow(); });
  EXPECT_EQ(Wait(2), -1);
  EXPECT_EQ(caller.Text("text"), "");
}

TEST_F(HyperWindows, AStopEndsAWaitThatNobodyAnswers) {
  const HostControl host(log, controls, "host");
  caller.self.SetDefaultHyperWindow(host.control);
  std::thread stopper([&] {
    std::this_thread::yield();
    caller.self.Stop();
  });
  EXPECT_EQ(Wait(0), -1);
  stopper.join();
  EXPECT_EQ(Close(0), 0);
}

TEST_F(HyperWindows, OtherThreadsPostAndEndAWaitAtOnce) {
  Open();
  windows->Plan([](MemoryWindows&, HWND) {});  // the planned user does nothing; then the frame would be closed
  constexpr int kPosts = 200;
  int arrived = 0;
  std::thread poster([&] {
    for (int i = 0; i < kPosts; ++i) windows->Post([&] { ++arrived; });
    windows->Post([&] { Command(1, "done"); });
  });
  poster.join();
  EXPECT_EQ(Wait(1), 4);
  EXPECT_EQ(arrived, kPosts);
}

}  // namespace
}  // namespace karst::testing

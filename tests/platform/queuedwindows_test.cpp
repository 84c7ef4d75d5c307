// Parents and children in the table of windows, and the window system that keeps its windows in memory.
#include "platform/queuedwindows.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/hypermessages.h"
#include "platform/memorywindows.h"

namespace karst {
namespace {

class Mourner : public Window {
 public:
  Mourner(std::string& log, char name) : log_(log), name_(name) {}
  ~Mourner() override { log_ += '-'; }
  MessageLong OnMessage(unsigned, MessageWord, MessageLong) override { return 1; }
  void OnDestroy() override {
    log_ += name_;
    if (!self) return;
    EXPECT_TRUE(IsWindow(self));
    EXPECT_EQ(GetChild(self, 5) != nullptr, has_child) << "children are told after their parent";
    EXPECT_FALSE(DestroyWindow(self)) << "it is going already";
  }
  HWND self = nullptr;
  bool has_child = false;

 private:
  std::string& log_;
  char name_;
};

TEST(Window, ChildrenGoWithTheirParent) {
  std::string log;
  auto owned = std::make_unique<Mourner>(log, 'p');
  Mourner* parent_window = owned.get();
  const HWND parent = AddWindow(std::move(owned));
  parent_window->self = parent;
  parent_window->has_child = true;
  const HWND child = AddWindow(std::make_unique<Mourner>(log, 'c'), parent, 5);
  const HWND twin = AddWindow(std::make_unique<Mourner>(log, 't'), parent, 5);
  const HWND grandchild = AddWindow(std::make_unique<Mourner>(log, 'g'), child, 5);
  EXPECT_EQ(GetChild(parent, 5), child);
  EXPECT_EQ(GetChild(parent, 6), nullptr);
  EXPECT_EQ(GetChild(nullptr, 5), nullptr);
  EXPECT_EQ(GetParent(grandchild), child);
  EXPECT_EQ(GetParent(parent), nullptr);
  EXPECT_TRUE(DestroyWindow(child));
  EXPECT_EQ(log, "cg--");
  EXPECT_EQ(GetChild(parent, 5), twin);
  EXPECT_EQ(GetParent(grandchild), nullptr);
  EXPECT_TRUE(DestroyWindow(parent));
  EXPECT_EQ(log, "cg--pt--");
}

// A child that takes its parent with it.
TEST(Window, DestroyingTheParentFromItsChild) {
  struct Rebel : Window {
    MessageLong OnMessage(unsigned, MessageWord, MessageLong) override { return 0; }
    void OnDestroy() override { EXPECT_TRUE(DestroyWindow(parent)); }
    HWND parent = nullptr;
  };
  const HWND parent = AddWindow(std::make_unique<MemoryTextControl>());
  auto owned = std::make_unique<Rebel>();
  owned->parent = parent;
  const HWND child = AddWindow(std::move(owned), parent, 1);
  EXPECT_TRUE(DestroyWindow(child));
  EXPECT_FALSE(IsWindow(parent));
  EXPECT_FALSE(IsWindow(child));
}

MessageLong create_answer = 0;

MessageLong Procedure(WindowSystem& system, HWND self, unsigned message, MessageWord w, MessageLong l) {
  if (message == kCreate) return create_answer;
  return system.DefaultProcedure(self, message, w, l);
}

TEST(QueuedWindows, MakesOnlyWhatItKnows) {
  QueuedWindows windows([] { return std::make_unique<MemoryTextControl>(); });
  const WindowPlan frame{"Frame", "", 0, 0, {0, 0, 100, 100}};
  const WindowPlan control{kHyperControlClass, "", 0, 0, {}};
  EXPECT_EQ(windows.CreateWindow(frame), nullptr);
  EXPECT_EQ(windows.CreateWindow(control), nullptr) << "the library is not loaded";
  EXPECT_TRUE(windows.RegisterClass({"Frame", 0, 0, 0, Procedure}));
  EXPECT_FALSE(windows.RegisterClass({"Frame", 0, 0, 0, Procedure}));
  EXPECT_TRUE(windows.LoadControlLibrary(kHyperControlLibrary));
  EXPECT_TRUE(IsWindow(windows.CreateWindow(frame)));
  EXPECT_TRUE(IsWindow(windows.CreateWindow(control)));
  create_answer = -1;
  EXPECT_EQ(windows.CreateWindow(frame), nullptr) << "the window refuses";
  create_answer = 0;
  windows.UnregisterClass("Frame");
  windows.FreeControlLibrary();
  EXPECT_EQ(windows.CreateWindow(frame), nullptr);
  EXPECT_EQ(windows.CreateWindow(control), nullptr);
  EXPECT_FALSE(QueuedWindows(nullptr).LoadControlLibrary(kHyperControlLibrary));
}

TEST(QueuedWindows, AreHarmlessForHandlesThatAreNotTheirs) {
  QueuedWindows windows(nullptr);
  const HWND foreign = AddWindow(std::make_unique<MemoryTextControl>());
  for (const HWND window : {HWND{}, foreign}) {
    windows.ShowWindow(window, kShow);
    windows.SetFocus(window);
    windows.SetWindowTitle(window, "x");
    windows.SetWindowPointer(window, &windows);
    EXPECT_EQ(windows.WindowPointer(window), nullptr);
    EXPECT_EQ(windows.MoveWindow(window, {1, 1, 1, 1}, true), 0);
    EXPECT_EQ(windows.ClientPlace(window).width, 0);
    EXPECT_EQ(windows.Focus(), nullptr);
  }
  DestroyWindow(foreign);
}

TEST(QueuedWindows, TheirEndIsTheEndOfTheirWindowsAndPosts) {
  bool ran = false;
  HWND frame = nullptr;
  {
    QueuedWindows windows(nullptr);
    windows.RegisterClass({"Frame", 0, 0, 0, Procedure});
    frame = windows.CreateWindow({"Frame", "", 0, 0, {0, 0, 1, 1}});
    EXPECT_EQ(windows.ClientPlace(frame).width, 0) << "smaller than its borders";
    windows.Post([&] { ran = true; });
  }
  EXPECT_FALSE(IsWindow(frame));
  EXPECT_FALSE(ran);
}

TEST(QueuedWindows, AnEventComesBeforeWhatIsPosted) {
  QueuedWindows windows(nullptr);
  AutoResetEvent event;
  event.Signal();
  windows.Post([] {});
  EXPECT_TRUE(windows.Wait(event, nullptr, 5000));
  EXPECT_FALSE(windows.Wait(event, nullptr, 5000)) << "it was taken, and the post ends the wait";
  EXPECT_TRUE(windows.DispatchNext());
  EXPECT_FALSE(windows.DispatchNext());
  EXPECT_FALSE(windows.Wait(event, nullptr, 0));
}

TEST(MemoryWindows, TheUserResizesTheInside) {
  MemoryWindows windows(nullptr);
  windows.RegisterClass({"Frame", 0, 0, 0, Procedure});
  const HWND frame = windows.CreateWindow({"Frame", "", 0, 0, {7, 8, 50, 50}});
  AutoResetEvent event;
  windows.PlanResize(200, 100);
  EXPECT_FALSE(windows.Wait(event, frame, 5000));
  EXPECT_EQ(windows.ClientPlace(frame).width, 50 - 2) << "a step is dispatched, not taken inside the wait";
  while (windows.DispatchNext()) continue;
  EXPECT_EQ(windows.ClientPlace(frame).width, 200);
  EXPECT_EQ(windows.ClientPlace(frame).height, 100);
  EXPECT_EQ(windows.StateOf(frame)->place.left, 7);
}

}  // namespace
}  // namespace karst

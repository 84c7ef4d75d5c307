// Parents and children in the table of windows, and the window system that keeps its windows in memory.
#include "windows/queuedwindows.h"

#include <gtest/gtest.h>

#include <string>

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
  AddWindow(std::make_unique<Mourner>(log, 'g'), child, 5);
  EXPECT_EQ(GetChild(parent, 5), child);
  EXPECT_EQ(GetChild(parent, 6), nullptr);
  EXPECT_EQ(GetParent(twin), parent);
  EXPECT_TRUE(DestroyWindow(child));
  EXPECT_EQ(log, "cg--");
  EXPECT_EQ(GetChild(parent, 5), twin);
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

MessageLong Procedure(WindowSystem&, HWND, unsigned message, MessageWord, MessageLong l) {
  return message == kCreate && reinterpret_cast<Creation*>(l)->plan->id == 9 ? -1 : 0;
}

TEST(QueuedWindows, TheirEndIsTheEndOfTheirWindowsAndPosts) {
  bool ran = false;
  HWND frame = nullptr;
  {
    QueuedWindows windows(nullptr);
    windows.RegisterClass({"Frame", 0, 0, 0, Procedure});
    frame = windows.CreateWindow({"Frame", "", 0, 0, {0, 0, 1, 1}});
    EXPECT_EQ(windows.ClientPlace(frame).width, 0) << "smaller than its borders";
    EXPECT_EQ(windows.CreateWindow({"Frame", "", 0, 0, {}, nullptr, 9}), nullptr) << "the window refuses";
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

}  // namespace
}  // namespace karst

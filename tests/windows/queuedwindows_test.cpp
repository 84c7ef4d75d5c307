// The window system that keeps its windows in memory and its work in a queue.
#include "windows/queuedwindows.h"

#include <gtest/gtest.h>

namespace karst {
namespace {

int sizes_sent = 0;

MessageLong Procedure(WindowSystem&, HWND, unsigned message, MessageWord, MessageLong l) {
  sizes_sent += message == kSize;
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

TEST(QueuedWindows, SendASizeWhereItChanged) {
  QueuedWindows windows(nullptr);
  windows.RegisterClass({"Frame", 0, 0, 0, Procedure});
  const HWND frame = windows.CreateWindow({"Frame", "", 0, 0, {0, 0, 50, 50}});
  sizes_sent = 0;
  for (const Place& place : {Place{0, 0, 50, 60}, {0, 0, 70, 60}, {5, 5, 70, 60}})
    windows.MoveWindow(frame, place, true);
  EXPECT_EQ(sizes_sent, 2);
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

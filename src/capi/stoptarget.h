// StopTarget: leads a stop request to the interpreter that is running, without a lock, so that a signal handler may use
// it.
#pragma once

#include <atomic>
#include <thread>

#include "runstate/runable.h"

namespace karst::capi {

class StopTarget {
 public:
  // Any thread. Nothing happens where nothing runs.
  void Stop() {
    ++callers_;
    if (CRunable* running = running_) running->Stop();
    --callers_;
  }

  // The interpreter can be stopped while the object lives, and nothing that begins in it meanwhile withdraws that.
  class Scope {
   public:
    Scope(StopTarget& target, CRunable& running) : target_(target), held_(running) { target_.running_ = &running; }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    // Waits for a request that still holds the interpreter: a few instructions of another thread.
    ~Scope() {
      target_.running_ = nullptr;
      while (target_.callers_ != 0) std::this_thread::yield();
    }

   private:
    StopTarget& target_;
    const CRunable::StopsHeld held_;
  };

 private:
  std::atomic<CRunable*> running_{nullptr};
  std::atomic<int> callers_{0};
  static_assert(std::atomic<CRunable*>::is_always_lock_free && std::atomic<int>::is_always_lock_free);
};

}  // namespace karst::capi

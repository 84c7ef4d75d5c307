// The stop request, kept where a signal handler may touch it: lock-free atomics and calls that are safe there.
//
// An engine forgets a request in some places: a run withdraws it when it starts, and a level of nesting that opens at
// the very moment hides it. So a timer repeats the request until the run has ended.
#include "stop_request.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <ctime>
#include <stdexcept>

namespace karst::cli {
namespace {

constexpr long kRepeatNanoseconds = 10'000'000;

std::array<std::atomic<CRunable*>, kMostEngines> running{};
std::atomic<bool> requested{false};
std::atomic<int> stop_signal{0};
timer_t repeat_timer;
std::atomic<bool> has_timer{false};

void StopRunning() {
  for (const auto& place : running) {
    if (CRunable* engine = place.load()) engine->Stop();
  }
}

void SetTimer(long nanoseconds) {
  if (!has_timer.load()) return;
  itimerspec interval{};
  interval.it_value.tv_nsec = nanoseconds;
  interval.it_interval.tv_nsec = nanoseconds;
  timer_settime(repeat_timer, 0, &interval, nullptr);
}

void OnStopSignal(int signal) {
  stop_signal.store(signal);
  RequestStop();
}

void OnTimer(int) { StopRunning(); }

void Handle(int signal, void (*handler)(int), int flags) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

bool IsIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

StoppableRun::StoppableRun(CRunable& engine) : place_(0) {
  while (place_ < kMostEngines && running[place_].load()) ++place_;
  if (place_ == kMostEngines) throw std::length_error("too many engines");
  running[place_].store(&engine);
  if (requested.load()) RequestStop();
}

StoppableRun::~StoppableRun() {
  running[place_].store(nullptr);
  const bool last = std::all_of(running.begin(), running.end(), [](const auto& place) { return !place.load(); });
  if (last) SetTimer(0);
}

void InstallSignalHandlers() {
  sigevent event{};
  event.sigev_notify = SIGEV_SIGNAL;
  event.sigev_signo = SIGALRM;
  has_timer.store(timer_create(CLOCK_MONOTONIC, &event, &repeat_timer) == 0);
  Handle(SIGPIPE, SIG_IGN, 0);
  Handle(SIGALRM, OnTimer, SA_RESTART);
  Handle(SIGINT, OnStopSignal, SA_RESTART | SA_RESETHAND);
  Handle(SIGTERM, OnStopSignal, SA_RESTART | SA_RESETHAND);
  if (!IsIgnored(SIGHUP)) Handle(SIGHUP, OnStopSignal, SA_RESTART | SA_RESETHAND);
}

void RequestStop() {
  requested.store(true);
  StopRunning();
  SetTimer(kRepeatNanoseconds);
}

bool StopRequested() { return requested.load(); }
int StopSignal() { return stop_signal.load(); }

}  // namespace karst::cli

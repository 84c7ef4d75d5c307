// The stop request, kept where a signal handler may touch it: lock-free atomics.
#include "cli/base/stop_request.h"

#include <array>
#include <atomic>
#include <csignal>
#include <stdexcept>

namespace karst::cli {
namespace {

std::array<std::atomic<CRunable*>, kMostEngines> running{};
std::atomic<bool> requested{false};
std::atomic<int> stop_signal{0};

void OnStopSignal(int signal) {
  stop_signal.store(signal);
  RequestStop();
}

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

StoppableRun::StoppableRun(CRunable& engine) : held_(engine), place_(0) {
  while (place_ < kMostEngines && running[place_].load()) ++place_;
  if (place_ == kMostEngines) throw std::length_error("too many engines");
  running[place_].store(&engine);
  if (requested.load()) engine.Stop();
}

StoppableRun::~StoppableRun() { running[place_].store(nullptr); }

void InstallSignalHandlers() {
  Handle(SIGPIPE, SIG_IGN, 0);
  Handle(SIGXFSZ, SIG_IGN, 0);
  Handle(SIGINT, OnStopSignal, SA_RESTART | SA_RESETHAND);
  Handle(SIGTERM, OnStopSignal, SA_RESTART | SA_RESETHAND);
  if (!IsIgnored(SIGHUP)) Handle(SIGHUP, OnStopSignal, SA_RESTART | SA_RESETHAND);
}

void RequestStop() {
  requested.store(true);
  for (const auto& place : running) {
    if (CRunable* engine = place.load()) engine->Stop();
  }
}

bool StopRequested() { return requested.load(); }
int StopSignal() { return stop_signal.load(); }

}  // namespace karst::cli

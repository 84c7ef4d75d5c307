// Ending a run early: by Ctrl-C, by another signal, or because its output cannot be written.
#pragma once

#include "runstate/runable.h"

namespace karst::cli {

// LIMIT: so many engines can be stopped at a time.
constexpr int kMostEngines = 72;

// An engine that a stop reaches, as long as the object lives; nothing that begins in the engine meanwhile withdraws it.
// Objects are made and destroyed on the thread that gets the signals: a handler may look at the engine at any moment.
class StoppableRun {
 public:
  explicit StoppableRun(CRunable& engine);
  StoppableRun(const StoppableRun&) = delete;
  StoppableRun& operator=(const StoppableRun&) = delete;
  ~StoppableRun();

 private:
  const CRunable::StopsHeld held_;
  int place_;
};

// From here on SIGINT, SIGTERM and SIGHUP ask the engine to stop; the second signal of a kind ends the process at
// once, also where a read waits for data. SIGPIPE and SIGXFSZ are ignored: a write to a closed pipe, or past the
// largest size of a file, fails instead.
void InstallSignalHandlers();

// Asks the running engine, and each that comes after it, to stop.
void RequestStop();
bool StopRequested();
// The signal that asked for it, 0 if none did.
int StopSignal();

}  // namespace karst::cli

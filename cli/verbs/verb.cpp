// The end that the runs of all verbs have.
#include "cli/verbs/verb.h"

#include <exception>
#include <new>

#include "cli/base/exit_status.h"
#include "cli/base/stop_request.h"

namespace karst::cli {
namespace {

int Guarded(Console& console, const std::function<int()>& body) {
  try {
    return body();
  } catch (const HostError& error) {
    if (*error.what()) console.Say(error.what());
    return error.Status();
  } catch (const std::bad_alloc&) {
    console.Say(kNoMemoryText);
    return kOutOfMemory;
  } catch (const std::exception& error) {
    console.Say(std::string("the run failed: ") + error.what());
    return StatusOf(-1);
  }
}

}  // namespace

int RunToEnd(Console& console, const std::function<int()>& body) {
  const int status = Guarded(console, body);
  if (const int lost = console.Finish()) return lost;
  if (StopSignal() == 0) return status;
  console.Say("interrupted");
  return kSignalBase + StopSignal();
}

}  // namespace karst::cli

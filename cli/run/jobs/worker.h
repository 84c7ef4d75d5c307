// One engine that runs its share of the records, on a thread of its own.
#pragma once

#include <thread>

#include "cli/base/console.h"
#include "cli/base/source_file.h"
#include "cli/base/stop_request.h"
#include "cli/run/jobs/batch_queue.h"
#include "cli/run/jobs/delayed_output.h"
#include "cli/run/jobs/variable_state.h"

namespace karst::cli {

class Worker {
 public:
  explicit Worker(Console& console);
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  // The queue is closed by then.
  ~Worker() { Join(); }

  CMARCTree& Tree() { return tree_; }
  // Loads and builds the filter, which another engine has built already, and runs its code before the records.
  // Nothing of what that code writes comes out. Gives what the filter throws. HostError if it cannot be built again.
  void Prepare(const SourceFile& filter);
  // Takes batches from the queue until there are none, or until the walk over the records ends.
  void Start(BatchQueue& queue);
  void Join();
  // After a run: what records changed of the variables and tables that were there before them.
  void AddChanges(std::vector<std::string>& names) { state_.AddChanges(tree_, names); }

 private:
  void Work(BatchQueue& queue);

  CMARCTree tree_;
  StoppableRun stoppable_;
  DelayedOutput files_;
  CCell* records_ = nullptr;  // the first Record cell; null in the old style
  VariableState state_;
  std::thread thread_;
};

}  // namespace karst::cli

// A filter's run over one file in which several engines share the records.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "cli/records/reading_report.h"
#include "cli/run/filter_input.h"
#include "cli/run/jobs/worker.h"
#include "cli/run/named_output.h"
#include "cli/run/progress.h"

namespace karst::cli {

// What the run needs from outside; all of it outlives the run.
struct SharedRunSetup {
  Console& console;
  const SourceFile& filter;
  CMARCTree& tree;  // the first engine, with its tree built
  FilterInput& records;
  ReadingReport& report;
  Progress& progress;
  NamedOutput& named_output;
};

// The first engine runs the code before the records and the closing code, and what it writes is written as ever. The
// records are run by workers, which have run the code before the records too. What they write is held back until it
// is its turn, so that all comes out as one engine would write it; of a run that ends at some record, what the records
// after it did is dropped.
//
// LIMIT: what is written by handle (Write, fprintf) and what is deleted or emptied by Open is done at once, out of
// order. What the records in work write is held in memory.
class SharedRun {
 public:
  SharedRun(const SharedRunSetup& setup, int jobs);
  SharedRun(const SharedRun&) = delete;
  SharedRun& operator=(const SharedRun&) = delete;
  ~SharedRun();

  // The run's result, as CMARCTree::RunMARCTree gives it. Where a script failed, it gives what was thrown, and
  // FailedEngine() is the engine.
  int Run();
  CMARCTree& FailedEngine() { return *failed_engine_; }
  // True if the run came to the end of the records, and not to one at which it ended.
  bool RanAll() const { return !ended_; }
  // How far the reading had come at the last record that ran.
  const ReadState& Reached() const { return reached_; }
  // The variables and tables that records changed, after a run that came to its end.
  const std::vector<std::string>& Changes() const { return changes_; }

 private:
  void Prepare();
  void ThrowFailure();
  void StartWorkers();
  void Deal();
  bool Read();
  void Write(const RecordBatch& batch);
  void WriteStopped();
  void Finish();
  void StopWorkers();

  SharedRunSetup setup_;
  BatchQueue queue_;  // outlives the workers
  std::vector<std::unique_ptr<Worker>> workers_;
  std::vector<std::unique_ptr<RecordBatch>> free_batches_;
  size_t most_in_flight_;
  RecordBatch* reading_ = nullptr;
  uint64_t records_read_ = 0;
  bool more_ = true;    // the reader has not come to the end
  bool ended_ = false;  // the walk over the records ended at a record
  ReadState reached_;
  int result_ = 0;
  std::exception_ptr failure_;  // what a worker threw
  CMARCTree* failure_engine_ = nullptr;
  CMARCTree* failed_engine_;
  std::vector<std::string> changes_;
};

}  // namespace karst::cli

// Batches on their way from the reader to the engines and back, in the order of the records.
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

#include "cli/run/jobs/record_batch.h"

namespace karst::cli {

// One reader, several workers. A batch belongs to the reader until it is put in, to one worker from Next until that
// worker comes back, and to the reader again once it is taken out.
class BatchQueue {
 public:
  // The reader's side.

  void Put(std::unique_ptr<RecordBatch> batch);
  size_t InFlight() const;
  // Takes out the oldest batch if it is done. Waits for that if asked to, as long as anybody works on it. Null if there
  // is none, or if it will never be done.
  std::unique_ptr<RecordBatch> TakeDone(bool wait);
  // No batch comes any more, and those that nobody has begun are dropped: workers that come back are sent home.
  void Close();
  // Returns when all workers have left.
  void WaitForAll();

  // The workers' side.

  void Enter();
  // Gives back the batch that is done (null at first) and waits for the next; null if there is none any more.
  RecordBatch* Next(RecordBatch* done);
  // For good, with the batch that the worker was at (null: none).
  void Leave(RecordBatch* last);

 private:
  mutable std::mutex mutex_;
  std::condition_variable work_;     // there is a batch to begin, or none will come
  std::condition_variable results_;  // the oldest batch is done, or a worker has left
  std::deque<std::unique_ptr<RecordBatch>> in_flight_;
  size_t begun_ = 0;  // how many of them were given to workers
  int workers_ = 0;
  bool closed_ = false;
};

}  // namespace karst::cli

// BatchQueue: a monitor.
#include "cli/run/jobs/batch_queue.h"

namespace karst::cli {

void BatchQueue::Put(std::unique_ptr<RecordBatch> batch) {
  {
    const std::lock_guard lock(mutex_);
    in_flight_.push_back(std::move(batch));
  }
  work_.notify_one();
}

size_t BatchQueue::InFlight() const {
  const std::lock_guard lock(mutex_);
  return in_flight_.size();
}

std::unique_ptr<RecordBatch> BatchQueue::TakeDone(bool wait) {
  std::unique_lock lock(mutex_);
  const auto is_done = [this] { return !in_flight_.empty() && in_flight_.front()->done; };
  if (wait) results_.wait(lock, [&] { return in_flight_.empty() || is_done() || workers_ == 0; });
  if (!is_done()) return nullptr;
  auto batch = std::move(in_flight_.front());
  in_flight_.pop_front();
  --begun_;
  return batch;
}

void BatchQueue::Close() {
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    in_flight_.resize(begun_);
  }
  work_.notify_all();
}

void BatchQueue::WaitForAll() {
  std::unique_lock lock(mutex_);
  results_.wait(lock, [this] { return workers_ == 0; });
}

void BatchQueue::Enter() {
  const std::lock_guard lock(mutex_);
  ++workers_;
}

RecordBatch* BatchQueue::Next(RecordBatch* done) {
  std::unique_lock lock(mutex_);
  if (done) {
    done->done = true;
    if (in_flight_.front().get() == done) results_.notify_one();
  }
  work_.wait(lock, [this] { return closed_ || begun_ < in_flight_.size(); });
  return begun_ < in_flight_.size() ? in_flight_[begun_++].get() : nullptr;
}

void BatchQueue::Leave(RecordBatch* last) {
  const std::lock_guard lock(mutex_);
  if (last) last->done = true;
  --workers_;
  results_.notify_one();
}

}  // namespace karst::cli

// SharedRun: the reader's and writer's side, on the thread that it is called on.
#include "cli/run/jobs/shared_run.h"

#include <algorithm>

#include "cli/base/exit_status.h"
#include "cli/base/stop_request.h"

namespace karst::cli {
namespace {

constexpr size_t kBatchesForEach = 4;
constexpr size_t kMostRecords = 256;
constexpr size_t kFewRecords = 8;
constexpr uint64_t kRecordsOfOneSize = 256;

// What NextRecord gives, as far as reading goes on.
constexpr int kCame = 0;
constexpr int kPassedOver = 2;

// Small batches at first, so that a short file is shared out too.
size_t BatchSize(uint64_t records_read) {
  return std::min(kMostRecords, kFewRecords * (1 + static_cast<size_t>(records_read / kRecordsOfOneSize)));
}

}  // namespace

SharedRun::SharedRun(const SharedRunSetup& setup, int jobs)
    : setup_(setup), most_in_flight_(static_cast<size_t>(jobs) * kBatchesForEach), failed_engine_(&setup.tree) {
  setup.tree.KeepFilesApart();
  for (int i = 0; i < jobs; ++i) workers_.push_back(std::make_unique<Worker>(setup.console));
  setup.records.OnSkippedRecord([this](const SkippedRecord& skipped) { reading_->AddStretch(skipped); });
}

SharedRun::~SharedRun() {
  ended_ = true;
  Finish();
  setup_.records.OnSkippedRecord({});
}

int SharedRun::Run() {
  Prepare();
  CMARCTree& first = setup_.tree;
  if (!first.m_bOldStyle && !first.RunUntilRecords()) {
    first.RunBehindRecords();
    return 0;
  }
  ThrowFailure();
  StartWorkers();
  Deal();
  Finish();
  ThrowFailure();
  if (!ended_) {
    for (const auto& worker : workers_) worker->AddChanges(changes_);
  }
  if (first.m_bOldStyle) return result_;
  first.m_nRecordCount = static_cast<int32_t>(reached_.records);
  first.RunBehindRecords();
  return 0;
}

// What fails in a worker is told after what the first engine writes, if that one does not fail itself.
void SharedRun::Prepare() {
  for (const auto& worker : workers_) {
    try {
      worker->Prepare(setup_.filter);
    } catch (const HostError&) {
      throw;
    } catch (...) {
      failure_ = std::current_exception();
      failure_engine_ = &worker->Tree();
      return;
    }
  }
}

void SharedRun::ThrowFailure() {
  if (!failure_) return;
  failed_engine_ = failure_engine_;
  std::rethrow_exception(failure_);
}

void SharedRun::StartWorkers() {
  for (const auto& worker : workers_) worker->Start(queue_);
}

void SharedRun::Deal() {
  while (!StopRequested()) {
    const bool has_room = more_ && queue_.InFlight() < most_in_flight_;
    if (auto batch = queue_.TakeDone(!has_room)) {
      Write(*batch);
      if (ended_) return;
      free_batches_.push_back(std::move(batch));
    } else if (has_room) {
      more_ = Read();
    } else {
      return;
    }
  }
  WriteStopped();
}

// Puts a batch into the queue. False at the end of the records.
bool SharedRun::Read() {
  std::unique_ptr<RecordBatch> batch;
  if (free_batches_.empty()) {
    batch = std::make_unique<RecordBatch>();
  } else {
    batch = std::move(free_batches_.back());
    free_batches_.pop_back();
  }
  batch->Begin(records_read_);
  reading_ = batch.get();
  const size_t most = BatchSize(records_read_);
  int came = kCame;
  for (CString record; batch->Count() < most && !batch->IsFull();) {
    came = setup_.records.NextRecord(record);
    if (came != kCame && came != kPassedOver) break;
    if (came == kCame) batch->AddRecord(record.view(), setup_.records.State());
  }
  records_read_ += batch->Count();
  batch->behind = setup_.records.State();
  queue_.Put(std::move(batch));
  return came == kCame || came == kPassedOver;
}

void SharedRun::Write(const RecordBatch& batch) {
  for (const RecordBatch::Stretch& stretch : batch.Stretches()) {
    if (batch.ended && stretch.before >= batch.ran) break;
    setup_.report.Take({stretch.offset, stretch.bytes, stretch.reason.c_str()});
  }
  setup_.console.Replay(batch.log, [this](const OutputLog::Entry& entry) { setup_.named_output.DeliverLate(entry); });
  reached_ = batch.Reached();
  setup_.progress.Update(reached_, setup_.records.ByteSize());
  if (!batch.ended) return;
  ended_ = true;
  result_ = batch.result;
  failure_ = batch.failure;
  failure_engine_ = batch.engine;
}

// Behind a stop request the workers end where they are; what they did up to there comes out, as far as it is whole.
void SharedRun::WriteStopped() {
  StopWorkers();
  while (!ended_) {
    const auto batch = queue_.TakeDone(false);
    if (!batch) break;
    Write(*batch);
  }
  ended_ = true;
}

// After a walk that ended early the workers are at records that one engine would not have come to.
void SharedRun::Finish() {
  if (ended_) {
    StopWorkers();
  } else {
    queue_.Close();
  }
  for (const auto& worker : workers_) worker->Join();
}

void SharedRun::StopWorkers() {
  queue_.Close();
  for (const auto& worker : workers_) worker->Tree().Stop();
  queue_.WaitForAll();
}

}  // namespace karst::cli

// Worker: a stream over batches under an engine.
#include "cli/run/jobs/worker.h"

#include <csignal>

#include "cli/base/exit_status.h"
#include "cli/run/database/record_database.h"
#include "hyper/hypermodule.h"
#include "windows/queuedwindows.h"

namespace karst::cli {
namespace {

// Gives the records of one batch after the other, and turns what is written to the batch that they are from.
class BatchStream : public CMARCStream {
 public:
  BatchStream(BatchQueue& queue, CMARCTree& tree) : queue_(queue), tree_(tree) {}

  int Open(const CString&) override { return -1; }
  int Close() override { return -1; }
  int NextRecord(CString& record) override {
    while (!batch_ || batch_->ran == batch_->Count()) {
      Console::Divert(nullptr);
      batch_ = queue_.Next(batch_);
      if (!batch_) return 1;
      Console::Divert(&batch_->log);
    }
    tree_.m_nRecordCount = static_cast<int32_t>(batch_->FirstRecord() + batch_->ran);
    text_ = batch_->Text(batch_->ran++);
    record = text_;
    return 0;
  }
  const char* GetCurRec() override { return text_; }

  // The batch that is not done; null after a normal end.
  RecordBatch* Unfinished() const { return batch_; }

 private:
  BatchQueue& queue_;
  CMARCTree& tree_;
  RecordBatch* batch_ = nullptr;
  const char* text_ = "";
};

// Signals are for the thread that owns the engines.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_;
};

}  // namespace

Worker::Worker(Console& console) : stoppable_(tree_), files_(tree_) {
  console.Connect(tree_);
  RecordDatabases::Connect(tree_);
  // Windows belong to the thread that owns the first engine; here they cannot be opened.
  tree_.UseHyperModule(std::make_shared<HyperModule>(std::make_unique<QueuedWindows>(nullptr)));
  tree_.KeepFilesApart();
}

void Worker::Prepare(const SourceFile& filter) {
  OutputLog nowhere;
  nowhere.Discard();
  const Diversion diversion(nowhere);
  filter.LoadInto(tree_);
  if (tree_.BuildMARCTree() == -1) {
    throw HostError(kWrongUsage, filter.Shown() + " cannot be built several times, as --jobs does");
  }
  if (tree_.m_bOldStyle) return;
  records_ = tree_.RunUntilRecords();
  state_.Take(tree_);
}

void Worker::Start(BatchQueue& queue) {
  const BlockedSignals blocked;
  queue.Enter();
  try {
    thread_ = std::thread([this, &queue] { Work(queue); });
  } catch (...) {
    queue.Leave(nullptr);
    throw;
  }
}

void Worker::Work(BatchQueue& queue) {
  BatchStream stream(queue, tree_);
  int result = 0;
  std::exception_ptr failure;
  try {
    result = tree_.m_bOldStyle ? tree_.RunMARCTreeOldStyle(&stream) : records_ ? tree_.RunRecord(records_, &stream) : 0;
  } catch (...) {
    failure = std::current_exception();
  }
  Console::Divert(nullptr);
  RecordBatch* const last = stream.Unfinished();
  if (last) {
    last->ended = true;
    last->result = result;
    last->failure = failure;
    last->engine = &tree_;
  }
  queue.Leave(last);
}

void Worker::Join() {
  if (thread_.joinable()) thread_.join();
}

}  // namespace karst::cli

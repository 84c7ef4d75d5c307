// Some records in a row on their way through one engine: their texts, what lay between them, what they wrote.
#pragma once

#include <exception>
#include <string>
#include <vector>

#include "cli/base/output_log.h"
#include "cli/run/filter_input.h"
#include "marc/marctree.h"

namespace karst::cli {

// LIMIT: a batch takes no further record from here on; a record has at most 1 MiB.
constexpr size_t kFullBatch = 1 << 20;

class RecordBatch {
 public:
  // What was passed over between two records.
  struct Stretch {
    size_t before;  // the record of this batch that follows it
    uint64_t offset;
    std::string bytes;
    std::string reason;
  };

  // Makes it an empty one whose first record will be that number of the file, from 0.
  void Begin(uint64_t first_record);
  void AddRecord(std::string_view text, const ReadState& behind);
  void AddStretch(const SkippedRecord& skipped);

  size_t Count() const { return starts_.size(); }
  const char* Text(size_t index) const { return texts_.data() + starts_[index]; }
  uint64_t FirstRecord() const { return first_record_; }
  bool IsFull() const { return texts_.size() + stretch_bytes_ >= kFullBatch; }
  const std::vector<Stretch>& Stretches() const { return stretches_; }
  // The reading's state after the records that ran, or after the whole batch.
  const ReadState& Reached() const { return ended && ran > 0 ? states_[ran - 1] : behind; }

  // Left by the reader: the state after all of it.
  ReadState behind;
  // Left by the engine.
  OutputLog log;
  size_t ran = 0;              // records that were given to the filter
  bool done = false;           // nothing will be added
  bool ended = false;          // the walk over the records ended here
  int result = 0;              // of a walk that ended here
  std::exception_ptr failure;  // what the filter threw, in the engine below
  CMARCTree* engine = nullptr;

 private:
  uint64_t first_record_ = 0;
  std::string texts_;  // each with its NUL
  std::vector<size_t> starts_;
  std::vector<ReadState> states_;  // after each record
  std::vector<Stretch> stretches_;
  size_t stretch_bytes_ = 0;
};

}  // namespace karst::cli

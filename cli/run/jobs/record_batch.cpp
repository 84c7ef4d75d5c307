// RecordBatch: one text for all records, so that a batch that is used again costs no memory of its own.
#include "cli/run/jobs/record_batch.h"

namespace karst::cli {

void RecordBatch::Begin(uint64_t first_record) {
  first_record_ = first_record;
  texts_.clear();
  starts_.clear();
  states_.clear();
  stretches_.clear();
  stretch_bytes_ = 0;
  log.Clear();
  ran = 0;
  done = ended = false;
}

void RecordBatch::AddRecord(std::string_view text, const ReadState& behind_record) {
  starts_.push_back(texts_.size());
  texts_ += text;
  texts_ += '\0';
  states_.push_back(behind_record);
}

void RecordBatch::AddStretch(const SkippedRecord& skipped) {
  stretches_.push_back({Count(), skipped.offset, std::string(skipped.bytes), skipped.reason ? skipped.reason : ""});
  stretch_bytes_ += skipped.bytes.size();
}

}  // namespace karst::cli

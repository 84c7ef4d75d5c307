// The records of one file as a run reads them, and how far the reading has come.
#pragma once

#include <functional>
#include <memory>

#include "cli/base/input_file.h"
#include "cli/records/record_input.h"

namespace karst::cli {

// Where a reading stands.
struct ReadState {
  uint64_t records = 0;       // given
  uint64_t passed_over = 0;   // stretches
  uint64_t passed_bytes = 0;  // bytes in these
  uint64_t repaired = 0;      // records given after a repair
  uint64_t position = 0;      // bytes of the file
};

class RecordSource : public CMARCStream {
 public:
  explicit RecordSource(RecordCharset charset) : input_({.charset = charset}) {}

  // `hook` is called ahead of each record.
  void AheadOfEach(std::function<void()> hook) { hook_ = std::move(hook); }
  void OnSkippedRecord(SkippedRecordHandler handler) { input_.OnSkippedRecord(std::move(handler)); }
  ReadState State() const;
  uint64_t ByteSize() const { return input_.ByteSize(); }  // 0 where the source has no size
  // Why the file cannot be opened, or read on; empty if it can. UTF-8.
  const std::string& Failure() const { return input_.Failure(); }
  // True if the file was read to its end and is in no format: a run over no records, and Failure says why.
  bool IsInNoFormat() const { return input_.IsInNoFormat(); }

  int Open(const CString& name) override;
  int Close() override { return input_.Close(); }
  int NextRecord(CString& record) override;
  const char* GetCurRec() override { return input_.GetCurRec(); }

 private:
  RecordInput input_;
  std::function<void()> hook_;
};

}  // namespace karst::cli

// The records of one file as the run of a filter reads them, and how far the reading has come.
#pragma once

#include <functional>

#include "cli/records/read_state.h"
#include "cli/records/record_input.h"

namespace karst::cli {

class FilterInput : public CMARCStream {
 public:
  explicit FilterInput(RecordCharset charset) : input_({.charset = charset}) {}

  // `hook` is called before each record.
  void BeforeEach(std::function<void()> hook) { hook_ = std::move(hook); }
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

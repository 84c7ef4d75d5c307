// RecordFileReader: the records of a file as they are in it, whatever its format and whether it is compressed.
#pragma once

#include <memory>
#include <string>

#include "cli/records/byte_sources.h"
#include "cli/records/record_format.h"
#include "cli/records/record_parser.h"

namespace karst::cli {

class RecordFileReader {
 public:
  // `charset` counts for MARCXML only, whose text is always given in UTF-8: kGbk for a file that does not say so
  // itself.
  RecordFileReader(RecordFormat format, RecordCharset charset) : format_(format), charset_(charset) {}

  // As RecordInput has them. False with a fault.
  bool Open(const CString& name);
  bool OpenSource(std::unique_ptr<ByteSource> source, uint64_t size);
  void Close() { parser_->Close(); }
  const std::string& Fault() const { return state_->fault; }

  // kFailed: the file cannot be read on, or broke off, or all of it was passed over and it is in no format of records.
  // Fault says which.
  ReadResult Next(const SkippedRecordHandler& handler);
  // True if everything so far was passed over and nothing of any format was seen at the beginning.
  bool IsInNoFormat() const;
  // The parser has all of the record, and the counts; null while nothing was opened.
  const RecordParser* Parser() const { return parser_.get(); }
  // The charset of the record given last: what is known of the file, or what its text looks like.
  RecordCharset GuessCurrentCharset();

  // What was found out at Open.
  RecordFormat Format() const { return format_; }
  // Bytes of the file as it lies on the disk.
  uint64_t Size() const { return state_->size; }
  uint64_t Position() const;

 private:
  bool Begin(std::unique_ptr<ByteSource> source);

  RecordFormat format_;
  RecordCharset charset_;
  bool in_no_format_ = false;                    // the first bytes have nothing of any format
  RecordCharset before_ = RecordCharset::kAuto;  // what the records so far were
  SharedSourceState state_ = std::make_shared<SourceState>();
  std::unique_ptr<RecordParser> parser_;
};

}  // namespace karst::cli

// RecordInput: the records of any file that the program can read, as the engine wants them: internal form, GBK.
//
// Read are ISO 2709 and the internal form (record by record, in one file too), MARCXML and the line form, each in GBK
// or UTF-8, each compressed by gzip or not, from a file, a pipe or a source in memory. Memory does not grow with the
// file.
#pragma once

#include <memory>
#include <string>

#include "cli/records/record_format.h"
#include "records/bytewindow.h"
#include "records/cartulary.h"

namespace karst::cli {

class RecordFileReader;
class RecordParser;

struct RecordInputOptions {
  RecordFormat format = RecordFormat::kAuto;     // kAuto: found out from the first records
  RecordCharset charset = RecordCharset::kAuto;  // kAuto: found out record by record
};

// A CMARCFile for more kinds of files: the operations of the same names do the same.
//
// What GBK has no place for stands in the record as "&#N;" with the decimal code of the character; ToUtf8Reversibly
// (base/reversible_encoding.h) makes the character of it again, and leaves other text that looks alike as it was. The
// leader and the coded fields stay as they are in the file, also where they say that the record is UTF-8.
//
//   RecordInput input({.charset = RecordCharset::kUtf8});
//   if (input.Open(file.ForLibrary()) == -1) return Say("cannot read: " + input.Failure());
//   CString record;
//   int result;
//   while ((result = input.NextRecord(record)) == 0 || result == 2) { ... }
//   if (result == -1) Say(input.Failure());
class RecordInput : public CMARCStream {
 public:
  explicit RecordInput(RecordInputOptions options = {});
  ~RecordInput() override;
  RecordInput(const RecordInput&) = delete;
  RecordInput& operator=(const RecordInput&) = delete;

  // `name` is a GBK name as CMARCFile::Open takes it ("/dev/stdin" and "/dev/fd/N" among them). Reads the first bytes,
  // so that a pipe is waited for. -1 if the file cannot be opened or its first bytes cannot be read.
  int Open(const CString& name) override;
  // Reads from `source` instead. `size` is its number of bytes, 0 where it is not known.
  int OpenSource(std::unique_ptr<ByteSource> source, uint64_t size);
  // -1 if nothing is open. The counts stay.
  int Close() override;
  // 0, 1, 2 or -1 as for every CMARCStream. After -1 there are no more records: the file cannot be read on (also a
  // compressed file or one of XML that breaks off), or all of it was passed over and it is in no format; Failure() says
  // which. The records before the damage have been given.
  int NextRecord(CString& record) override;
  const char* GetCurRec() override;
  // Why the last Open or NextRecord gave -1, for a message: UTF-8.
  const std::string& Failure() const { return failure_; }
  // True if NextRecord gave -1 because all of the file was passed over and it is in no format.
  bool IsInNoFormat() const;

  // As CMARCFile::OnSkippedRecord; offsets are those of the uncompressed bytes, the reason is GBK text.
  void OnSkippedRecord(SkippedRecordHandler handler);

  // For the progress: bytes in the file as it lies on the disk, compressed or not. Size 0 where it is not known.
  uint64_t ByteSize() const;
  uint64_t BytePosition() const;
  uint64_t RecordCount() const;
  uint64_t SkippedCount() const;
  uint64_t SkippedBytes() const;
  uint64_t RepairedCount() const;
  // Characters (and damaged bytes) that stand as "&#N;" in the records given so far.
  uint64_t ReferenceCount() const { return reference_count_; }

  // What was found out at Open. kIso2709 stands for the internal form too.
  RecordFormat Format() const;

 private:
  void Begin();
  int Opened(bool good);
  void Take(CString& record);
  const RecordParser* Parser() const;

  RecordInputOptions options_;
  std::unique_ptr<RecordFileReader> reader_;
  SkippedRecordHandler on_skipped_;
  std::string failure_;
  std::string gbk_;  // the current record
  bool has_record_ = false;
  bool was_utf8_ = false;
  bool open_ = false;
  uint64_t reference_count_ = 0;
};

}  // namespace karst::cli

// RecordReader: finds the records in a stream of bytes. Every byte of the stream is, in order, part of a record given,
// part of a stretch reported, or a separator.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "export.h"
#include "records/bytewindow.h"
#include "records/cartulary.h"
#include "records/internalrecord.h"
#include "records/isorecord.h"
#include "records/recordtext.h"

namespace karst {

struct RecordReaderLimits {
  // The first size of the window on the file.
  size_t window = size_t{256} << 10;
  // LIMIT: a record has at most so many bytes in the file, and so has one piece of what is passed over.
  size_t longest = size_t{1} << 20;
};

enum class ReadResult : int { kRecord = 0, kEnd = 1, kPassedOver = 2, kFailed = -1 };

class KARST_API RecordReader {
 public:
  explicit RecordReader(std::unique_ptr<ByteSource> source, RecordReaderLimits limits = {});

  // On to the next record, or over the next stretch that is none: `handler` gets it, if there is one.
  ReadResult Next(const SkippedRecordHandler& handler);

  // Lets go of the source. The counts and the position stay.
  void Close();

  // The record given last in the internal form, empty where the last result was another one. Valid until Next, as are
  // the bytes it was read from.
  std::string_view Text() const { return text_.View(); }
  std::string_view RawBytes() const { return raw_; }
  uint64_t RecordOffset() const { return record_offset_; }

  uint64_t Position() const { return window_.Offset(); }
  uint64_t RecordCount() const { return record_count_; }
  uint64_t RepairedCount() const { return repaired_count_; }
  uint64_t SkippedCount() const { return skipped_count_; }
  uint64_t SkippedBytes() const { return skipped_bytes_; }

 private:
  enum class Form { kNone, kIso, kInternal };
  struct Reject {
    size_t count = 0;
    const char* reason = nullptr;
  };

  Reject FindRecord();
  size_t PassSeparators();
  Reject PassEndMarks(size_t blanks);
  bool Hold(size_t count);
  size_t FindRecordEnd(size_t from);
  size_t FindStart(size_t blanks, size_t end);
  Form Classify(std::string_view stretch);
  bool IsSurelyInternal(std::string_view stretch) const;
  const char* FaultOf(std::string_view stretch, const char* iso_fault, const char* internal_fault) const;
  const char* OpenEndFault() const;
  Reject RejectWithoutEnd();
  Reject RejectFront(size_t end, const char* reason);
  size_t LengthWithEndsInside(size_t end);
  size_t FindRecordInside(std::string_view stretch);
  size_t FindIsoInside(std::string_view stretch);
  size_t FindInternalInside(std::string_view stretch);
  void Give(size_t length, Form form);
  void Report(const SkippedRecordHandler& handler);

  ByteWindow window_;
  const size_t longest_;
  IsoRecord iso_;
  InternalRecord internal_;
  std::vector<size_t> marks_;
  const char* fault_ = nullptr;  // what Classify found wrong
  Reject pending_;               // what is still to be reported from the read position on

  RecordText text_;
  std::string_view raw_;
  uint64_t record_offset_ = 0;
  uint64_t record_count_ = 0;
  uint64_t repaired_count_ = 0;
  uint64_t skipped_count_ = 0;
  uint64_t skipped_bytes_ = 0;
};

}  // namespace karst

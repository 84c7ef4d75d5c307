// TextParser: the common half of the parsers for formats that are text. It goes over a stream stretch by stretch, and
// accounts for each.
#pragma once

#include <string>

#include "cli/records/record_parser.h"

namespace karst::cli {

class TextParser : public RecordParser {
 public:
  explicit TextParser(std::unique_ptr<ByteSource> source) : window_(std::move(source), kWindow) {}

  ReadResult Next(const SkippedRecordHandler& handler) override;
  void Close() override;
  std::string_view Text() const override { return text_; }
  std::string_view RawBytes() const override { return raw_; }
  uint64_t RecordOffset() const override { return record_offset_; }
  uint64_t Position() const override { return window_.Offset(); }
  uint64_t RecordCount() const override { return record_count_; }
  uint64_t RepairedCount() const override { return 0; }
  uint64_t SkippedCount() const override { return skipped_count_; }
  uint64_t SkippedBytes() const override { return skipped_bytes_; }

 protected:
  static constexpr size_t kWindow = size_t{256} << 10;
  // LIMIT: what one record takes in the file.
  static constexpr size_t kLongest = size_t{8} << 20;
  static constexpr size_t kNowhere = std::string_view::npos;

  // What stands at the read position; kBroken is an end where there should be more. `fault` is GBK text.
  enum class Kind { kEnd, kBroken, kSeparator, kRecord, kNoRecord };
  struct Stretch {
    Kind kind = Kind::kEnd;
    size_t size = 0;
    const char* fault = nullptr;  // of kNoRecord
  };
  virtual Stretch FindStretch() = 0;
  // Puts the record in `bytes` into `text`, in the internal form. The fault, in GBK, empty if there is none.
  virtual std::string Decode(std::string_view bytes, std::string& text) = 0;

  // The bytes at hand from the read position on.
  std::string_view View() const { return window_.View(); }
  // Reads on, up to the most that a record may take. False if there is no more.
  bool Grow() { return window_.View().size() <= kLongest && window_.Grow(); }
  // The place of `text` at or after `from`, with reading on where it needs to. kNowhere if there is none.
  size_t Find(std::string_view text, size_t from);

 private:
  std::string FaultOf(std::string_view stretch);
  void Report(size_t size, const char* fault, const SkippedRecordHandler& handler);

  ByteWindow window_;
  std::string text_;
  std::string_view raw_;
  uint64_t record_offset_ = 0;
  uint64_t record_count_ = 0;
  uint64_t skipped_count_ = 0;
  uint64_t skipped_bytes_ = 0;
};

}  // namespace karst::cli

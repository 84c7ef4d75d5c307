// The library's record reader as one parser among others.
#include "cli/records/record_parser.h"

namespace karst::cli {
namespace {

class BinaryParser : public RecordParser {
 public:
  explicit BinaryParser(std::unique_ptr<ByteSource> source) : reader_(std::move(source)) {}

  ReadResult Next(const SkippedRecordHandler& handler) override { return reader_.Next(handler); }
  void Close() override { reader_.Close(); }
  std::string_view Text() const override { return reader_.Text(); }
  std::string_view RawBytes() const override { return reader_.RawBytes(); }
  uint64_t RecordOffset() const override { return reader_.RecordOffset(); }
  uint64_t Position() const override { return reader_.Position(); }
  uint64_t RecordCount() const override { return reader_.RecordCount(); }
  uint64_t RepairedCount() const override { return reader_.RepairedCount(); }
  uint64_t SkippedCount() const override { return reader_.SkippedCount(); }
  uint64_t SkippedBytes() const override { return reader_.SkippedBytes(); }

 private:
  RecordReader reader_;
};

}  // namespace

std::unique_ptr<RecordParser> MakeBinaryParser(std::unique_ptr<ByteSource> source) {
  return std::make_unique<BinaryParser>(std::move(source));
}

}  // namespace karst::cli

// One run of the record reader over bytes in memory, kept whole, and the account of every byte of it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "records/recordreader.h"

namespace karst::testing {

// Gives `bytes` in portions of at most `portion` bytes, and then the end or, if `fails`, a failure.
class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::string_view bytes, size_t portion = SIZE_MAX, bool fails = false)
      : rest_(bytes), portion_(portion), fails_(fails) {}
  int64_t Read(char* target, size_t count) override;

 private:
  std::string_view rest_;
  size_t portion_;
  bool fails_;
};

struct RecordRun {
  struct Piece {
    uint64_t offset;
    std::string bytes;
    std::string text;  // a record's internal form, or the reason why there is none
    bool is_record;
  };
  std::vector<Piece> pieces;
  uint64_t repaired = 0;
  ReadResult last = ReadResult::kEnd;
  size_t longest_report = 0;

  std::vector<std::string> Texts() const;
  std::vector<std::string> Reasons() const;
};

RecordRun ReadAll(std::string_view bytes, RecordReaderLimits limits = {}, size_t portion = SIZE_MAX);

// What is wrong with the account: empty if the pieces and the separators between them are `bytes`, in order.
std::string AccountFault(const RecordRun& run, std::string_view bytes);

// The field of an ISO 2709 record: the body without its 0x1E.
struct IsoField {
  std::string tag;
  std::string body;
};
std::string Digits(size_t number, size_t width);
std::string IsoBytes(const std::vector<IsoField>& fields);
std::string InternalText(std::string_view header, const std::vector<IsoField>& fields);

}  // namespace karst::testing

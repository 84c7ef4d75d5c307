// The guess: what the bytes show, then what the record says of itself.
#include "cli/records/charset_guess.h"

#include "cli/base/utf8_evidence.h"
#include "cli/records/charset_marks.h"

namespace karst::cli {

RecordCharset GuessCharset(std::string_view record, RecordCharset before) {
  const Utf8Evidence evidence = EvidenceOfUtf8(record);
  if (evidence == Utf8Evidence::kNone) return RecordCharset::kGbk;
  if (evidence == Utf8Evidence::kEnough || SaysUtf8(record)) return RecordCharset::kUtf8;
  return before == RecordCharset::kUtf8 ? RecordCharset::kUtf8 : RecordCharset::kGbk;
}

RecordCharset GuessCharsetOfHead(std::string_view head) {
  const Utf8Evidence evidence = EvidenceOfUtf8InHead(head);
  if (evidence == Utf8Evidence::kNone) return RecordCharset::kGbk;
  return evidence == Utf8Evidence::kEnough ? RecordCharset::kUtf8 : RecordCharset::kAuto;
}

}  // namespace karst::cli

// The evidence that text is UTF-8.
#include "cli/records/charset_guess.h"

#include <optional>

#include "cli/base/ascii.h"
#include "cli/records/charset_marks.h"
#include "text/charset.h"

namespace karst::cli {
namespace {

// CHOICE: about how many bits of chance it takes that GBK text looks like one character of so many bytes: the common
// characters of GBK have a first byte from B0 to F7 and a second one from A1 to FE.
constexpr unsigned kEvidenceOfTwo = 2;
constexpr unsigned kEvidenceOfMore = 6;
constexpr unsigned kEnough = 12;

// No value: the text is not valid as UTF-8. A character that is cut at the end does not count where that is `open`.
std::optional<unsigned> CountEvidence(std::string_view text, bool open) {
  constexpr size_t kLongestCut = 3;
  unsigned evidence = 0;
  for (size_t at = 0; at < text.size();) {
    at += AsciiLength(text.substr(at));
    if (at == text.size()) break;
    const DecodedCharacter character = DecodeUtf8(text.substr(at));
    if (character.code == kNoCharacter) {
      if (open && text.size() - at <= kLongestCut) break;
      return std::nullopt;
    }
    if (evidence < kEnough) evidence += character.length == 2 ? kEvidenceOfTwo : kEvidenceOfMore;
    at += character.length;
  }
  return evidence;
}

}  // namespace

Utf8Evidence EvidenceOfUtf8(std::string_view text) {
  const std::optional<unsigned> evidence = CountEvidence(text, false);
  if (!evidence) return Utf8Evidence::kNone;
  return *evidence >= kEnough ? Utf8Evidence::kEnough : Utf8Evidence::kLittle;
}

RecordCharset GuessCharset(std::string_view record, RecordCharset before) {
  const Utf8Evidence evidence = EvidenceOfUtf8(record);
  if (evidence == Utf8Evidence::kNone) return RecordCharset::kGbk;
  if (evidence == Utf8Evidence::kEnough || SaysUtf8(record)) return RecordCharset::kUtf8;
  return before == RecordCharset::kUtf8 ? RecordCharset::kUtf8 : RecordCharset::kGbk;
}

RecordCharset GuessCharsetOfHead(std::string_view head) {
  const std::optional<unsigned> evidence = CountEvidence(head, true);
  if (!evidence) return RecordCharset::kGbk;
  return *evidence >= kEnough ? RecordCharset::kUtf8 : RecordCharset::kAuto;
}

}  // namespace karst::cli

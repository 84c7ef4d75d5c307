// The evidence that text is UTF-8, counted character by character.
#include "cli/base/utf8_evidence.h"

#include "cli/base/ascii.h"
#include "text/charset.h"

namespace karst::cli {
namespace {

// CHOICE: about how many bits of chance it takes that GBK text looks like one character of so many bytes: the common
// characters of GBK have a first byte from B0 to F7 and a second one from A1 to FE.
constexpr unsigned kEvidenceOfTwo = 2;
constexpr unsigned kEvidenceOfMore = 6;
constexpr unsigned kEnough = 12;

Utf8Evidence Count(std::string_view text, size_t longest_cut) {
  unsigned evidence = 0;
  for (size_t at = 0; at < text.size();) {
    at += AsciiLength(text.substr(at));
    if (at == text.size()) break;
    const DecodedCharacter character = DecodeUtf8(text.substr(at));
    if (character.code == kNoCharacter) {
      if (text.size() - at <= longest_cut) break;
      return Utf8Evidence::kNone;
    }
    if (evidence < kEnough) evidence += character.length == 2 ? kEvidenceOfTwo : kEvidenceOfMore;
    at += character.length;
  }
  return evidence >= kEnough ? Utf8Evidence::kEnough : Utf8Evidence::kLittle;
}

}  // namespace

Utf8Evidence EvidenceOfUtf8(std::string_view text) { return Count(text, 0); }

Utf8Evidence EvidenceOfUtf8InHead(std::string_view head) {
  constexpr size_t kLongestCut = 3;
  return Count(head, kLongestCut);
}

}  // namespace karst::cli

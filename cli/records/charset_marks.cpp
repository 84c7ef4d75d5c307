// The two places, found and written.
#include "cli/records/charset_marks.h"

#include <algorithm>

#include "records/cartulary.h"

namespace karst::cli {
namespace {

constexpr size_t kLeaderCharset = 9;
constexpr size_t kLeaderKind = 6;
constexpr size_t kLeaderMap = 20;
constexpr char kLeaderUtf8 = 'a';
constexpr size_t kDateDigits = 8;
constexpr size_t kBibliographicCharset = 26;
constexpr size_t kAuthorityCharset = 13;
constexpr std::string_view kCodedUtf8 = "50  ";
constexpr std::string_view kCodedGbk = "0110";
constexpr size_t kFixedData = 40;  // 008 of MARC 21

// The text of the first $a of the first field 100, empty if there is none.
std::string_view GeneralData(std::string_view record) {
  auto fields = FieldCursor::OverRecord(record);
  for (std::string_view field; fields.Next(field);) {
    if (!field.starts_with("100")) continue;
    SubfieldCursor subfields(field);
    for (std::string_view subfield; subfields.Next(subfield);) {
      if (subfield.size() > 2 && subfield[1] == 'a') return subfield.substr(2);
    }
    return {};
  }
  return {};
}

bool IsGeneralData(std::string_view text) {
  return text.size() >= kDateDigits &&
         std::all_of(text.begin(), text.begin() + kDateDigits, [](char c) { return c >= '0' && c <= '9'; });
}

// Where in 100 $a the charset stands; empty if the text is too short.
std::string_view CodedCharset(std::string_view record, std::string_view general) {
  const bool authority = std::string_view("xyz").find(record[kLeaderKind]) != std::string_view::npos;
  const size_t at = authority ? kAuthorityCharset : kBibliographicCharset;
  if (general.size() < at + kCodedUtf8.size()) return {};
  return general.substr(at, kCodedUtf8.size());
}

bool IsCodedUtf8(std::string_view coded) { return coded.substr(0, 2) == kCodedUtf8.substr(0, 2); }

bool LooksLikeMarc21(std::string_view record) {
  auto fields = FieldCursor::OverRecord(record);
  for (std::string_view field; fields.Next(field);) {
    if (field.starts_with("245")) return true;
    if (field.starts_with("008") && field.size() == kTagLength + kFixedData) return true;
  }
  return record.substr(kLeaderMap, 4) == "4500";
}

}  // namespace

Flavour FlavourOf(std::string_view record) {
  if (record.size() < kHeaderLength) return Flavour::kNone;
  if (IsGeneralData(GeneralData(record))) return Flavour::kUnimarc;
  return LooksLikeMarc21(record) ? Flavour::kMarc21 : Flavour::kNone;
}

bool SaysUtf8(std::string_view record) {
  if (record.size() < kHeaderLength) return false;
  if (record[kLeaderCharset] == kLeaderUtf8) return true;
  const std::string_view general = GeneralData(record);
  return IsGeneralData(general) && IsCodedUtf8(CodedCharset(record, general));
}

void SetCharsetMarks(std::string& record, RecordCharset charset, Flavour flavour) {
  if (record.size() < kHeaderLength) return;
  if (flavour == Flavour::kAuto) flavour = FlavourOf(record);
  const bool utf8 = charset == RecordCharset::kUtf8;
  if (flavour == Flavour::kMarc21 && (record[kLeaderCharset] == kLeaderUtf8) != utf8) {
    record[kLeaderCharset] = utf8 ? kLeaderUtf8 : ' ';
  }
  if (flavour != Flavour::kUnimarc) return;
  const std::string_view coded = CodedCharset(record, GeneralData(record));
  if (coded.empty() || IsCodedUtf8(coded) == utf8) return;
  const std::string_view code = utf8 ? kCodedUtf8 : kCodedGbk;
  std::copy(code.begin(), code.end(), record.begin() + (coded.data() - record.data()));
}

}  // namespace karst::cli

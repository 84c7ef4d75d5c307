// What tells a record in the internal form from other bytes.
#include "records/internalrecord.h"

#include <algorithm>

#include "records/cartulary.h"
#include "records/isorecord.h"
#include "records/recordfault.h"
#include "text/ascii.h"

namespace karst {
namespace {

constexpr std::string_view kEntryShape = "45";
constexpr size_t kEntryShapeAt = 20;

bool IsLetter(char byte) { return byte >= 'a' && byte <= 'z'; }
bool IsBlank(char byte) { return byte == ' '; }
bool IsControl(char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F; }

bool AllDigits(std::string_view text) { return std::all_of(text.begin(), text.end(), IsDigit); }
bool IsNumberOrBlank(std::string_view text) {
  return AllDigits(text) || std::all_of(text.begin(), text.end(), IsBlank);
}

bool HasShape(std::string_view header) {
  return header.substr(kEntryShapeAt, kEntryShape.size()) == kEntryShape && IsNumberOrBlank(header.substr(0, 5)) &&
         IsLetter(header[5]) && IsLetter(header[6]) && IsPrintableTag(header.substr(7, 3)) &&
         AllDigits(header.substr(10, 2)) && IsNumberOrBlank(header.substr(12, 5)) &&
         IsPrintableTag(header.substr(17, 3)) && IsPrintableTag(header.substr(22, 2));
}

}  // namespace

bool HasUsualHeader(std::string_view text) {
  const std::string_view header = text.substr(0, kHeaderLength);
  return header.size() == kHeaderLength && (std::all_of(header.begin(), header.end(), IsBlank) || HasShape(header));
}

bool LooksLikeHeader(std::string_view text) {
  if (text.size() < kHeaderLength + kTagLength) return false;
  return HasShape(text) && AllDigits(text.substr(kHeaderLength, kTagLength));
}

size_t FindLastHeader(std::string_view text, size_t from) {
  size_t found = std::string_view::npos;
  for (size_t shape = text.find(kEntryShape, from + kEntryShapeAt); shape != std::string_view::npos;
       shape = text.find(kEntryShape, shape + 1)) {
    if (LooksLikeHeader(text.substr(shape - kEntryShapeAt))) found = shape - kEntryShapeAt;
  }
  return found;
}

const char* InternalRecord::Examine(std::string_view raw) {
  raw_ = raw;
  last_mark_missing_ = has_subfields_ = first_has_subfields_ = false;
  has_usual_tags_ = true;
  field_count_ = 0;
  if (raw.size() <= kHeaderLength) return fault::kNoRecord;
  if (std::any_of(raw.begin(), raw.begin() + kHeaderLength, IsControl)) return fault::kNoRecord;
  std::string_view before;
  for (std::string_view rest = raw.substr(kHeaderLength, raw.size() - 1 - kHeaderLength); !rest.empty();) {
    const size_t end = rest.find(kFieldEnd);
    const std::string_view field = rest.substr(0, end);
    if (field.size() < kTagLength || !IsPrintableTag(field.substr(0, kTagLength))) return fault::kBadTag;
    Regard(field, before);
    before = field;
    last_mark_missing_ = end == std::string_view::npos;
    rest.remove_prefix(last_mark_missing_ ? rest.size() : end + 1);
  }
  if (last_mark_missing_ && !LooksLikeHeader(raw)) return fault::kNoRecord;
  if (raw.find('\0') != std::string_view::npos) return fault::kNulInside;
  return nullptr;
}

void InternalRecord::Regard(std::string_view field, std::string_view before) {
  constexpr size_t kFirstMarkAt = kTagLength + 2;
  const bool marked = field.size() > kFirstMarkAt && field[kFirstMarkAt] == kSubfieldMark;
  if (field_count_++ == 0) {
    first_has_subfields_ = marked;
    return;
  }
  const bool control = field.starts_with("00") || field.starts_with("-0");
  const bool higher = field.substr(0, kTagLength) > before.substr(0, kTagLength);
  has_subfields_ = has_subfields_ || marked;
  has_usual_tags_ = has_usual_tags_ && (marked || (control && higher));
}

bool InternalRecord::HasSubfields() const { return has_subfields_ || (first_has_subfields_ && !BeginsWithDigits()); }

bool InternalRecord::BeginsWithDigits() const {
  constexpr size_t kFewest = 8;
  const size_t end = std::min(raw_.find(kFieldEnd, kHeaderLength), raw_.size() - 1);
  if (end < kHeaderLength + kTagLength + kFewest) return false;
  const std::string_view data = raw_.substr(kHeaderLength + kTagLength, end - kHeaderLength - kTagLength);
  const auto digits = static_cast<size_t>(std::count_if(data.begin(), data.end(), IsDigit));
  return digits >= data.size() / 4 * 3;
}

void InternalRecord::WriteInternalForm(RecordText& text) const {
  text.Begin(raw_.size() + 1);
  text.Add(raw_.substr(0, raw_.size() - 1));
  if (last_mark_missing_) text.Add(kFieldEnd);
  text.Add(kRecordEnd);
  text.End();
}

}  // namespace karst

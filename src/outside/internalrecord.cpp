// What tells a record in the internal form from other bytes.
#include "outside/internalrecord.h"

#include <algorithm>

#include "outside/cartulary.h"
#include "outside/isorecord.h"
#include "outside/recordfault.h"

namespace karst {
namespace {

constexpr std::string_view kEntryShape = "45";
constexpr size_t kEntryShapeAt = 20;

bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }
bool IsLetter(char byte) { return byte >= 'a' && byte <= 'z'; }
bool IsBlank(char byte) { return byte == ' '; }
bool IsControl(char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F; }

bool AllDigits(std::string_view text) { return std::all_of(text.begin(), text.end(), IsDigit); }
bool IsNumberOrBlank(std::string_view text) {
  return AllDigits(text) || std::all_of(text.begin(), text.end(), IsBlank);
}

}  // namespace

bool LooksLikeHeader(std::string_view text) {
  if (text.size() < kHeaderLength + kTagLength) return false;
  return text.substr(kEntryShapeAt, kEntryShape.size()) == kEntryShape && IsNumberOrBlank(text.substr(0, 5)) &&
         IsLetter(text[5]) && IsLetter(text[6]) && IsPrintableTag(text.substr(7, 3)) && AllDigits(text.substr(10, 2)) &&
         IsNumberOrBlank(text.substr(12, 5)) && IsPrintableTag(text.substr(17, 3)) &&
         IsPrintableTag(text.substr(22, 2)) && AllDigits(text.substr(kHeaderLength, kTagLength));
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
  last_mark_missing_ = false;
  if (raw.size() <= kHeaderLength) return fault::kNoRecord;
  if (std::any_of(raw.begin(), raw.begin() + kHeaderLength, IsControl)) return fault::kNoRecord;
  for (std::string_view rest = raw.substr(kHeaderLength, raw.size() - 1 - kHeaderLength); !rest.empty();) {
    const size_t end = rest.find(kFieldEnd);
    const std::string_view field = rest.substr(0, end);
    if (field.size() < kTagLength || !IsPrintableTag(field.substr(0, kTagLength))) return fault::kBadTag;
    last_mark_missing_ = end == std::string_view::npos;
    rest.remove_prefix(last_mark_missing_ ? rest.size() : end + 1);
  }
  if (last_mark_missing_ && !LooksLikeHeader(raw)) return fault::kNoRecord;
  if (raw.find('\0') != std::string_view::npos) return fault::kNulInside;
  return nullptr;
}

void InternalRecord::WriteInternalForm(RecordText& text) const {
  text.Begin(raw_.size() + 1);
  text.Add(raw_.substr(0, raw_.size() - 1));
  if (last_mark_missing_) text.Add(kFieldEnd);
  text.Add(kRecordEnd);
  text.End();
}

}  // namespace karst

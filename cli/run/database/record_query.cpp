// Queries, and the walk over a record text that answers them.
#include "cli/run/database/record_query.h"

#include <algorithm>

#include "cli/records/indicators.h"
#include "records/cartulary.h"

namespace karst::cli {
namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";
constexpr char kCodeMark = '$';
constexpr size_t kPlaceWithCode = kTagLength + 2;

// In GBK no second byte of a character is white space.
std::string_view Trimmed(std::string_view text) {
  const size_t begin = text.find_first_not_of(kWhiteSpace);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kWhiteSpace) - begin + 1);
}

bool IsTagByte(char byte) {
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || byte == '-';
}

bool IsPlace(std::string_view text) {
  if (text.size() != kTagLength && text.size() != kPlaceWithCode) return false;
  if (!std::all_of(text.begin(), text.begin() + kTagLength, IsTagByte)) return false;
  return text.size() == kTagLength || (text[kTagLength] == kCodeMark && text.back() > ' ' && text.back() < 0x7F);
}

// Takes what stands before the first `end` off the text, and the end mark.
std::string_view TakeUntil(std::string_view& text, char end) {
  const std::string_view piece = text.substr(0, text.find(end));
  text.remove_prefix(std::min(piece.size() + 1, text.size()));
  return piece;
}

void UseSubfields(std::string_view field, char code, const std::function<void(std::string_view)>& use) {
  TakeUntil(field, kSubfieldMark);
  while (!field.empty()) {
    const std::string_view subfield = TakeUntil(field, kSubfieldMark);
    if (subfield.starts_with(code)) use(Trimmed(subfield.substr(1)));
  }
}

void UseData(std::string_view field, const std::function<void(std::string_view)>& use) {
  const size_t begin = kTagLength + (HasIndicators(field) ? kIndicators : 0);
  use(Trimmed(field.substr(std::min(begin, field.size()))));
}

}  // namespace

std::optional<RecordQuery> ReadQuery(std::string_view text) {
  size_t sign = text.find('=');
  // "=" may be a code itself.
  if (sign != std::string_view::npos && sign > 0 && text[sign - 1] == kCodeMark) sign = text.find('=', sign + 1);
  if (sign == std::string_view::npos) return std::nullopt;
  const std::string_view place = Trimmed(text.substr(0, sign));
  if (!IsPlace(place)) return std::nullopt;
  return RecordQuery{std::string(place), Trimmed(text.substr(sign + 1))};
}

void ForEachKey(std::string_view record, std::string_view place, const std::function<void(std::string_view)>& use) {
  if (record.size() < kHeaderLength) return;
  std::string_view rest = record.substr(kHeaderLength);
  rest = TakeUntil(rest, kRecordEnd);
  while (!rest.empty()) {
    const std::string_view field = TakeUntil(rest, kFieldEnd);
    if (!field.starts_with(place.substr(0, kTagLength))) continue;
    if (place.size() == kTagLength) {
      UseData(field, use);
    } else {
      UseSubfields(field, place.back(), use);
    }
  }
}

}  // namespace karst::cli

// RecordDisplay: columns, colours, and lines that are broken where they may be.
#include "cli/records/record_display.h"

#include <algorithm>
#include <iterator>

#include "cli/base/encoding.h"
#include "cli/records/indicators.h"
#include "records/cartulary.h"
#include "text/charset.h"

namespace karst::cli {
namespace {

constexpr size_t kIndent = 7;  // tag, blank, indicators, blank
constexpr std::string_view kPlain = "\x1B[0m";
constexpr std::string_view kBold = "\x1B[1m";
constexpr std::string_view kTagColour = "\x1B[36m";
constexpr std::string_view kCodeColour = "\x1B[33m";

struct Range {
  char32_t first;
  char32_t last;
};
constexpr Range kWide[] = {{0x1100, 0x115F},  {0x2E80, 0x303E}, {0x3041, 0x4DBF},   {0x4E00, 0xA4CF},
                           {0xA960, 0xA97F},  {0xAC00, 0xD7A3}, {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},
                           {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF},
                           {0x20000, 0x3FFFD}};
constexpr Range kNoColumn[] = {{0x0300, 0x036F}, {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x2069},
                               {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}};

template <size_t kCount>
bool IsIn(const Range (&ranges)[kCount], char32_t code) {
  return std::any_of(std::begin(ranges), std::end(ranges),
                     [code](const Range& range) { return code >= range.first && code <= range.last; });
}

bool IsControl(char32_t code) { return code < 0x20 || (code >= 0x7F && code < 0xA0); }

// The data of the first field 001, empty if there is none.
std::string_view ControlNumber(std::string_view record) {
  auto fields = FieldCursor::OverRecord(record);
  for (std::string_view field; fields.Next(field);) {
    if (field.starts_with("001")) return field.substr(kTagLength);
  }
  return {};
}

}  // namespace

unsigned ColumnsOf(char32_t code) {
  if (code < 0x300) return 1;
  return IsIn(kNoColumn, code) ? 0 : IsIn(kWide, code) ? 2 : 1;
}

void RecordDisplay::Append(std::string_view record, uint64_t number, std::string& out) {
  out_ = &out;
  column_ = 0;
  AppendHead(record, number);
  if (style_.fields.empty()) AppendField("LDR" + std::string(record.substr(0, kHeaderLength)));
  auto fields = FieldCursor::OverRecord(record);
  for (std::string_view field; fields.Next(field);) {
    if (IsWanted(field.substr(0, kTagLength))) AppendField(field);
  }
  EndLine();
}

bool RecordDisplay::IsWanted(std::string_view tag) const {
  const auto matches = [tag](std::string_view wanted) {
    return std::equal(tag.begin(), tag.end(), wanted.begin(), wanted.end(),
                      [](char a, char b) { return a == b || b == '*'; });
  };
  return style_.fields.empty() || std::any_of(style_.fields.begin(), style_.fields.end(), matches);
}

void RecordDisplay::AppendHead(std::string_view record, uint64_t number) {
  const std::string_view control_number = ControlNumber(record);
  Colour(kBold);
  Put(control_number.empty() ? "[" : control_number);
  Put((control_number.empty() ? "" : "  [") + std::to_string(number) + "]");
  Colour(kPlain);
  EndLine();
}

void RecordDisplay::AppendField(std::string_view field) {
  const std::string_view tag = field.substr(0, kTagLength);
  const bool has_indicators = HasIndicators(tag) && tag != "LDR";
  const std::string_view indicators = field.substr(tag.size(), has_indicators ? kIndicators : 0);
  Colour(kTagColour);
  Put(tag);
  Colour(kPlain);
  Put(" ");
  Put(indicators);
  while (column_ < kIndent) Put(" ");
  AppendData(field.substr(tag.size() + indicators.size()));
  EndLine();
}

void RecordDisplay::AppendData(std::string_view data) {
  bool first = true;
  while (!data.empty()) {
    const size_t end = std::min(data.find(kSubfieldMark, 1), data.size());
    std::string_view text = data.substr(0, end);
    data.remove_prefix(end);
    if (text[0] == kSubfieldMark) {
      if (!first) Put(" ");
      const size_t code = text.size() > 1 ? DecodeUtf8(text.substr(1)).length : 0;
      Colour(kCodeColour);
      Put("$");
      Put(text.substr(1, code));
      Colour(kPlain);
      Put(" ");
      text.remove_prefix(1 + code);
    }
    Put(text);
    first = false;
  }
}

void RecordDisplay::Put(std::string_view text) {
  while (!text.empty()) {
    const DecodedCharacter character = DecodeUtf8(text);
    const std::string_view bytes = text.substr(0, character.length);
    if (character.code == kNoCharacter || IsControl(character.code)) {
      std::string spelt;
      AppendEscaped(bytes, spelt);
      PutCharacter(spelt, spelt.size());
    } else {
      PutCharacter(bytes, ColumnsOf(character.code));
    }
    text.remove_prefix(bytes.size());
  }
}

// CHOICE: a line is broken at the last column, as a terminal does it, but goes on under the field's text.
void RecordDisplay::PutCharacter(std::string_view bytes, size_t columns) {
  if (style_.columns > 2 * kIndent && column_ + columns > style_.columns) {
    EndLine();
    out_->append(kIndent, ' ');
    column_ = kIndent;
  }
  *out_ += bytes;
  column_ += columns;
}

void RecordDisplay::Colour(std::string_view code) {
  if (style_.colours) *out_ += code;
}

void RecordDisplay::EndLine() {
  *out_ += '\n';
  column_ = 0;
}

}  // namespace karst::cli

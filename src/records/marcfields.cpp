// Finding and reading the items of a record text: fields, embedded fields, subfields, groups.
#include <algorithm>

#include "records/cartulary.h"
#include "records/marcitems.h"
#include "text/ascii.h"
#include "text/mbtext.h"

namespace {

using karst::FieldCursor;
using karst::MarcItem;

constexpr char kEmbeddingCode = '1';

// The text ahead of the first byte `end`.
std::string_view Until(std::string_view text, char end) { return text.substr(0, text.find(end)); }

bool MatchesTag(std::string_view field, std::string_view name) {
  if (name.empty()) return true;
  if (name.size() != karst::kTagLength || field.size() < karst::kTagLength) return false;
  return std::equal(name.begin(), name.end(), field.begin(),
                    [](char wanted, char byte) { return wanted == karst::kAnyByte || wanted == byte; });
}

bool MatchesCode(std::string_view subfield, std::string_view name) {
  if (name.empty()) return true;
  if (name.size() != 1 || subfield.size() < 2) return false;
  return name[0] == karst::kAnyByte || name[0] == subfield[1];
}

// The place of the first subfield mark at or behind `from` that starts an embedded field, or npos.
size_t FindEmbedded(std::string_view text, size_t from) {
  for (size_t mark = text.find(karst::kSubfieldMark, from); mark != std::string_view::npos;
       mark = text.find(karst::kSubfieldMark, mark + 1)) {
    const std::string_view behind = text.substr(mark + 1, 1 + karst::kTagLength);
    if (behind.size() == 1 + karst::kTagLength && behind[0] == kEmbeddingCode &&
        std::all_of(behind.begin() + 1, behind.end(), karst::IsDigit)) {
      return mark;
    }
  }
  return std::string_view::npos;
}

int GiveItem(const std::optional<MarcItem>& item, char* buf, int size) {
  if (!item) return -1;
  const size_t length = karst::WholeCharacters(item->text, static_cast<size_t>(size) - 1);
  item->text.copy(buf, length);
  buf[length] = 0;
  return static_cast<int>(length);
}

int GiveField(const std::optional<MarcItem>& item, char* buf, int size, char* next) {
  if (item && next) next[item->following_tag.copy(next, karst::kTagLength)] = 0;
  return GiveItem(item, buf, size);
}

bool CanGive(const char* text, int index, const char* buf, int size) { return text && index >= 0 && buf && size > 0; }

}  // namespace

namespace karst {

std::string_view WithoutEnd(std::string_view text) { return Until(Until(Until(text, 0), kFieldEnd), kRecordEnd); }

FieldCursor FieldCursor::OverRecord(std::string_view record) {
  const std::string_view text = Until(record, 0);
  if (text.size() < kHeaderLength) return {{}, false};
  return {Until(text.substr(kHeaderLength), kRecordEnd), false};
}

FieldCursor FieldCursor::OverEmbedded(std::string_view field) {
  const std::string_view text = WithoutEnd(field);
  const size_t first = FindEmbedded(text, 0);
  return {first == std::string_view::npos ? std::string_view() : text.substr(first + 2), true};
}

bool FieldCursor::Next(std::string_view& field) {
  if (rest_.empty()) return false;
  const size_t end = embedded_ ? FindEmbedded(rest_, 0) : rest_.find(kFieldEnd);
  field = rest_.substr(0, end);
  rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + (embedded_ ? 2 : 1));
  return true;
}

std::string_view FieldCursor::FollowingTag() const { return Until(rest_.substr(0, kTagLength), kFieldEnd); }

SubfieldCursor::SubfieldCursor(std::string_view text) : SubfieldCursor(OverUnended(WithoutEnd(text))) {}

SubfieldCursor SubfieldCursor::OverUnended(std::string_view text) {
  SubfieldCursor cursor;
  cursor.rest_ = text.substr(text.starts_with(kSubfieldMark) ? 0 : std::min(text.find(kSubfieldMark), text.size()));
  return cursor;
}

bool SubfieldCursor::Next(std::string_view& subfield) {
  if (rest_.empty()) return false;
  subfield = rest_.substr(0, rest_.find(kSubfieldMark, 1));
  rest_.remove_prefix(subfield.size());
  return true;
}

std::optional<MarcItem> FindField(FieldCursor cursor, std::string_view name, int index) {
  std::string_view field;
  while (cursor.Next(field)) {
    if (MatchesTag(field, name) && index-- == 0) return MarcItem{field, cursor.FollowingTag()};
  }
  return std::nullopt;
}

std::optional<MarcItem> FindHeader(std::string_view record, int index) {
  if (index != 0 || record.size() < kHeaderLength) return std::nullopt;
  return MarcItem{record.substr(0, kHeaderLength), FieldCursor::OverRecord(record).FollowingTag()};
}

std::optional<MarcItem> FindSubfield(std::string_view text, std::string_view name, int index) {
  SubfieldCursor cursor(text);
  std::string_view subfield;
  while (cursor.Next(subfield)) {
    if (MatchesCode(subfield, name) && index-- == 0) return MarcItem{subfield, {}};
  }
  return std::nullopt;
}

bool GroupCursor::Next(std::string_view& group) {
  if (!more_) return false;
  const char* const start = opening_.data();
  const char code = CodeOf(opening_);
  const char* end;
  do {
    end = opening_.data() + opening_.size();
    more_ = subfields_.Next(opening_);
  } while (more_ && CodeOf(opening_) != code);
  group = {start, static_cast<size_t>(end - start)};
  return true;
}

std::optional<MarcItem> FindGroup(std::string_view text, int index) {
  GroupCursor cursor{SubfieldCursor(text)};
  std::string_view group;
  while (cursor.Next(group)) {
    if (index-- == 0) return MarcItem{group, {}};
  }
  return std::nullopt;
}

}  // namespace karst

int MARC_GetField(const char* rec, const char* name, int index, char* buf, int size, char* next, int*) {
  if (!CanGive(rec, index, buf, size) || !name) return -1;
  if (name == karst::kHeaderName) return GiveField(karst::FindHeader(rec, index), buf, size, next);
  return GiveField(karst::FindField(FieldCursor::OverRecord(rec), name, index), buf, size, next);
}

int MARC_GetNestedField(const char* text, const char* name, int index, char* buf, int size, char* next, int*) {
  if (!CanGive(text, index, buf, size) || !name) return -1;
  return GiveField(karst::FindField(FieldCursor::OverEmbedded(text), name, index), buf, size, next);
}

int MARC_GetSubField(const char* text, const char* name, int index, char* buf, int size, int*) {
  if (!CanGive(text, index, buf, size) || !name) return -1;
  return GiveItem(karst::FindSubfield(text, name, index), buf, size);
}

int MARC_GetGroup(const char* text, int index, char* buf, int size, int*) {
  if (!CanGive(text, index, buf, size)) return -1;
  return GiveItem(karst::FindGroup(text, index), buf, size);
}

// Replacing the items of a record text where they stand. Whatever is refused is refused before the first byte moves.
#include <algorithm>
#include <cstring>

#include "records/cartulary.h"
#include "records/isorecord.h"
#include "records/marcitems.h"

namespace {

using karst::FieldCursor;
using karst::kFieldEnd;
using karst::MarcItem;

constexpr int kAdd = -1;

// The text to be edited, in its buffer.
class Edited {
 public:
  // `buf` holds a NUL within `size`.
  Edited(char* buf, int size) : buf_(buf), size_(static_cast<size_t>(size)), length_(std::strlen(buf)) {}

  std::string_view Text() const { return {buf_, length_}; }
  // The place behind the item where its end mark stands, if it has one.
  bool HasFieldEndBehind(std::string_view item) const {
    return EndOf(item) < length_ && buf_[EndOf(item)] == kFieldEnd;
  }

  // Puts `before`, `text` and `behind` in the place of `span`, a piece of the text. 0, or -1 if they do not fit.
  int Put(std::string_view span, std::string_view before, std::string_view text, std::string_view behind) {
    const size_t start = StartOf(span);
    const size_t end = EndOf(span);
    const size_t put = before.size() + text.size() + behind.size();
    const size_t new_length = length_ - span.size() + put;
    if (new_length >= size_) return -1;
    std::memmove(buf_ + start + put, buf_ + end, length_ - end + 1);
    char* at = buf_ + start;
    for (const std::string_view piece : {before, text, behind}) at = std::copy(piece.begin(), piece.end(), at);
    length_ = new_length;
    return 0;
  }
  int Put(std::string_view span, std::string_view text) { return Put(span, {}, text, {}); }

 private:
  size_t StartOf(std::string_view span) const { return static_cast<size_t>(span.data() - buf_); }
  size_t EndOf(std::string_view span) const { return StartOf(span) + span.size(); }

  char* buf_;
  size_t size_;
  size_t length_;
};

bool CanEdit(const char* buf, int size, int index, const char* text) {
  return buf && text && size > 0 && index >= kAdd && std::memchr(buf, 0, static_cast<size_t>(size));
}

// The text without the end mark that it may have.
std::string_view ItemText(const char* text) {
  std::string_view item(text);
  if (item.size() > 1 && item.ends_with(kFieldEnd)) item.remove_suffix(1);
  return item;
}

bool HasEndMark(std::string_view text) {
  return text.find(kFieldEnd) != std::string_view::npos || text.find(karst::kRecordEnd) != std::string_view::npos;
}

bool IsField(std::string_view text) {
  return text.size() >= karst::kTagLength && karst::IsPrintableTag(text.substr(0, karst::kTagLength)) &&
         !HasEndMark(text);
}

bool IsSubfields(std::string_view text) { return text.starts_with(karst::kSubfieldMark) && !HasEndMark(text); }

int ReplaceHeader(Edited& edited, int index, std::string_view text) {
  const auto header = karst::FindHeader(edited.Text(), index);
  if (!header || text.size() != karst::kHeaderLength || HasEndMark(text)) return -1;
  return edited.Put(header->text, text);
}

// Takes a field out, with its end mark if it has one.
int RemoveField(Edited& edited, std::string_view field) {
  return edited.Put({field.data(), field.size() + (edited.HasFieldEndBehind(field) ? 1 : 0)}, {});
}

int AddField(Edited& edited, std::string_view text) {
  const std::string_view record = edited.Text();
  if (record.size() < karst::kHeaderLength) return -1;
  const std::string_view tag = text.substr(0, karst::kTagLength);
  std::string_view place = record.substr(karst::kHeaderLength, 0);
  bool ends_open = false;
  auto cursor = FieldCursor::OverRecord(record);
  for (std::string_view field; cursor.Next(field);) {
    if (field.size() < karst::kTagLength || field.substr(0, karst::kTagLength) > tag) continue;
    ends_open = !edited.HasFieldEndBehind(field);
    place = {field.data() + field.size() + (ends_open ? 0 : 1), 0};
  }
  return edited.Put(place, {&kFieldEnd, ends_open ? size_t{1} : size_t{0}}, text, {&kFieldEnd, 1});
}

// The same for subfields and groups, which have no end mark of their own.
int ReplaceOrAdd(Edited& edited, const std::optional<MarcItem>& found, int index, std::string_view text) {
  if (!text.empty() && !IsSubfields(text)) return -1;
  if (index == kAdd && !text.empty()) {
    const std::string_view whole = karst::WithoutEnd(edited.Text());
    return edited.Put(whole.substr(whole.size()), text);
  }
  return found ? edited.Put(found->text, text) : -1;
}

}  // namespace

int MARC_ReplaceField(char* buf, int size, const char* name, int index, const char* text) {
  if (!CanEdit(buf, size, index, text) || !name) return -1;
  Edited edited(buf, size);
  if (name == karst::kHeaderName) return ReplaceHeader(edited, index, text);
  const std::string_view new_text = ItemText(text);
  if (!new_text.empty() && !IsField(new_text)) return -1;
  if (index == kAdd) return new_text.empty() ? -1 : AddField(edited, new_text);
  const auto found = karst::FindField(FieldCursor::OverRecord(edited.Text()), name, index);
  if (!found) return -1;
  return new_text.empty() ? RemoveField(edited, found->text) : edited.Put(found->text, new_text);
}

int MARC_ReplaceSubField(char* buf, int size, const char* name, int index, const char* text) {
  if (!CanEdit(buf, size, index, text) || !name) return -1;
  Edited edited(buf, size);
  return ReplaceOrAdd(edited, karst::FindSubfield(edited.Text(), name, index), index, ItemText(text));
}

int MARC_ReplaceGroup(char* buf, int size, int index, const char* text) {
  if (!CanEdit(buf, size, index, text)) return -1;
  Edited edited(buf, size);
  return ReplaceOrAdd(edited, karst::FindGroup(edited.Text(), index), index, ItemText(text));
}

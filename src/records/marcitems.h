// Where the items of a record text stand: every search ends in a view into the searched text, so that an item can be
// read and also be replaced where it stands.
#pragma once

#include <optional>
#include <string_view>

#include "records/cartulary.h"

namespace karst {

constexpr std::string_view kHeaderName = "hdr";
// In the name of a field or a subfield: any byte.
constexpr char kAnyByte = '*';

// An item found, and for a field the tag behind it. The views point into the text that was searched.
struct MarcItem {
  std::string_view text;
  std::string_view following_tag;
};

// Field text as it is read: a NUL or the end mark of a field or a record ends it, whichever comes first.
std::string_view WithoutEnd(std::string_view text);

// The code byte of a subfield; a NUL, which stands in no text, for a mark with nothing behind it.
inline char CodeOf(std::string_view subfield) { return subfield.size() < 2 ? '\0' : subfield[1]; }

// Walks the groups of a text in order: each runs from a subfield of the first subfield's code up to the next one.
class GroupCursor {
 public:
  explicit GroupCursor(SubfieldCursor subfields) : subfields_(subfields) { more_ = subfields_.Next(opening_); }
  bool Next(std::string_view& group);

 private:
  SubfieldCursor subfields_;
  std::string_view opening_;  // the subfield that opens the next group
  bool more_;
};

// Each finds item `index` of that name, counted from 0 up; an index below 0 finds nothing.
std::optional<MarcItem> FindField(FieldCursor cursor, std::string_view name, int index);
std::optional<MarcItem> FindHeader(std::string_view record, int index);
std::optional<MarcItem> FindSubfield(std::string_view text, std::string_view name, int index);
std::optional<MarcItem> FindGroup(std::string_view text, int index);

}  // namespace karst

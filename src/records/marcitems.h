// Where the items of a record text stand: every search ends in a view into the searched text, so that an item can be
// read and also be replaced where it stands.
#pragma once

#include <optional>
#include <string_view>

#include "records/cartulary.h"

namespace karst {

constexpr std::string_view kHeaderName = "hdr";

// An item found, and for a field the tag behind it. The views point into the text that was searched.
struct MarcItem {
  std::string_view text;
  std::string_view following_tag;
};

// Field text as it is read: a NUL or the end mark of a field or a record ends it, whichever comes first.
std::string_view WithoutEnd(std::string_view text);

// Each finds item `index` of that name, counted from 0 up; an index below 0 finds nothing.
std::optional<MarcItem> FindField(FieldCursor cursor, std::string_view name, int index);
std::optional<MarcItem> FindHeader(std::string_view record, int index);
std::optional<MarcItem> FindSubfield(std::string_view text, std::string_view name, int index);
// Group `index` runs from the subfield that opens it to the one that opens the next, or to the end of the last.
std::optional<MarcItem> FindGroup(std::string_view text, int index);

}  // namespace karst

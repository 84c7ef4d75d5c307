// What a look-up asks for, and the same taken from records: the keys under which a record is found.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace karst::cli {

// "TAG=text" or "TAG$code=text". White space at both ends of the query and of the text does not count.
struct RecordQuery {
  std::string place;      // "TAG" or "TAG$code"
  std::string_view text;  // points into the text that was read
};

// Nothing if the text has not the form of a query: a tag is 3 ASCII letters, digits or "-", a code one visible ASCII
// byte.
std::optional<RecordQuery> ReadQuery(std::string_view text);

// Gives `use` the data that a record has at a place, in order, without the white space at both ends: for a tag the data
// of each such field as it stands, after the indicators where the field has them; with a code the data of each such
// subfield in any of these fields.
void ForEachKey(std::string_view record, std::string_view place, const std::function<void(std::string_view)>& use);

}  // namespace karst::cli

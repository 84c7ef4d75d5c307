// MARCXML: a record as an element, and back.
//
// A field whose tag begins with "00" or "-0" is a controlfield; so is a field that has no two indicators of one ASCII
// character or whose text does not consist of subfields with a code of that kind, for a datafield cannot hold it.
#pragma once

#include <string>
#include <string_view>

namespace karst::cli {

inline constexpr std::string_view kXmlStart =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<collection xmlns=\"http://www.loc.gov/MARC21/slim\">\n";
inline constexpr std::string_view kXmlEnd = "</collection>\n";

// Appends the element of a record in the internal form, in UTF-8.
void AppendXmlRecord(std::string_view record, std::string& xml);

// Puts the record of one element "record", in UTF-8, into `record`, in the internal form. Names count without their
// prefix; attributes but tag, ind1, ind2 and code do not count, nor do comments. What the internal form cannot hold is
// a fault: a leader that is not of 24 bytes, other elements, text outside of the leader and the fields. Gives the fault
// in UTF-8; the empty text if all is well.
std::string ReadXmlRecord(std::string_view element, std::string& record);

}  // namespace karst::cli

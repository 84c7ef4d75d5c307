// Where a record itself says in which charset it is.
//
// MARC 21: byte 9 of the leader, "a" for UTF-8. UNIMARC: 100 $a, positions 26 to 29, "50" and two blanks for UTF-8; in
// records of persons, bodies and subjects (leader 6: x, y, z) positions 13 to 16. GBK has no code in either: a blank
// stands for it in the leader, and in 100 $a "0110", the code that Chinese records in GB charsets have there.
#pragma once

#include <string>
#include <string_view>

#include "cli/records/record_format.h"

namespace karst::cli {

// CHOICE: UNIMARC is what has a 100 $a that begins with eight digits; MARC 21 is what has none but a 245, or an 008 of
// 40 characters, or "4500" at the end of its leader. kNone for all else.
Flavour FlavourOf(std::string_view record);

// True if the record, in the internal form, says that it is UTF-8, in either way.
bool SaysUtf8(std::string_view record);

// Makes the record say that it is in `charset`. Nothing changes its length. A place that says nothing of UTF-8 is left
// alone when the record becomes GBK; so is a 100 $a that is too short. kAuto: what FlavourOf gives.
void SetCharsetMarks(std::string& record, RecordCharset charset, Flavour flavour);

}  // namespace karst::cli

// Which of the two charsets a text is in, where nobody has said it.
#pragma once

#include <string_view>

#include "cli/records/record_format.h"

namespace karst::cli {

// Says kGbk or kUtf8 for a record in the internal form. `before` is what the text before it was.
//
// Text that is not valid as UTF-8 is GBK. Text that is valid is UTF-8 if the record says so (leader 9 "a", or 100 $a
// with "50" at 26), or if there is enough evidence of it. With less, as with none, it is taken for what was before, and
// for GBK at the start.
RecordCharset GuessCharset(std::string_view record, RecordCharset before);

// The same for the head of a file in any format, where the last character may be cut: kAuto if it does not show.
RecordCharset GuessCharsetOfHead(std::string_view head);

}  // namespace karst::cli

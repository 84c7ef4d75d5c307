// What a file is, where nobody has said it: found out by reading its first bytes in each format.
#pragma once

#include <string>
#include <string_view>

#include "cli/records/byte_sources.h"
#include "cli/records/record_format.h"
#include "cli/records/record_parser.h"

namespace karst::cli {

// The encoding that the XML declaration at the head of a file names, or its byte order mark; empty if nothing does.
std::string DeclaredCharset(std::string_view head);

// The parser of `format` over `source`, whose first bytes are `head`. `charset` counts for MARCXML only: kGbk for a
// file that does not name its encoding. Null with a fault if it names one that the system does not know.
std::unique_ptr<RecordParser> MakeParser(RecordFormat format, std::unique_ptr<ByteSource> source, std::string_view head,
                                         RecordCharset charset, const SharedSourceState& state);

// The format in which a record can be read from the first bytes, or that has a sign there: a leader's line, an element
// "collection" or "record", an end mark of ISO 2709. kAuto if there is none. kIso2709 stands for the internal form too.
//
// LIMIT: a megabyte is looked at.
RecordFormat GuessFormat(PeekSource& source, RecordCharset charset);

// True if `head` has the look of a compressed file but is none: what it unpacks to has no record, and it has one as it
// stands. `format` is the one to look for, kAuto for any.
bool OnlyLooksCompressed(const std::string& head, RecordFormat format, RecordCharset charset);

}  // namespace karst::cli

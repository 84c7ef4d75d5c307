// What a file of records can be: its format, its charset, the kind of record in it; and the names of such files.
#pragma once

#include <string_view>

namespace karst::cli {

enum class RecordFormat { kAuto, kIso2709, kInternal, kMarcXml, kLines };
enum class RecordCharset { kAuto, kGbk, kUtf8 };
// Where a record says in which charset it is: nowhere, in byte 9 of the leader, in 100 $a.
enum class Flavour { kAuto, kNone, kMarc21, kUnimarc };

// The format that the end of a file name stands for, ".gz" after it or not; kAuto if it stands for none.
RecordFormat FormatOfFileName(std::string_view name);
// The ending that a file of this format gets: ".iso" and so on.
std::string_view FileEnding(RecordFormat format);
bool EndsInGz(std::string_view name);

}  // namespace karst::cli

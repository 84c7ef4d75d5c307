// What a file of records can be: its format, its charset, the kind of record in it; and the names of these.
#pragma once

#include <optional>
#include <string_view>

namespace karst::cli {

enum class RecordFormat { kAuto, kIso2709, kInternal, kMarcXml, kLines };
enum class RecordCharset { kAuto, kGbk, kUtf8 };
// Where a record says in which charset it is: nowhere, in byte 9 of the leader, in 100 $a.
enum class Flavour { kAuto, kNone, kMarc21, kUnimarc };

// By their names, in any case of letters: "auto", "iso2709", "internal", "marcxml", "lines"; "auto", "gbk", "utf-8";
// "auto", "none", "marc21", "unimarc". Nothing for another name.
std::optional<RecordFormat> FormatByName(std::string_view name);
std::optional<RecordCharset> CharsetByName(std::string_view name);
std::optional<Flavour> FlavourByName(std::string_view name);

// The format that the end of a file name stands for, ".gz" behind it or not; kAuto if it stands for none.
RecordFormat FormatOfFileName(std::string_view name);
bool EndsInGz(std::string_view name);

}  // namespace karst::cli

// The endings of file names, and the formats that they stand for.
#include "cli/records/record_format.h"

#include <algorithm>
#include <string>
#include <utility>

#include "cli/base/ascii.h"

namespace karst::cli {
namespace {

// A file that is written gets the first of its format.
constexpr std::pair<RecordFormat, std::string_view> kEndings[] = {
    {RecordFormat::kIso2709, ".iso"},     {RecordFormat::kIso2709, ".iso2709"},   {RecordFormat::kIso2709, ".mrc"},
    {RecordFormat::kIso2709, ".marc"},    {RecordFormat::kInternal, ".internal"}, {RecordFormat::kMarcXml, ".xml"},
    {RecordFormat::kMarcXml, ".marcxml"}, {RecordFormat::kLines, ".txt"},         {RecordFormat::kLines, ".lines"}};
constexpr std::string_view kGzEnding = ".gz";

}  // namespace

bool EndsInGz(std::string_view name) { return LoweredAscii(name).ends_with(kGzEnding); }

RecordFormat FormatOfFileName(std::string_view name) {
  if (EndsInGz(name)) name.remove_suffix(kGzEnding.size());
  const std::string lowered = LoweredAscii(name);
  for (const auto& [format, ending] : kEndings) {
    if (lowered.ends_with(ending)) return format;
  }
  return RecordFormat::kAuto;
}

// kAuto stands for ISO 2709, as for what is written.
std::string_view FileEnding(RecordFormat format) {
  const auto* found = std::find_if(std::begin(kEndings), std::end(kEndings),
                                   [&](const auto& ending) { return ending.first == format; });
  return found == std::end(kEndings) ? kEndings[0].second : found->second;
}

}  // namespace karst::cli

// The names of formats and charsets, and what tells the formats apart.
#include "cli/records/record_format.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "cli/base/ascii.h"

namespace karst::cli {
namespace {

template <class Value, size_t kCount>
using Names = std::array<std::pair<Value, std::string_view>, kCount>;

constexpr Names<RecordFormat, 5> kFormats = {{{RecordFormat::kAuto, "auto"},
                                              {RecordFormat::kIso2709, "iso2709"},
                                              {RecordFormat::kInternal, "internal"},
                                              {RecordFormat::kMarcXml, "marcxml"},
                                              {RecordFormat::kLines, "lines"}}};
constexpr Names<RecordCharset, 3> kCharsets = {
    {{RecordCharset::kAuto, "auto"}, {RecordCharset::kGbk, "gbk"}, {RecordCharset::kUtf8, "utf-8"}}};
constexpr Names<Flavour, 4> kFlavours = {
    {{Flavour::kAuto, "auto"}, {Flavour::kNone, "none"}, {Flavour::kMarc21, "marc21"}, {Flavour::kUnimarc, "unimarc"}}};
constexpr Names<RecordFormat, 9> kEndings = {{{RecordFormat::kIso2709, ".iso"},
                                              {RecordFormat::kIso2709, ".iso2709"},
                                              {RecordFormat::kIso2709, ".mrc"},
                                              {RecordFormat::kIso2709, ".marc"},
                                              {RecordFormat::kInternal, ".internal"},
                                              {RecordFormat::kMarcXml, ".xml"},
                                              {RecordFormat::kMarcXml, ".marcxml"},
                                              {RecordFormat::kLines, ".lines"},
                                              {RecordFormat::kLines, ".txt"}}};
constexpr std::string_view kGzEnding = ".gz";

template <class Value, size_t kCount>
std::optional<Value> ValueIn(const Names<Value, kCount>& names, std::string_view name) {
  const std::string wanted = LoweredAscii(name);
  const auto found = std::find_if(names.begin(), names.end(), [&](const auto& pair) { return pair.second == wanted; });
  return found == names.end() ? std::nullopt : std::optional<Value>(found->first);
}

}  // namespace

std::optional<RecordFormat> FormatByName(std::string_view name) { return ValueIn(kFormats, name); }
std::optional<RecordCharset> CharsetByName(std::string_view name) { return ValueIn(kCharsets, name); }
std::optional<Flavour> FlavourByName(std::string_view name) { return ValueIn(kFlavours, name); }

bool EndsInGz(std::string_view name) { return LoweredAscii(name).ends_with(kGzEnding); }

RecordFormat FormatOfFileName(std::string_view name) {
  if (EndsInGz(name)) name.remove_suffix(kGzEnding.size());
  const std::string lowered = LoweredAscii(name);
  for (const auto& [format, ending] : kEndings) {
    if (lowered.ends_with(ending)) return format;
  }
  return RecordFormat::kAuto;
}

}  // namespace karst::cli

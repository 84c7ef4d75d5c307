// Any bytes as a source to be checked and mended: both end, findings lie inside the text, what was mended needs no more
// mending, and the engine refuses nothing that the checker let pass.
#include <cstdint>
#include <string>

#include "cli/check/check.h"
#include "cli/check/fix.h"
#include "support/fuzz_input.h"

namespace {

using namespace karst::cli::check;
using karst::cli::PlaceFinder;
using karst::testing::Require;

void CheckAs(const std::string& bytes, SourceKind kind) {
  const CheckedSource checked = CheckSource(bytes, kind);
  PlaceFinder places(checked.text);
  for (const Finding& finding : checked.findings.Sorted()) {
    Require(finding.offset <= checked.text.gbk.size());
    Require(finding.rule != Rule::kEngine);
    const auto place = places.Find(finding.offset);
    Require(place.line > 0 && place.column > 0);
    for (const Language language : {Language::kChinese, Language::kEnglish}) {
      Require(LineOf(finding, language).find('\n') == std::string::npos);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  CheckAs(bytes, SourceKind::kScript);
  CheckAs(bytes, SourceKind::kFilter);
  const MendedSource mended = Mend(bytes);
  if (!mended.Refused()) Require(!Mend(mended.bytes).Changed());
  return 0;
}

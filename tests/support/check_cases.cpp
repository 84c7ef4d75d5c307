#include "support/check_cases.h"

#include <gtest/gtest.h>

#include "support/case_file.h"
#include "support/fences.h"

namespace karst::testing {
namespace {

using cli::check::SourceKind;

CheckCase CaseOf(const Fence& fence, const std::string& findings) {
  CaseText text;
  text.raw = fence.word.ends_with(" raw");
  text.text = std::string(WithoutLastLineEnds(fence.text));
  if (!text.raw) text.text = WriteOutCopies(text.text);
  const bool filter = fence.word.find("filter") != std::string::npos;
  return {fence.place, InputBytes(text), filter ? SourceKind::kFilter : SourceKind::kScript, findings};
}

}  // namespace

std::vector<CheckCase> ReadCheckCases(const std::string& path) {
  std::vector<CheckCase> cases;
  if (!path.ends_with(".case")) {
    for (const auto& [source, found] : PairedFences(path, "karst-check", "findings")) {
      cases.push_back(CaseOf(source, found.text));
    }
    return cases;
  }
  for (const Case& each : ReadCaseFile(path)) {
    EXPECT_EQ(each.fault, "");
    cases.push_back({each.place, InputBytes(each.filter ? *each.filter : *each.script),
                     each.filter ? SourceKind::kFilter : SourceKind::kScript, each.findings});
  }
  return cases;
}

std::vector<CheckCase> ReadSources(const std::string& path, const std::string& word, const std::string& unless) {
  const std::vector<Fence> fences = ReadFences(path);
  std::vector<CheckCase> cases;
  for (size_t i = 0; i < fences.size(); ++i) {
    const bool left_out = i + 1 < fences.size() && fences[i + 1].text.find(unless) != std::string::npos;
    if (fences[i].word == word && !left_out) cases.push_back(CaseOf(fences[i], ""));
  }
  return cases;
}

std::string FindingLines(const cli::check::CheckedSource& checked, cli::check::Severity least,
                         cli::check::Language language) {
  std::string lines;
  cli::PlaceFinder places(checked.text);
  for (const cli::check::Finding& finding : checked.findings.Sorted()) {
    const auto place = places.Find(finding.offset);
    if (finding.severity < least) continue;
    lines += std::to_string(place.line) + ":" + std::to_string(place.column) + ": " +
             cli::check::LineOf(finding, language) + "\n";
  }
  return lines;
}

}  // namespace karst::testing

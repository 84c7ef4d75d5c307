#include "support/check_cases.h"

#include <gtest/gtest.h>

#include <fstream>

#include "support/case_file.h"

namespace karst::testing {
namespace {

using cli::check::SourceKind;

struct Fence {
  int line;
  std::string word;
  std::string text;
};

std::vector<Fence> ReadFences(const std::string& path) {
  std::ifstream in(path);
  EXPECT_TRUE(in.good()) << path;
  std::vector<Fence> fences;
  bool inside = false;
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (!line.starts_with("```")) {
      if (inside) fences.back().text += line + "\n";
      continue;
    }
    inside = !inside;
    if (inside) fences.push_back({number, line.substr(3), ""});
  }
  EXPECT_FALSE(inside) << path << ": the last fence is open";
  return fences;
}

CheckCase CaseOf(const std::string& path, const Fence& fence) {
  CaseText text;
  text.raw = fence.word.ends_with(" raw");
  text.text = std::string(WithoutLastLineEnds(fence.text));
  if (!text.raw) text.text = WriteOutCopies(text.text);
  const bool filter = fence.word.find("filter") != std::string::npos;
  return {path + ":" + std::to_string(fence.line), InputBytes(text), filter ? SourceKind::kFilter : SourceKind::kScript,
          ""};
}

}  // namespace

std::vector<CheckCase> ReadCheckCases(const std::string& path) {
  std::vector<CheckCase> cases;
  if (path.ends_with(".case")) {
    for (const Case& each : ReadCaseFile(path)) {
      EXPECT_EQ(each.fault, "");
      cases.push_back({each.place, InputBytes(each.filter ? *each.filter : *each.script),
                       each.filter ? SourceKind::kFilter : SourceKind::kScript, each.findings});
    }
    return cases;
  }
  bool awaits_findings = false;
  for (const Fence& fence : ReadFences(path)) {
    if (fence.word.starts_with("karst-check")) {
      EXPECT_FALSE(awaits_findings) << path << ":" << fence.line << ": the source ahead has no findings";
      cases.push_back(CaseOf(path, fence));
      awaits_findings = true;
    } else if (fence.word == "findings") {
      EXPECT_TRUE(awaits_findings) << path << ":" << fence.line << ": findings without a source";
      if (awaits_findings) cases.back().findings = fence.text;
      awaits_findings = false;
    }
  }
  EXPECT_FALSE(awaits_findings) << path << ": the last source has no findings";
  return cases;
}

std::vector<CheckCase> ReadSources(const std::string& path, const std::string& word, const std::string& unless) {
  const std::vector<Fence> fences = ReadFences(path);
  std::vector<CheckCase> cases;
  for (size_t i = 0; i < fences.size(); ++i) {
    const bool left_out = i + 1 < fences.size() && fences[i + 1].text.find(unless) != std::string::npos;
    if (fences[i].word == word && !left_out) cases.push_back(CaseOf(path, fences[i]));
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

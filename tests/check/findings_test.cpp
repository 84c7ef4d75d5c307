// Sources and the findings that they give: the page about checking, and the cases beside this file.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/check_cases.h"
#include "support/places.h"

namespace karst::testing {
namespace {

using namespace cli::check;

void CheckPage(const std::string& path, std::string& all_findings) {
  for (const CheckCase& source : ReadCheckCases(path)) {
    const CheckedSource checked = CheckSource(source.bytes, source.kind);
    EXPECT_EQ(FindingLines(checked, Severity::kNote), source.findings) << source.place;
    all_findings += source.findings;
  }
}

TEST(CheckFindings, ThePageShowsEveryRule) {
  std::string shown;
  CheckPage(SourcePath("docs/checking.md"), shown);
  for (size_t i = 0; i < kRuleCount; ++i) {
    const auto rule = static_cast<Rule>(i);
    if (rule == Rule::kFunctionLacking || rule == Rule::kMore || rule == Rule::kEngine) continue;
    const std::string name = "[" + std::string(RuleOf(rule).name) + "]";
    EXPECT_NE(shown.find(name), std::string::npos) << name;
  }
}

TEST(CheckFindings, Cases) {
  std::string shown;
  for (const auto& entry : std::filesystem::directory_iterator(SourcePath("tests/check/cases"))) {
    CheckPage(entry.path().string(), shown);
  }
  EXPECT_FALSE(shown.empty());
}

TEST(CheckFindings, ChineseTextsAndTheLimit) {
  std::string source = "goto a\r\n";
  EXPECT_EQ(FindingLines(CheckSource(source, SourceKind::kScript), Severity::kNote, Language::kChinese),
            "1:6: \xE9\x94\x99\xE8\xAF\xAF: \xE6\xB2\xA1\xE6\x9C\x89\xE6\xA0\x87\xE5\x8F\xB7 a [no-label]\n");
  for (int i = 0; i < 2000; ++i) source += "if 1 goto a\r\n";
  const auto findings = CheckSource(source, SourceKind::kScript).findings.Sorted();
  EXPECT_EQ(findings.size(), Findings::kMost + 1);
  EXPECT_EQ(findings.back().rule, Rule::kMore);
}

TEST(CheckFindings, TheKindIsTakenFromTheNameOrTheWords) {
  EXPECT_EQ(KindOf("A.FLT", ""), SourceKind::kFilter);
  EXPECT_EQ(KindOf("a.pro", "Record {}"), SourceKind::kScript);
  EXPECT_EQ(KindOf("a.txt", "# Record\r\nint a\r\n"), SourceKind::kScript);
  EXPECT_EQ(KindOf("a.txt", "int a\nField \"200\" {\n}"), SourceKind::kFilter);
}

}  // namespace
}  // namespace karst::testing

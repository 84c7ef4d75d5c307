// What runs is no error: the checker against the engine, over every source of the tests, the examples and the pages.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "check/check.h"
#include "check/lexer.h"
#include "marc/marctree.h"
#include "support/case_file.h"
#include "support/child_process.h"
#include "support/places.h"

namespace karst::testing {
namespace {

using namespace cli::check;

std::string Lines(const CheckedSource& checked, Severity least) {
  std::string lines;
  PlaceFinder places(checked.text);
  for (const Finding& finding : checked.findings.Sorted()) {
    const auto place = places.Find(finding.offset);
    if (finding.severity < least) continue;
    lines += std::to_string(place.line) + ":" + std::to_string(place.column) + ": " +
             LineOf(finding, Language::kEnglish) + "\n";
  }
  return lines;
}

bool RunsToItsEnd(const Case& test_case) {
  return test_case.error.empty() && test_case.result.value_or(0) != -1 && (test_case.script || test_case.filter);
}

TEST(GoodSources, NoCaseThatRunsHasAnError) {
  size_t checked = 0;
  for (const Case& test_case : ReadAllCases(SourcePath("tests/cases"))) {
    if (!RunsToItsEnd(test_case)) continue;
    const bool filter = test_case.filter.has_value();
    const std::string bytes = InputBytes(filter ? *test_case.filter : *test_case.script);
    EXPECT_EQ(Lines(CheckSource(bytes, filter ? SourceKind::kFilter : SourceKind::kScript), Severity::kError), "")
        << test_case.place << " " << test_case.title;
    ++checked;
  }
  EXPECT_GT(checked, 100u);
}

TEST(GoodSources, ExamplesHaveNoFindings) {
  size_t checked = 0;
  for (const auto& entry : std::filesystem::directory_iterator(SourcePath("examples"))) {
    const std::string name = entry.path().filename().string();
    if (!name.ends_with(".flt") && !name.ends_with(".pro")) continue;
    const std::string bytes = ReadWhole(entry.path().string());
    EXPECT_EQ(Lines(CheckSource(bytes, KindOf(name, bytes)), Severity::kNote), "") << name;
    ++checked;
  }
  EXPECT_GE(checked, 8u);
}

}  // namespace
}  // namespace karst::testing

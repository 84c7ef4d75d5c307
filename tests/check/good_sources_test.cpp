// What runs is no error: the checker against every source of the tests, the examples and the pages that runs to its
// end.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "cli/check/check.h"
#include "support/case_file.h"
#include "support/check_cases.h"
#include "support/places.h"
#include "support/whole_files.h"

namespace karst::testing {
namespace {

using namespace cli::check;

bool RunsToItsEnd(const Case& test_case) {
  return test_case.error.empty() && test_case.result.value_or(0) != -1 && (test_case.script || test_case.filter);
}

// Faults that these cases put where the run does not come, or that happen to do no harm.
const std::set<std::string> kHarmlessFaults = {
    "a file that cannot be made",  // the format is not looked at
    "a line that is skipped by bytes may hold what is no token",
    "a long literal that is never read",
    "a line end takes two bytes whatever the second is",  // it takes a byte that is not missed
    "lines that end in LF alone",                         // nothing but calls
};

TEST(GoodSources, NoCaseThatRunsHasAnError) {
  size_t checked = 0;
  for (const Case& test_case : ReadAllCases(SourcePath("tests/cases"))) {
    if (!RunsToItsEnd(test_case)) continue;
    const bool filter = test_case.filter.has_value();
    const std::string bytes = InputBytes(filter ? *test_case.filter : *test_case.script);
    const auto kind = filter ? SourceKind::kFilter : SourceKind::kScript;
    const auto checked_source = CheckSource(bytes, kind, cli::SourceReading::kAsIs);
    const std::string errors = FindingLines(checked_source, Severity::kError);
    EXPECT_EQ(!errors.empty(), kHarmlessFaults.contains(test_case.title))
        << test_case.place << " " << test_case.title << "\n"
        << errors;
    ++checked;
  }
  EXPECT_GT(checked, 200u);
}

TEST(GoodSources, ExamplesHaveNoFindings) {
  size_t checked = 0;
  for (const auto& entry : std::filesystem::directory_iterator(SourcePath("examples"))) {
    const std::string name = entry.path().filename().string();
    if (!name.ends_with(".flt") && !name.ends_with(".pro")) continue;
    const std::string bytes = ReadWhole(entry.path());
    EXPECT_EQ(FindingLines(CheckSource(bytes, KindOf(name, bytes)), Severity::kWarning), "") << name;
    ++checked;
  }
  EXPECT_GE(checked, 8u);
}

TEST(GoodSources, ExamplesOfThePagesHaveNoErrors) {
  size_t checked = 0;
  for (const auto& [page, word] :
       {std::pair{"docs/language.md", "karst"}, {"docs/builtins.md", "karst"}, {"docs/filters.md", "karst-filter"}}) {
    for (const CheckCase& source : ReadSources(SourcePath(page), word, "\xE8\xA1\x8C: ")) {
      EXPECT_EQ(FindingLines(CheckSource(source.bytes, source.kind), Severity::kError), "") << source.place;
      ++checked;
    }
  }
  EXPECT_GT(checked, 40u);
}

}  // namespace
}  // namespace karst::testing

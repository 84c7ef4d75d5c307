// Every case of tests/cases as a test.
#include <gtest/gtest.h>

#include <set>

#include "support/case_file.h"
#include "support/case_runner.h"
#include "support/places.h"

namespace karst::testing {

void PrintTo(const Case& test_case, std::ostream* out) { *out << test_case.title; }

namespace {

class Cases : public ::testing::TestWithParam<Case> {};

TEST_P(Cases, Runs) { CheckCase(GetParam()); }

const std::vector<Case>& AllCases() {
  static const std::vector<Case> cases = ReadAllCases(SourcePath("tests/cases"));
  return cases;
}

// Titles that differ in punctuation alone get the case's number.
std::string UniqueName(const ::testing::TestParamInfo<Case>& info) {
  static std::set<std::string> taken;
  const std::string name = TestNameOf(info.param);
  return taken.insert(name).second ? name : name + "_" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(All, Cases, ::testing::ValuesIn(AllCases()), UniqueName);

}  // namespace
}  // namespace karst::testing

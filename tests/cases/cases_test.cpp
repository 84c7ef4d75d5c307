// The cases of tests/cases: those under one heading are a test.
#include <gtest/gtest.h>

#include <set>

#include "support/case_file.h"
#include "support/case_runner.h"
#include "support/places.h"

namespace karst::testing {

using Topic = std::vector<Case>;

void PrintTo(const Topic& topic, std::ostream* out) { *out << topic[0].place; }

namespace {

class Cases : public ::testing::TestWithParam<Topic> {};

TEST_P(Cases, Run) {
  for (const Case& each : GetParam()) CheckCase(each);
}

std::vector<Topic> AllTopics() {
  std::vector<Topic> topics;
  for (Case& each : ReadAllCases(SourcePath("tests/cases"))) {
    const bool same = !topics.empty() && TestNameOf(topics.back()[0]) == TestNameOf(each);
    if (!same) topics.emplace_back();
    topics.back().push_back(std::move(each));
  }
  return topics;
}

// Headings that differ in punctuation alone get the test's number.
std::string UniqueName(const ::testing::TestParamInfo<Topic>& info) {
  static std::set<std::string> taken;
  const std::string name = TestNameOf(info.param[0]);
  return taken.insert(name).second ? name : name + "_" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(All, Cases, ::testing::ValuesIn(AllTopics()), UniqueName);

}  // namespace
}  // namespace karst::testing

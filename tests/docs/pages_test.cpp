// The pages about the language: their examples write what they say, and every function there is is described.
#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include "builtins/table.h"
#include "support/doc_examples.h"
#include "support/places.h"
#include "support/whole_files.h"

namespace karst::testing {
namespace {

TEST(LanguageDocument, ExamplesRunAsShown) { CheckExamples("docs/language.md", 10); }

TEST(BuiltinsDocument, ExamplesRunAsShown) { CheckExamples("docs/builtins.md", 20); }

// A function has a heading and stands in an example; one that does not run yet has neither.
TEST(BuiltinsDocument, DescribesEveryFunction) {
  std::istringstream in(ReadWhole(SourcePath("docs/builtins.md")));
  std::string headings, examples;
  bool inside = false;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("```")) inside = line == "```karst";
    if (line.starts_with("### ")) headings += line + "\n";
    if (inside) examples += line + "\n";
  }
  for (const KernelFunctionRow& row : kKernelFunctions) {
    const std::string name(row.name);
    if (name.empty()) continue;
    const bool runs = row.handler != nullptr;
    EXPECT_EQ(headings.find("`" + name + "(") != std::string::npos, runs) << name;
    EXPECT_EQ(std::regex_search(examples, std::regex("\\b" + name + "\\(")), runs) << name;
  }
}

}  // namespace
}  // namespace karst::testing

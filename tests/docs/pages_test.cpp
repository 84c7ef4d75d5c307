// The pages about the language: their examples write what they say, and every function there is is described.
#include <gtest/gtest.h>

#include <cctype>
#include <sstream>

#include "builtins/table.h"
#include "support/doc_examples.h"
#include "support/places.h"
#include "support/whole_files.h"

namespace karst::testing {
namespace {

TEST(LanguageDocument, ExamplesRunAsShown) { CheckExamples("docs/language.md", 10); }

TEST(BuiltinsDocument, ExamplesRunAsShown) { CheckExamples("docs/builtins.md", 20); }

int CallsOf(const std::string& name, const std::string& text) {
  int calls = 0;
  for (size_t at = text.find(name + "("); at != text.npos; at = text.find(name + "(", at + 1)) {
    calls += at == 0 || !std::isalnum(static_cast<unsigned char>(text[at - 1]));
  }
  return calls;
}

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
    EXPECT_EQ(CallsOf(name, examples) > 0, runs) << name;
  }
}

}  // namespace
}  // namespace karst::testing

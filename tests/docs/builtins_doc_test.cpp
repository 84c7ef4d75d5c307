// The reference of the built-in functions: its examples write what it says, and it describes every function there is.
#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <string>

#include "builtins/table.h"
#include "support/doc_examples.h"
#include "support/places.h"

namespace karst::testing {
namespace {

// True if `code` calls the function of that very name.
bool Calls(const std::string& code, const std::string& name) {
  for (size_t at = code.find(name + "("); at != std::string::npos; at = code.find(name + "(", at + 1)) {
    if (at == 0 || !std::isalnum(static_cast<unsigned char>(code[at - 1]))) return true;
  }
  return false;
}

TEST(BuiltinsDocument, ExamplesRunAsShown) { CheckExamples("docs/builtins.md", 20); }

// A function has a heading and stands in an example; one that does not run yet has neither.
TEST(BuiltinsDocument, DescribesEveryFunction) {
  std::ifstream in(SourcePath("docs/builtins.md"));
  std::string headings;
  std::string examples;
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
    EXPECT_EQ(Calls(examples, name), runs) << name;
  }
}

}  // namespace
}  // namespace karst::testing

#include "support/doc_examples.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string_view>
#include <vector>

#include "support/case_runner.h"
#include "support/places.h"

namespace karst::testing {
namespace {

struct Example {
  int line = 0;
  std::string script;
  std::string output;
};

// The text of a fence, its opening line read; `line_number` is kept.
std::string ReadFence(std::istream& in, int& line_number) {
  std::string text;
  for (std::string line; std::getline(in, line); text += line + "\n") {
    ++line_number;
    if (line == "```") break;
  }
  return text;
}

std::vector<Example> ReadExamples(const std::string& path) {
  std::ifstream in(path);
  std::vector<Example> examples;
  int line_number = 0;
  bool awaits_output = false;
  for (std::string line; std::getline(in, line);) {
    ++line_number;
    if (line == "```karst") {
      EXPECT_FALSE(awaits_output) << path << ":" << line_number << ": the example ahead has no output";
      const int opening = line_number;
      examples.push_back({opening, ReadFence(in, line_number), ""});
      awaits_output = true;
    } else if (line == "```output") {
      EXPECT_TRUE(awaits_output) << path << ":" << line_number << ": output without an example";
      if (awaits_output) examples.back().output = ReadFence(in, line_number);
      awaits_output = false;
    }
  }
  EXPECT_FALSE(awaits_output) << path << ": the last example has no output";
  return examples;
}

// Blank lines around an output belong to its layout in the document.
std::string_view Core(std::string_view text) {
  text = WithoutLastLineEnds(text);
  while (text.starts_with('\n')) text.remove_prefix(1);
  return text;
}

}  // namespace

void CheckExamples(const std::string& page, size_t at_least) {
  const std::string path = SourcePath(page);
  const std::vector<Example> examples = ReadExamples(path);
  EXPECT_GE(examples.size(), at_least) << path;
  for (const Example& example : examples) {
    SCOPED_TRACE(path + ":" + std::to_string(example.line));
    Case as_case;
    as_case.script = CaseText{.name = "", .text = std::string(WithoutLastLineEnds(example.script))};
    for (const bool remembering : {true, false}) {
      const Observed observed = RunCase(as_case, remembering);
      EXPECT_EQ(Core(Shown(observed.output)), Core(example.output)) << (remembering ? "" : "nothing remembered");
    }
  }
}

}  // namespace karst::testing

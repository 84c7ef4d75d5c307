#include "support/doc_examples.h"

#include <gtest/gtest.h>

#include "support/case_runner.h"
#include "support/fences.h"
#include "support/places.h"

namespace karst::testing {
namespace {

// Blank lines around an output belong to its layout in the document.
std::string_view Core(std::string_view text) {
  text = WithoutLastLineEnds(text);
  while (text.starts_with('\n')) text.remove_prefix(1);
  return text;
}

}  // namespace

void CheckExamples(const std::string& page, size_t at_least) {
  size_t checked = 0;
  for (const auto& [script, output] : PairedFences(SourcePath(page), "karst", "output")) {
    SCOPED_TRACE(script.place);
    Case as_case;
    as_case.script = CaseText{.name = "", .text = std::string(WithoutLastLineEnds(script.text))};
    for (const bool remembering : {true, false}) {
      const Observed observed = RunCase(as_case, remembering);
      EXPECT_EQ(Core(Shown(observed.output)), Core(output.text)) << (remembering ? "" : "nothing remembered");
    }
    ++checked;
  }
  EXPECT_GE(checked, at_least) << page;
}

}  // namespace karst::testing

// Nothing shows whether a script runs from its text or from what is remembered of it: not its output, its variables,
// its errors, nor where reading stands. Generated scripts run over and over, as a whole and in pieces as a filter's
// tree runs its code, while a host changes variables between the runs.
#include "script/remembered.h"

#include <gtest/gtest.h>

#include "script/script.h"
#include "support/readable.h"
#include "support/script_maker.h"

namespace karst::testing {
namespace {

constexpr int kRounds = 7;
constexpr char kEndless[] = "endless ";

std::string Variables(const CScript& script) {
  std::string lines = "frames " + std::to_string(script.m_nBeginCount) + "\n";
  for (const CVarCell* cell : script.m_Cells) {
    lines += std::string(cell->name.view()) + " " + std::to_string(cell->leixing) + " " + std::to_string(cell->lVal) +
             " " + std::to_string(cell->i64Val) + " " + (cell->string ? cell->string->c_str() : "") + "\n";
  }
  return lines;
}

// From one place of the code, up to another or to the end of it all; then what it came to, and where.
std::string RunPiece(CScript& script, size_t start, size_t end, bool counted) {
  script.lpProg = script.lpCodeBuffer + start;
  script.lpProgEnd = end ? script.lpCodeBuffer + end : nullptr;
  SetStatementBudgetForTests(counted ? 300 : -1);
  std::string report;
  const std::string refusal = RefusalOf([&] { report = std::to_string(script.MainLoop()); });
  if (statement_budget == 0) return kEndless;  // where in a statement it is ended is no script's business
  return report + " " + refusal + " at " + std::to_string(script.lpProg - script.lpCodeBuffer) + "\n" +
         Variables(script);
}

std::string RunsOf(const std::string& source, unsigned seed, bool remembering, bool counted) {
  SetRememberingForTests(remembering);
  ScriptMaker choice(seed + 1);
  CScript script;
  auto control = std::make_unique<MemoryTextControl>();
  const MemoryTextControl* output = control.get();
  script.hWnd = AddWindow(std::move(control));
  for (const char* name : {"a", "b", "k"}) script.CreateNewVar(name, int32_t{1});
  script.CreateNewVar("w", int64_t{5});
  for (const char* name : {"s", "t"}) script.CreateNewVar(name, "2");
  CVarCell* const word = script.SearchVar("k");
  script.LoadCode(source, "");
  const auto length = static_cast<size_t>(script.nCodeLen);
  size_t starts[4] = {}, ends[4] = {};
  for (int i = 1; i < 4; ++i) {
    starts[i] =
        std::min(std::string_view(script.lpCodeBuffer, length).find_first_of(" \n", choice.Any(length)), length - 1) +
        1;
    ends[i] = starts[i] + choice.Any(length - starts[i] + 1);
  }
  std::string report;
  for (int round = 0; round < kRounds; ++round) {
    if (round == 4) word->leixing = kWord;
    for (int i = 0; i < 4; ++i) {
      if (i < 2) script.ClearSomeVars(6), script.m_nBeginCount = 0;  // what errors have left
      script.ChangeVarValue("s", "2");
      report += "piece " + std::to_string(i) + ": " + RunPiece(script, starts[i], ends[i], counted);
    }
    word->leixing = kInt;
  }
  SetRememberingForTests(true);
  SetStatementBudgetForTests(-1);
  report += "output " + std::string(output->Text().view());
  report.append(script.lpCodeBuffer, length);
  DestroyWindow(script.hWnd);
  return report;
}

class Remembered : public ::testing::TestWithParam<unsigned> {};

TEST_P(Remembered, RunsAsTheTextDoes) {
  for (unsigned seed = GetParam() * 100; seed < (GetParam() + 1) * 100; ++seed) {
    const std::string source = ScriptMaker(seed).Make();
    const std::string plain = RunsOf(source, seed, false, true);
    // What keeps no count of its statements is another code than what does.
    const bool ends = plain.find(kEndless) == plain.npos;
    ASSERT_EQ(RunsOf(source, seed, true, !ends), plain) << "seed " << seed << "\n" << source;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Remembered, ::testing::Range(0u, 20u));

}  // namespace
}  // namespace karst::testing

// The token loop, arithmetic, variable look-up, calls and formatted output, as whole small scripts. Each benchmark runs
// a script of kPasses passes on an object that has it loaded; the rate is passes a second.
#include <benchmark/benchmark.h>

#include <string>

#include "script/script.h"
#include "script_run.h"

namespace {

constexpr int kPasses = 10000;

std::string Loop(const std::string& body) {
  return "loop i < " + std::to_string(kPasses) + "\n i = i + 1\n" + body + "endloop\n";
}

void RunScript(benchmark::State& state, const std::string& declarations, const std::string& body) {
  const bench::TempFile file(bench::WithLineEnds("int i\n" + declarations + Loop(body)));
  CScript script;
  if (script.ReadCodeFromFile(file.Path(), 0) == -1) return state.SkipWithError("script not loaded");
  for (auto _ : state) {
    script.ClearVars();
    script.ResetCodeStartPos();
    benchmark::DoNotOptimize(script.MainLoop());
  }
  state.SetItemsProcessed(state.iterations() * kPasses);
}

// Every token read from the text: skips over a block that never runs.
void TokenLoop(benchmark::State& state) {
  std::string text;
  for (int i = 0; i < 2000; ++i) text += "name_" + std::to_string(i) + " = (alpha + 12) * beta\n";
  const bench::TempFile file(bench::WithLineEnds(text));
  CScript script;
  if (script.ReadCodeFromFile(file.Path(), 0) == -1) return state.SkipWithError("script not loaded");
  int64_t tokens = 0;
  for (auto _ : state) {
    script.ResetCodeStartPos();
    do {
      script.GetToken();
      ++tokens;
    } while (script.nTok != karst::FINISHED);
  }
  state.SetItemsProcessed(tokens);
}

void Arithmetic(benchmark::State& state) { RunScript(state, "int s\n", " s = s + i % 7 * (i - 3)\n"); }
void Arithmetic64(benchmark::State& state) { RunScript(state, "int64 s\n", " s = s + i % 7 * (i - 3)\n"); }
void Branch(benchmark::State& state) {
  RunScript(state, "int a\nint b\n", " if i % 2 == 0 {\n  a = a + 1\n }\n else {\n  b = b + 1\n }\n");
}
void TextAppend(benchmark::State& state) { RunScript(state, "string s\n", " s << \"x\"\n"); }

void LookUp(benchmark::State& state) {
  std::string others;
  for (int i = 0; i < state.range(0); ++i) others += "int other_" + std::to_string(i) + "\n";
  RunScript(state, "int oldest\n" + others, " oldest = oldest + 1\n");
}

void Call(benchmark::State& state) { RunScript(state, "int t\nstring out\n", " t = t + sprintf(&out, \"\")\n"); }
void FormattedOutput(benchmark::State& state) {
  RunScript(state, "int t\nstring out\nstring w = \"catalogue\"\n", " t = t + sprintf(&out, \"%d:%s\", i, w)\n");
}

BENCHMARK(TokenLoop);
BENCHMARK(Arithmetic);
BENCHMARK(Arithmetic64);
BENCHMARK(Branch);
BENCHMARK(TextAppend);
BENCHMARK(LookUp)->Arg(10)->Arg(2000);
BENCHMARK(Call);
BENCHMARK(FormattedOutput);

}  // namespace

// Built-ins on short and on long texts, on a record of many fields, and on large tables. Each benchmark runs a script
// of kPasses passes; the rate is passes a second.
#include <benchmark/benchmark.h>

#include <string>

#include "script/script.h"
#include "script_run.h"

namespace {

constexpr int kPasses = 1000;

std::string Counted(const std::string& body, int passes = kPasses) {
  return "loop i < " + std::to_string(passes) + "\n i = i + 1\n" + body + "endloop\n";
}

// Runs a script whose text variable `t` holds `text`.
void RunWithText(benchmark::State& state, const std::string& text, const std::string& declarations,
                 const std::string& body, int passes = kPasses) {
  const bench::TempFile file(bench::WithLineEnds("int i\n" + declarations + Counted(body, passes)));
  CScript script;
  if (script.ReadCodeFromFile(file.Path(), 0) == -1) return state.SkipWithError("script not loaded");
  for (auto _ : state) {
    script.ClearVars();
    script.CreateNewVar("t", text.c_str());
    script.ResetCodeStartPos();
    benchmark::DoNotOptimize(script.MainLoop());
  }
  state.SetItemsProcessed(state.iterations() * passes);
}

std::string TextOf(benchmark::State& state) { return std::string(static_cast<size_t>(state.range(0)), 'x'); }

void StrLen(benchmark::State& state) { RunWithText(state, TextOf(state), "int n\n", " n = StrLen(t)\n"); }
void SubStr(benchmark::State& state) { RunWithText(state, TextOf(state), "int n\n", " n = SubStr(t, \"xy\")\n"); }
void CopyStr(benchmark::State& state) { RunWithText(state, TextOf(state), "string s\n", " CopyStr(t, 2, 5, &s)\n"); }
void StrCat(benchmark::State& state) {
  RunWithText(state, TextOf(state), "string s\n", " s = t\n StrCat(&s, \"end\")\n");
}
void StrReplace(benchmark::State& state) {
  RunWithText(state, TextOf(state), "string s\n", " s = t\n StrReplace(&s, \"xx\", \"y\")\n");
}

// The internal form of a record of 200 fields.
std::string Record() {
  std::string record = "00000nam0 2200000   450 ";
  for (int i = 0; i < 200; ++i)
    record += std::to_string(300 + i) +
              "1 \x1f"
              "atitle\x1f"
              "bmore\x1e";
  return record + "\x1d";
}

void GetFld(benchmark::State& state) { RunWithText(state, Record(), "string f\n", " GetFld(t, \"450\", 0, &f)\n"); }
void RplcFld(benchmark::State& state) {
  RunWithText(state, Record(), "", " RplcFld(&t, \"450\", 0, \"4501 changed\")\n");
}
void GetSubFld(benchmark::State& state) {
  RunWithText(state,
              "2001 \x1f"
              "atitle\x1f"
              "bmore\x1f"
              "cstill more",
              "string s\n", " GetSubFld(t, \"c\", 0, &s)\n");
}

// Half of it Chinese, with break points, 90 KB in all.
void LineBreak(benchmark::State& state) {
  std::string text;
  while (text.size() < 90000) text += "\xd6\xd0\xce\xc4 and words &amp; more ";
  RunWithText(state, text.substr(0, 90000), "string s\n", " s = t\n LineBreak(&s, 60, \"()\", \"\\r\\n\")\n", 1);
}

constexpr int kRows = 100000;

void DBWrite(benchmark::State& state) {
  RunWithText(state, "", "int db\nstring k\ndb = DBCreate(2)\n",
              " itos(i * 7919 % 1000003, &k, 10)\n DBWrite(db, k, 0, i)\n", kRows);
}
void DBWriteAndSort(benchmark::State& state) {
  const std::string declarations = "int db\nstring k\ndb = DBCreate(2)\n";
  const std::string body =
      " itos(i * 7919 % 1000003, &k, 10)\n DBWrite(db, k, 0, i % 100)\n"
      " if i == " +
      std::to_string(kRows) + " {\n  DBSort(db, \"0,-1\", \"down\")\n }\n";
  RunWithText(state, "", declarations, body, kRows);
}

BENCHMARK(StrLen)->Arg(10)->Arg(10000);
BENCHMARK(SubStr)->Arg(10)->Arg(10000);
BENCHMARK(CopyStr)->Arg(10)->Arg(10000);
BENCHMARK(StrCat)->Arg(10)->Arg(10000);
BENCHMARK(StrReplace)->Arg(10)->Arg(10000);
BENCHMARK(GetFld);
BENCHMARK(RplcFld);
BENCHMARK(GetSubFld);
BENCHMARK(LineBreak);
BENCHMARK(DBWrite)->Unit(benchmark::kMillisecond);
BENCHMARK(DBWriteAndSort)->Unit(benchmark::kMillisecond);

}  // namespace

// Reading records and the walk over them. The rate is records a second.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "marc/marctree.h"
#include "script_run.h"

namespace {

constexpr int kRecords = 2000;

std::string Digits(size_t number, int width) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*zu", width, number);
  return text;
}

// An ISO 2709 record of 28 fields with two subfields each.
std::string Record() {
  std::string directory;
  std::string data;
  for (int i = 0; i < 28; ++i) {
    const std::string field =
        "1 \x1f"
        "atitle number " +
        std::to_string(i) +
        "\x1f"
        "bmore of it\x1e";
    directory += (i == 5 ? "200" : std::to_string(300 + i)) + Digits(field.size(), 4) + Digits(data.size(), 5);
    data += field;
  }
  const size_t base = 24 + directory.size() + 1;
  return Digits(base + data.size() + 1, 5) + "nam0 22" + Digits(base, 5) + "   450 " + directory + "\x1e" + data +
         "\x1d";
}

const bench::TempFile& Records() {
  static const bench::TempFile file([] {
    const std::string record = Record();
    std::string all;
    for (int i = 0; i < kRecords; ++i) all += record;
    return all;
  }());
  return file;
}

void ReadRecords(benchmark::State& state) {
  for (auto _ : state) {
    CMARCFile file;
    CString record;
    if (file.Open(Records().Path()) == -1) return state.SkipWithError("records not opened");
    while (file.NextRecord(record) == 0) benchmark::DoNotOptimize(record.c_str());
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}

void RunFilter(benchmark::State& state, const std::string& filter) {
  const bench::TempFile file(bench::WithLineEnds(filter));
  CMARCTree tree;
  if (tree.ReadCodeFromFile(file.Path(), 0) == -1 || tree.BuildMARCTree() == -1) {
    return state.SkipWithError("filter not built");
  }
  for (auto _ : state) {
    if (tree.RunWholeTree(Records().Path()) == -1) return state.SkipWithError("run failed");
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}

void WalkOneField(benchmark::State& state) {
  RunFilter(state, "int n\nRecord {\n Field \"200\" {\n  SubField \"a\" {\n   n = n + 1\n  }\n }\n}\n");
}
void WalkEverySubfield(benchmark::State& state) {
  RunFilter(state, "int n\nRecord {\n Field \"***\" {\n  SubField \"*\" {\n   n = n + 1\n  }\n }\n}\n");
}

BENCHMARK(ReadRecords);
BENCHMARK(WalkOneField);
BENCHMARK(WalkEverySubfield);

}  // namespace

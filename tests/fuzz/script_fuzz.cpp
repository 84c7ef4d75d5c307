// Any bytes as a script, run with and without what is remembered beside the code: nothing may tell the two apart, not
// even the read position after an error. First as a whole, then in pieces, as a filter's tree runs its code: the same
// code with one end here and another there, over and over. Endless scripts end after so many statements.
//
// What follows the first NUL of an input is the plan of the pieces, three bytes for each: the number of the token that
// begins it, and the offset of its end. Without one, the input's bytes decide.
#include <random>
#include <vector>

#include "fuzz/observed_run.h"
#include "language/token.h"
#include "support/scratch_folder.h"

namespace karst::testing {
namespace {

constexpr const char* kScriptName = "fuzz.pro";
constexpr long kMostStatements = 3000;
constexpr long kMostStatementsOfAPiece = 200;
constexpr size_t kMostPieces = 6;
constexpr int kRounds = 5;

struct Piece {
  size_t start;
  size_t end;  // 0: none
};

// Where tokens begin. A refused byte ends the list; reading beyond it is no piece's work.
std::vector<size_t> TokenStarts(const CScript& script) {
  const CodeSpan code{script.lpCodeBuffer, script.lpCodeBuffer + script.nCodeLen};
  std::vector<size_t> starts;
  for (const char* at = code.begin;;) {
    const ScannedToken token = ScanToken(code, at, nullptr);
    if (token.fault != ScanFault::kNone || token.number == FINISHED) return starts;
    starts.push_back(static_cast<size_t>(token.start - code.begin));
    at = token.end;
  }
}

// The plan that the input brings, or one that its bytes decide.
std::string PlanOf(std::string_view plan, std::string_view source) {
  std::string bytes(plan);
  std::minstd_rand random(static_cast<unsigned>(std::hash<std::string_view>{}(source)));
  while (bytes.size() < 4 * 3) bytes += static_cast<char>(random() >> 8);
  return bytes;
}

std::vector<Piece> PlannedPieces(const CScript& script, const std::string& plan) {
  const std::vector<size_t> starts = TokenStarts(script);
  const auto byte = [&plan](size_t i) { return static_cast<size_t>(static_cast<unsigned char>(plan[i])); };
  const auto length = static_cast<size_t>(script.nCodeLen);
  std::vector<Piece> pieces;
  for (size_t i = 0; i + 2 < plan.size() && pieces.size() < kMostPieces && !starts.empty(); i += 3) {
    const size_t start = starts[byte(i) % starts.size()];
    pieces.push_back({start, (byte(i + 1) * 256 + byte(i + 2)) % (length + 1)});
  }
  return pieces;
}

std::string RunPiece(CScript& script, const Piece& piece) {
  SetStatementBudgetForTests(kMostStatementsOfAPiece);
  script.lpProg = script.lpCodeBuffer + piece.start;
  script.lpProgEnd = piece.end ? script.lpCodeBuffer + piece.end : nullptr;
  const std::string result = ResultOf(script, [](CScript& self) { return self.MainLoop(); });
  if (statement_budget == 0) return result;  // where in a statement the budget ends it is no script's business
  return result + "at " + std::to_string(script.lpProg - script.lpCodeBuffer) + "\n";
}

std::string RunPieces(CScript& script, const std::string& plan) {
  const std::string loaded = ResultOf(script, [](CScript& self) { return self.ReadCodeFromFile(kScriptName, 0); });
  if (!script.lpCodeBuffer) return loaded;
  const std::vector<Piece> pieces = PlannedPieces(script, plan);
  std::string report;
  for (int round = 0; round < kRounds; ++round) {
    for (const Piece& piece : pieces) report += RunPiece(script, piece);
    report += DescribeVariables(script);
  }
  return report;
}

}  // namespace
}  // namespace karst::testing

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace karst::testing;
  const ScratchFolder folder;
  [[maybe_unused]] static const bool skipped = SkipSmallHandles();
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::string source(input.substr(0, input.find('\0')));
  if (!IsWorthRunning(source)) return -1;
  WriteBytes(kScriptName, source);
  CompareRuns<CScript>([](CScript& script) {
    karst::SetStatementBudgetForTests(kMostStatements);
    return ResultOf(script, [](CScript& self) { return self.Run(kScriptName); });
  });
  const std::string plan = PlanOf(input.substr(std::min(size, source.size() + 1)), source);
  CompareRuns<CScript>([&plan](CScript& script) { return RunPieces(script, plan); });
  return 0;
}

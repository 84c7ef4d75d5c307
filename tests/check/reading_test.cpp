// The checker's tokens and blocks are the engine's, over every source of the case files.
#include <gtest/gtest.h>

#include <vector>

#include "cli/check/lexer.h"
#include "cli/check/tree.h"
#include "marc/marctree.h"
#include "script/code.h"
#include "support/case_file.h"
#include "support/places.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

using namespace cli::check;

struct PlainToken {
  int cls;
  int number;
  std::string text;

  bool operator==(const PlainToken&) const = default;
};

std::ostream& operator<<(std::ostream& out, const PlainToken& token) {
  return out << token.cls << "/" << token.number << " [" << Shown(token.text) << "]";
}

// The engine's tokens up to its first refusal.
std::vector<PlainToken> EngineTokens(const std::string& bytes, bool& refused) {
  std::vector<PlainToken> tokens;
  CCode code;
  try {
    code.nCodeLen = code.ChangeCode(bytes.data(), static_cast<int>(bytes.size()), &code.lpCodeBuffer);
    code.lpProg = code.lpCodeBuffer;
    do {
      code.GetToken();
      tokens.push_back({code.nTokenType, code.nTok, code.szToken});
    } while (code.nTok != FINISHED);
  } catch (const CError&) {
    refused = true;
  }
  return tokens;
}

std::vector<PlainToken> CheckerTokens(const std::string& bytes, Findings& findings) {
  cli::SourceText source;
  source.gbk = bytes;
  const TokenList list(source, findings);
  std::vector<PlainToken> tokens;
  for (const Token& token : list.Tokens()) {
    tokens.push_back({token.cls, token.number, std::string(token.text.substr(0, token.text.find('\0')))});
    if (token.number == FINISHED && token.cls != DELIMITER) break;
  }
  return tokens;
}

// A literal that touches a word is one token to the engine; the checker tells of it and reads two.
bool Differs(const Findings& findings) {
  for (const Finding& finding : findings.Sorted()) {
    if (finding.rule == Rule::kTouchesLiteral) return true;
  }
  return false;
}

TEST(CheckLexer, ReadsTheTokensThatTheEngineReads) {
  const TempFolder folder;  // a refused byte makes the engine write dumps
  size_t compared = 0;
  for (const Case& test_case : ReadAllCases(SourcePath("tests/cases"))) {
    if (!test_case.script && !test_case.filter) continue;
    const std::string bytes = InputBytes(test_case.filter ? *test_case.filter : *test_case.script);
    SCOPED_TRACE(test_case.place);
    bool refused = false;
    std::vector<PlainToken> expected = EngineTokens(bytes, refused);
    Findings findings;
    std::vector<PlainToken> tokens = CheckerTokens(bytes, findings);
    EXPECT_TRUE(!refused || findings.HasErrors());
    if (Differs(findings)) continue;
    if (tokens.size() > expected.size()) tokens.resize(expected.size());
    EXPECT_EQ(tokens, expected);
    ++compared;
  }
  EXPECT_GT(compared, 400u);
}

// A line for each block: its depth, its type, and as much of its name as the engine keeps.
std::string LineOfBlock(size_t depth, int type, std::string_view name) {
  return std::string(depth * 2, ' ') + std::to_string(type) + " [" + std::string(name) + "]\n";
}

std::string EngineTree(const CCell* cell, size_t depth) {
  std::string lines;
  for (; cell; cell = cell->pNext) {
    const bool named = cell->nType >= kCellField && cell->nType <= kCellChain;
    lines += LineOfBlock(depth, cell->nType, named ? cell->szName : "");
    if (cell->nType != kCellChain) lines += EngineTree(cell->pFirstChild, depth + 1);
  }
  return lines;
}

std::string CheckerTree(const BlockTree& tree, size_t block, size_t depth) {
  std::string lines;
  for (; block != kNoCell; block = tree.At(block).next) {
    const size_t kept = tree.IsType(block, kCellField) ? 4 : tree.IsType(block, kCellSubField) ? 3 : 5;
    lines += LineOfBlock(depth, tree.At(block).type, tree.At(block).name.substr(0, kept));
    lines += CheckerTree(tree, tree.At(block).first, depth + 1);
  }
  return lines;
}

TEST(CheckTree, HasTheBlocksThatTheEngineBuilds) {
  const TempFolder folder;
  size_t compared = 0;
  for (const Case& test_case : ReadAllCases(SourcePath("tests/cases"))) {
    if (!test_case.filter) continue;
    SCOPED_TRACE(test_case.place);
    const std::string bytes = InputBytes(*test_case.filter);
    Findings findings;
    cli::SourceText source;
    source.gbk = bytes;
    const TokenList list(source, findings);
    const BlockTree tree(list, findings);
    CMARCTree engine;
    try {
      engine.nCodeLen = engine.ChangeCode(bytes.data(), static_cast<int>(bytes.size()), &engine.lpCodeBuffer);
      engine.BuildMARCTree();
    } catch (const CError&) {
      continue;  // what is refused is looked at in other tests
    }
    EXPECT_EQ(CheckerTree(tree, tree.Head(), 0), EngineTree(engine.m_pheadcell, 0));
    EXPECT_EQ(tree.OldStyle(), engine.m_bOldStyle == 1);
    EXPECT_FALSE(tree.Refused());
    ++compared;
  }
  EXPECT_GT(compared, 50u);
}

}  // namespace
}  // namespace karst::testing

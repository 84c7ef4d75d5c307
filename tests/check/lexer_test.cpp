// The checker's tokens are the engine's, over every source of the case files.
#include <gtest/gtest.h>

#include <vector>

#include "check/lexer.h"
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
  const SourceText source{bytes, Charset::kGbk, false};
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

}  // namespace
}  // namespace karst::testing

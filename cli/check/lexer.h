// The source as the engine reads it: rewritten (comments out, continued lines joined, literals resolved) and cut into
// tokens, each with its place in the text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/base/source_text.h"
#include "cli/check/findings.h"
#include "script/code.h"

namespace karst::cli::check {

struct Token {
  int cls = DELIMITER;    // as CCode::GetToken gives it
  int number = 0;         // as CCode::nTok
  std::string_view text;  // as CCode::szToken; a literal's content
  size_t offset = 0;      // in the source text
  size_t code = 0;        // in the rewritten code
  uint32_t line = 0;      // line ends ahead of it: tokens of one line have the same
  size_t indent = 0;      // bytes ahead of its line's first token

  bool Is(char first) const { return !text.empty() && text[0] == first; }
  bool IsDelimiter(char delimiter) const { return cls == DELIMITER && Is(delimiter); }
  bool IsCommand(int wanted) const { return cls == COMMAND && number == wanted; }
  bool EndsLine() const { return number == EOL || number == FINISHED; }
};

// A label: a colon outside literals and character constants, and what follows.
struct Label {
  std::string name;  // in small letters
  size_t offset;
  size_t code;
};

class TokenList {
 public:
  // Reads the whole source. What cannot be a token is a finding, and is passed over.
  TokenList(const SourceText& source, Findings& findings);
  TokenList(const TokenList&) = delete;
  TokenList& operator=(const TokenList&) = delete;

  // Never empty: the last one is the end of the code.
  const std::vector<Token>& Tokens() const { return tokens_; }
  const std::vector<Label>& Labels() const { return labels_; }
  // A literal is open at the end: the tokens mean little.
  bool HasOpenLiteral() const { return open_literal_; }

 private:
  struct Literal {
    size_t code;  // where its quote stands in the code
    std::string text;
    int stored_length() const { return static_cast<int>(text.size()) + 1; }
  };
  class Rewrite;
  class Scanner;

  void FindLabels();
  size_t OriginOf(size_t code) const { return code < origins_.size() ? origins_[code] : source_size_; }

  size_t source_size_;
  std::string code_;  // a literal is one quote here
  std::vector<size_t> origins_;
  std::vector<Literal> literals_;
  std::vector<Token> tokens_;
  std::vector<Label> labels_;
  bool open_literal_ = false;
};

// A text in small ASCII letters.
std::string InSmallLetters(std::string_view text);

}  // namespace karst::cli::check

// The source as the engine reads it, by the same rewriting and the same scanner: tokens, each with its place in the
// text. What stops the engine is a finding here, and reading goes on.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/base/source_text.h"
#include "cli/check/findings.h"
#include "language/source_rewrite.h"

namespace karst::cli::check {

struct Token {
  int cls = DELIMITER;    // as CCode::GetToken gives it
  int number = 0;         // as CCode::nTok
  std::string_view text;  // in the code; a literal's content
  size_t offset = 0;      // in the source text
  size_t code = 0;        // in the rewritten code
  uint32_t line = 0;      // line ends before it: tokens of one line have the same
  size_t indent = 0;      // bytes before its line's first token

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
  class Intake;
  class Scanner;

  void FindLabels();
  size_t OriginOf(size_t code) const { return code < code_.Code().size() ? code_.OriginOf(code) : source_size_; }

  size_t source_size_;
  TracedRewrite code_;
  std::vector<Token> tokens_;
  std::vector<Label> labels_;
  bool open_literal_ = false;
};

}  // namespace karst::cli::check

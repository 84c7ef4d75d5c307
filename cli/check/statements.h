// The statements of a script, or of one piece of a filter after the other, gone through in the order of the text.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "cli/check/reader.h"

namespace karst::cli::check {

// What a piece of code is, as far as leaving it is concerned.
enum class PieceKind : uint8_t {
  kScript,   // the whole of a script
  kPlain,    // a piece that any statement may leave
  kHead,     // the head of a block that has inner blocks
  kClosing,  // closing code, whose brace closes the block
};

class Statements {
 public:
  Statements(const TokenList& list, Names& names, Findings& findings);

  void CheckPiece(size_t begin, size_t end, PieceKind kind);
  // For code that is called from several places; see Reader::SetLenient.
  void SetLenient(bool lenient) { reader_.SetLenient(lenient); }

 private:
  // A then-part or else-part without braces: the rest of one line.
  struct Part {
    uint32_t line;
    bool is_then;
  };

  // One statement. False at the end of the piece.
  bool Step();
  void Statement(const Token& token);
  void Word(const Token& token);
  void BeginsWithName(const Token& name);
  void WantText(const Token& variable, std::string_view op);
  void PassLine(bool tell);
  void AddName(const Token& name, Type type);

  // What the grammar asks for.
  friend Reader::Forms;
  void CallStatement(const Token* name);
  void Assign(const Token* name, Type value, bool literal);
  void Append(const Token* name, const Token* op, Type value);
  void Prepend(const Token* name, const Token* right);
  [[noreturn]] void Refuse(StatementFault fault, const Token* name);
  void Declare(int word, const Token* name);
  void DeclareValue(int word, const Token* name, Type value);
  void DeclareLiteral(const Token* name) { AddName(*name, Type::kText); }
  [[noreturn]] void RefuseDeclaration(StatementFault fault, int word, const Token* place);

  void If(const Token& word);
  void Else(const Token& word);
  void BeginPart(const Token& word, bool is_then);
  void BeginBlock(const Token& brace);
  void EndBlock(const Token& brace);
  void Loop(const Token& word);
  void EndLoop(const Token& word);
  void Break(const Token& word);
  void Continue(const Token& word);
  void Stop(const Token& word);
  void Goto(const Token& word);
  void CheckTarget(const Token& word, const Token& target);
  void GoElsewhere();
  void Dropped(const Token& token);
  void LabelAt(const Token& label);
  void Recover();
  void FinishPiece();
  bool ClosesOnLine(size_t opening, uint32_t line) const;
  bool ClosesInPiece(size_t opening) const;
  bool InPart() const { return part_.has_value(); }

  void MatchWords();
  void SumTokens();
  size_t TokenAt(size_t code) const;

  const std::vector<Token>& tokens_;
  Names& names_;
  Reader reader_;
  std::vector<size_t> match_;     // of each opening brace and loop: the token that closes it, or kNoMatch
  std::vector<int> brace_depth_;  // ahead of each token
  std::vector<int> functions_;    // how often the word function stands ahead of it
  std::unordered_map<std::string, size_t> labels_;  // the first of each name: its place in the code
  size_t last_endloop_ = 0;
  bool has_goto_ = false;

  PieceKind kind_ = PieceKind::kScript;
  size_t piece_begin_ = 0;
  size_t piece_depth_ = 0;  // scopes that were open when the piece began
  std::vector<const Token*> loops_;
  std::vector<size_t> loop_depths_;  // scopes that were open at each
  std::optional<Part> part_;
  bool then_ended_ = false;  // only line ends came behind a then-part
  uint32_t then_line_ = 0;   // the line of the brace that closed it
  bool lost_order_ = false;  // scopes may be open or closed in another way than the text shows
  std::optional<uint32_t> told_dropped_;
  size_t behind_literal_ = 0;  // the token behind a literal that was the whole of a value
  std::unordered_set<std::string> labels_seen_;
};

}  // namespace karst::cli::check

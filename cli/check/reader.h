// Reading of tokens, and of the expressions, conditions and calls that they form. Nothing is run: what comes out is the
// type of each value, and findings.
#pragma once

#include <initializer_list>
#include <span>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "builtins/funcarray.h"
#include "cli/check/findings.h"
#include "cli/check/lexer.h"
#include "cli/check/names.h"
#include "language/statement_grammar.h"

namespace karst::cli::check {

struct Signature;

// One argument of a call.
struct Argument {
  Type type = Type::kUnknown;
  bool reference = false;
  bool literal = false;
  const Token* token = nullptr;  // its first
};

class Reader : private StatementGrammar<Reader, Type, const Token*> {
 public:
  // Ends the reading of one statement; its finding has been made.
  struct Abandoned {};

  Reader(const TokenList& list, Names& names, Findings& findings)
      : tokens_(list.Tokens()), names_(names), findings_(findings) {}

  // The piece that is read: tokens from `begin` up to `end`, behind which is the end of the code.
  void SetPiece(size_t begin, size_t end);

  const Token& Peek() const { return at_ < end_ ? tokens_[at_] : behind_; }
  const Token& Read();
  // The last token back; any token but the end.
  void GiveBack();
  const Token& Current() const { return *token_; }
  size_t Position() const { return at_; }
  size_t End() const { return end_; }
  size_t IndexOf(const Token& token) const {
    return &token == &behind_ ? end_ : static_cast<size_t>(&token - tokens_.data());
  }

  // Statements, for an owner who takes them apart; see there.
  using Forms = StatementGrammar;
  using Forms::Declaration;
  using Forms::NamedStatement;

  // Each reads from the next token on and leaves what ended it unread.
  Type Expression();
  void Condition();
  // After the "(" of a call: reads through its end. True if a ")" ended it.
  bool ReadCall(const Token& name);

  // The type of a variable that must be there.
  Type TypeOfVariable(const Token& name);
  // In code that never runs, errors are told as warnings.
  void SetReachable(bool reachable) { reachable_ = reachable; }
  bool Reachable() const { return reachable_; }
  // Names that are declared in other places count as declared, as in code that is called from there.
  void SetLenient(bool lenient) { lenient_ = lenient; }
  // The order in which the code runs is not that of the text, so what a name means cannot be told for certain.
  void SetUncertain(bool uncertain) { uncertain_ = uncertain; }

  void Report(Rule rule, const Token& token, std::initializer_list<std::string_view> arguments = {});
  void Report(Rule rule, Severity severity, const Token& token, std::initializer_list<std::string_view> arguments);
  [[noreturn]] void Fail(Rule rule, const Token& token, std::initializer_list<std::string_view> arguments = {});
  // Fails where a reserved word stands in the place of a name.
  void RefuseReserved(const Token& name);

 private:
  // What the grammar asks for.
  friend Grammar;
  friend StatementGrammar;
  static constexpr int kDeepest = kMostNesting;

  char First() const { return token_->text.empty() ? '\0' : token_->text[0]; }
  int Class() const { return token_->cls; }
  int Number() const { return token_->number; }
  const Token* Here() const { return token_; }
  void NumberOperand(Type& type) const;
  static void LiteralOperand(Type& type) { type = Type::kText; }
  static void CharacterOperand(Type& type) { type = Type::kInt; }
  const Token* Name() const { return token_; }
  void Call(const Token* name, Type& result);
  void Variable(const Token* name, Type& type) { type = TypeOfVariable(*name); }
  static void Keep(Type) {}
  void Operate(char op, const Token* place, Type& left, Type right);
  static void Join(char, Type& left, Type) { left = Type::kInt; }
  void Compare(std::string_view op, const Token* place, Type& left, Type right);
  void Sign(char, const Token* place, Type& type);
  static void Negate(Type& type) { type = type == Type::kText ? Type::kInt : type; }
  static void CheckTruth(Type) {}
  void LiteralArgument(std::vector<Argument>& arguments) const;
  void ReferenceArgument(std::vector<Argument>& arguments);
  static void ValueArgument(std::vector<Argument>& arguments, const Token* first, Type type);
  int& Nesting() { return nesting_; }
  [[noreturn]] void Refuse(GrammarFault fault, const Token* place);

  Type Added(const Token& op, Type left, Type right);
  Type Combined(const Token& op, Type left, Type right);
  void LookForZero(const Token& op);

  void CheckCall(const Token& name, const std::vector<Argument>& arguments);
  void CheckCount(const Token& name, const Signature& signature, size_t count);
  void CheckArgument(const Signature& signature, size_t place, const Argument& argument);

  const std::vector<Token>& tokens_;
  Names& names_;
  Findings& findings_;
  CFuncArray functions_;
  Token behind_;  // the end of the piece
  const Token* token_ = nullptr;
  size_t at_ = 0;
  size_t end_ = 0;
  int nesting_ = 0;
  bool reachable_ = true;
  bool lenient_ = false;
  bool uncertain_ = false;
  std::unordered_set<std::string_view> told_names_;
};

// What a format asks of the values behind it: at most one finding, at the format's own place. `refused`: a format that
// does not fit stops the script.
void CheckFormat(Reader& reader, const Token& format, std::span<const Argument> values, bool refused);

}  // namespace karst::cli::check

// StatementBuilder: reads the statement at a position without any effect, for remembering it.
#pragma once

#include "language/statement_grammar.h"
#include "language/token.h"
#include "script/remembered.h"

namespace karst {

class StatementBuilder : private StatementGrammar<StatementBuilder, const ExpressionNode*, const char*> {
 public:
  enum class Outcome { kKept, kNotYet, kNever };

  StatementBuilder(CScript& script, Remembered& remembered, CodeSpan code, const char* limit)
      : script_(script), remembered_(remembered), code_(code), limit_(limit) {}

  // kNotYet: reading would still change the text, or meet an end of code that may move; kNever: a form that is always
  // read from the text.
  Outcome Build(const char* position);

 private:
  // Leaves the build from any depth.
  struct Abandon {
    Outcome outcome;
  };

  void Read();
  void GiveBack() { at_ = token_.start; }
  void PassBlankLines();
  NameSlot* SlotOf(std::string_view name);

  void Dispatch(RememberedStatement& statement);
  void PieceEnd(RememberedStatement& statement);
  void Word(RememberedStatement& statement);
  void If(RememberedStatement& statement);
  void Loop(RememberedStatement& statement);
  void Goto(RememberedStatement& statement);

  // Of the condition that comes next.
  const ExpressionNode* ReadCondition();

  // What the grammar asks for.
  friend Grammar;
  friend StatementGrammar;
  using Node = const ExpressionNode*;
  // LIMIT: a tree that is higher is not remembered, so that running one needs little of the machine's stack.
  static constexpr int kDeepest = 200;

  char First() const { return token_.text.empty() ? '\0' : token_.text[0]; }
  int Class() const { return token_.cls; }
  int Number() const { return token_.number; }
  const char* Here() const { return token_.start; }
  std::string_view Text() const { return token_.text.substr(0, token_.text.find('\0')); }
  const char* Position() const { return at_; }
  void MoveTo(const char* position) { at_ = position; }
  void NumberOperand(Node& node);
  void LiteralOperand(Node& node);
  void CharacterOperand(Node& node);
  std::string_view Name() const;
  void Call(std::string_view name, Node& node);
  void Variable(std::string_view name, Node& node);
  static void Keep(Node) {}
  void Operate(char op, const char*, Node& left, Node right);
  void Join(char op, Node& left, Node right);
  void Compare(const char* op, const char*, Node& left, Node right);
  void Sign(char sign, const char*, Node& node);
  void Negate(Node& node);
  static void CheckTruth(Node) {}
  void LiteralArgument(RememberedCall& call);
  void ReferenceArgument(RememberedCall& call);
  void ValueArgument(RememberedCall& call, const char*, Node value);
  void CallStatement(std::string_view name);
  void Assign(std::string_view name, Node value, bool);
  void Append(std::string_view name, const char*, Node value);
  void Prepend(std::string_view name, std::string_view right);
  void Declare(int word, std::string_view name);
  void DeclareValue(int word, std::string_view name, Node value);
  void DeclareLiteral(std::string_view name);
  [[noreturn]] static void Refuse(StatementFault, const char*) { throw Abandon{Outcome::kNever}; }
  [[noreturn]] static void RefuseDeclaration(StatementFault, int, const char*) { throw Abandon{Outcome::kNever}; }
  int& Nesting() { return nesting_; }
  [[noreturn]] static void Refuse(GrammarFault, const char*) { throw Abandon{Outcome::kNever}; }

  void SetForm(StatementKind kind, std::string_view name, Node value);
  ExpressionNode& Binary(NodeKind kind, Node left, Node right);
  Node Unary(NodeKind kind, Node operand);
  static Node Finished(ExpressionNode& node);
  const RememberedCall* ReadCall(std::string_view index_form);
  RememberedArgument& NewArgument(RememberedCall& call, RememberedArgument::Kind kind);

  CScript& script_;
  Remembered& remembered_;
  CodeSpan code_;
  const char* limit_;
  const char* at_ = nullptr;
  const char* last_token_ = nullptr;
  ScannedToken token_;
  RememberedStatement* statement_ = nullptr;  // the one that is being built
  int nesting_ = 0;
};

}  // namespace karst

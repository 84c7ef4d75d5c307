// StatementBuilder: reads the statement at a position without any effect, for remembering it.
#pragma once

#include "language/token.h"
#include "script/nesting.h"
#include "script/remembered.h"

namespace karst {

class StatementBuilder {
 public:
  enum class Outcome { kBuilt, kNotYet, kNever };

  StatementBuilder(CScript& script, Remembered& remembered, CodeSpan code, const char* limit)
      : script_(script), remembered_(remembered), code_(code), limit_(limit) {}

  // kNotYet: reading would still change the text, or meet an end of code that may move; kNever: a form that is always
  // read from the text.
  Outcome Build(const char* position, RememberedStatement*& statement);

 private:
  // Leaves the build from any depth.
  struct Abandon {
    Outcome outcome;
  };

  void Read();
  void GiveBack() { at_ = token_.start; }
  void PassBlankLines();
  void ReadName(NameSlot*& slot);
  NameSlot* SlotOf(std::string_view name);

  void Dispatch(RememberedStatement& statement);
  void PieceEnd(RememberedStatement& statement);
  void Word(RememberedStatement& statement);
  void BeginsWithName(RememberedStatement& statement);
  void Assign(RememberedStatement& statement);
  void Append(RememberedStatement& statement);
  void Prepend(RememberedStatement& statement);
  void CallStatement(RememberedStatement& statement, std::string_view name);
  void If(RememberedStatement& statement);
  void Loop(RememberedStatement& statement);
  void Declare(RememberedStatement& statement);
  void Goto(RememberedStatement& statement);
  int FramesBetween(const char* from, const char* to);

  // Levels: entered with their first token read, left with the token behind them read.
  const ExpressionNode* Expression();
  const ExpressionNode* Sum();
  const ExpressionNode* Product();
  const ExpressionNode* Power();
  const ExpressionNode* Signed();
  const ExpressionNode* Group();
  const ExpressionNode* Primitive();
  const ExpressionNode* NameOrCall();
  const ExpressionNode* Condition();
  const ExpressionNode* Or();
  const ExpressionNode* And();
  const ExpressionNode* Not();
  const ExpressionNode* Compare();
  const ExpressionNode* LogicGroup();
  const ExpressionNode* Binary(NodeKind kind, const ExpressionNode* left, const ExpressionNode* right,
                               const char* op = "");
  static const ExpressionNode* Finished(ExpressionNode& node);
  const ExpressionNode* Literal();
  const ExpressionNode* Number();
  const ExpressionNode* Unary(NodeKind kind, const ExpressionNode* operand);
  const RememberedCall* Call(std::string_view index_form);
  void Argument(RememberedCall& call, bool by_reference);

  class Deeper;

  CScript& script_;
  Remembered& remembered_;
  CodeSpan code_;
  const char* limit_;
  const char* at_ = nullptr;
  const char* last_token_ = nullptr;
  ScannedToken token_;
  int nesting_ = 0;
};

}  // namespace karst

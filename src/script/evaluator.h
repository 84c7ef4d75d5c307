// Evaluator: expressions, and the statements that name variables, computed and run as they are read. CScript's own
// operations are entries into it.
#pragma once

#include "language/statement_grammar.h"
#include "script/script.h"
#include "values/cellstore.h"
#include "values/name.h"

namespace karst {

class Evaluator : public StatementGrammar<Evaluator, CValue, char> {
 public:
  // A name, and where it ends in the code.
  struct CodeName {
    NameBuffer buffer;
    char* end;
  };

  explicit Evaluator(CScript& script) : script_(script) {}

 private:
  friend Grammar;
  friend StatementGrammar;

  static constexpr int kDeepest = kMostNesting;

  void Read() { script_.GetToken(); }
  void GiveBack() { script_.PutBack(); }
  char First() const { return *script_.szToken; }
  int Class() const { return script_.nTokenType; }
  int Number() const { return script_.nTok; }
  char Here() const { return First(); }
  std::string_view Text() const { return script_.szToken; }
  const char* Position() const { return script_.lpProg; }
  void MoveTo(const char* position) { script_.lpProg = const_cast<char*>(position); }

  void NumberOperand(CValue& value) const;
  void LiteralOperand(CValue& value) const { value.SetVal(script_.szToken, true); }
  void CharacterOperand(CValue& value) const;
  CodeName Name() const { return {NameBuffer(script_.szToken), script_.lpProg}; }
  void Call(CodeName& name, CValue& value);
  void Variable(const CodeName& name, CValue& value);

  static void Keep(CValue& value) { value.KeepText(); }
  void Operate(char op, char, CValue& left, CValue& right) { script_.arith(op, &left, &right); }
  void Join(char op, CValue& left, CValue& right) { script_.logic_arith(op, &left, &right); }
  void Compare(const char* op, char, CValue& left, CValue& right) { script_.logic_arith(op, &left, &right); }
  void Sign(char sign, char, CValue& value) { script_.unary(sign, &value); }
  void Negate(CValue& value) { script_.logic_unary('!', &value); }
  void CheckTruth(const CValue& value);

  void LiteralArgument(int& count);
  void ReferenceArgument(int& count);
  void ValueArgument(int& count, char, const CValue& value);
  NameSlot& NextArgument(int& count);

  void CallStatement(CodeName& name);
  void Assign(const CodeName& name, const CValue& value, bool);
  void Append(const CodeName& name, char, const CValue& value);
  void Prepend(const CodeName& name, const CodeName& right);
  void Declare(int word, const CodeName& name);
  void DeclareValue(int word, const CodeName& name, CValue& value);
  void DeclareLiteral(const CodeName& name) { script_.MakeText(SlotOf(name), script_.szToken); }
  void Refuse(StatementFault fault, char);
  void RefuseDeclaration(StatementFault fault, int word, char);
  NameSlot& SlotOf(const CodeName& name) { return script_.Store().SlotOf(name.buffer.text); }

  int& Nesting() { return script_.nesting_; }
  void Refuse(GrammarFault fault, char);

  CScript& script_;
};

}  // namespace karst

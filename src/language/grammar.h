// Grammar: expressions, conditions and the arguments of calls, once for all who read them: the evaluator, which
// computes while it reads, the builder of what is remembered, and the checker of the program.
//
// Precedence, loosest first: "||"; "&&"; "!"; one comparison; and, as an operand of these, an expression of "+" and
// "-"; "*", "/" and "%"; "^", from the right; one sign; a group. A "(" where a condition's operand begins opens a
// group of conditions, never one of arithmetic.
//
// An operator is known by the first byte of its token, whatever the token's class; only a sign, a "!" and a "(" must be
// delimiters.
#pragma once

#include <cstdint>

#include "language/token_kinds.h"

namespace karst {

// LIMIT: parentheses, calls inside calls and chains of powers nest this deep; a script that goes deeper stops.
constexpr int kMostNesting = 400;

// Why reading cannot go on.
enum class GrammarFault : uint8_t {
  kNoExpression,    // the end of the code in its place
  kNoCondition,     // the end of the code, or an empty literal
  kNoOperand,       // a token that begins none
  kOpenGroup,       // no ")" after an expression
  kOpenCondition,   // no ")" after a condition
  kHalfOr,          // a single "|"
  kHalfAnd,         // a single "&"
  kHalfComparison,  // a "=" or "!" without "=" after it
  kEqualsAfterNot,  // a "!=" where an operand should begin
  kNoComma,         // between two arguments
  kTooDeep,
};

// Derive from it, as Grammar<Reading, Value, Place>, to read. `Value` is what an expression comes to, `Place` what a
// message needs to know of a token. Reading supplies:
//
//   the tokens      Read(), GiveBack(); of the token read last First(), its first byte or 0, Class(), Number(), Here()
//   operands        NumberOperand(Value&), LiteralOperand(Value&), CharacterOperand(Value&), of the token read last;
//                   Name(), kept while reading goes on; Call(name, Value&), after the "("; Variable(name, Value&)
//   operators       Keep(Value&), before the right operand is read, then one of
//                   Operate(char, Place, Value&, Value&), Join(char, Value&, Value&) for "&&" and "||",
//                   Compare(const char*, Place, Value&, Value&), which leave the result on the left;
//                   Sign(char, Place, Value&), Negate(Value&); CheckTruth(Value&), of a whole condition
//   arguments       LiteralArgument(list), ReferenceArgument(list), of the token read last;
//                   ValueArgument(list, Place, Value&)
//   limits, faults  int& Nesting(), kDeepest; Refuse(GrammarFault, Place), which does not come back
//
// Each level is entered with its first token read, and left with the token after it read.
template <typename Reading, typename Value, typename Place>
class Grammar {
 public:
  // An expression, or a condition, from the next token on. The token that ended it is given back.
  void Expression(Value& value) {
    Self().Read();
    if (Self().First() == 0 && Self().Class() != STRING) Refuse(GrammarFault::kNoExpression);
    Sum(value);
    Self().GiveBack();
  }
  void Condition(Value& value) {
    Self().Read();
    if (Self().First() == 0) Refuse(GrammarFault::kNoCondition);
    Or(value);
    Self().CheckTruth(value);
    Self().GiveBack();
  }

  // The arguments of a call whose "(" was read. True if a ")" ended them, false for a line end in its place.
  template <typename List>
  bool Arguments(List& list) {
    const NestingLevel level(*this);
    Value value{};
    bool by_reference = false;
    for (;;) {
      Self().Read();
      if (IsLineEnd() || IsEndOfCode()) return false;
      if (Self().Class() != STRING && Is(')')) return true;
      if (IsDelimiter('&')) {
        by_reference = true;
        continue;
      }
      ReadArgument(list, by_reference, value);
      by_reference = false;
      Self().Read();
      if (IsLineEnd()) return false;
      if (Is(')')) return true;
      if (!Is(',')) Refuse(GrammarFault::kNoComma);
    }
  }

  void Sum(Value& left) { LeftToRight<&Grammar::Product, '+', '-'>(left); }
  void Product(Value& left) { LeftToRight<&Grammar::Power, '*', '/', '%'>(left); }

  void Power(Value& left) {
    Signed(left);
    if (!Is('^')) return;
    const NestingLevel level(*this);
    Operation<&Grammar::Power>(left);
  }

  void Signed(Value& value) {
    if (!IsDelimiter('+') && !IsDelimiter('-')) return Group(value);
    const char sign = Self().First();
    const Place place = Self().Here();
    Self().Read();
    Group(value);
    Self().Sign(sign, place, value);
  }

  void Group(Value& value) {
    if (!IsDelimiter('(')) return Primitive(value);
    InParentheses<&Grammar::Sum>(value, GrammarFault::kOpenGroup);
  }

  void Primitive(Value& value) {
    switch (Self().Class()) {
      case VARIABLE: {
        auto name = Self().Name();
        NameOrCall(name, value);
        break;
      }
      case NUMBER: Self().NumberOperand(value); break;
      case STRING: Self().LiteralOperand(value); break;
      case CHARCONST: Self().CharacterOperand(value); break;
      default: Refuse(GrammarFault::kNoOperand);
    }
    Self().Read();
  }

  // With the name as the token read last; left with the name, or the call's end, as that.
  template <typename Name>
  void NameOrCall(Name& name, Value& value) {
    Self().Read();
    if (Is('(')) return Self().Call(name, value);
    Self().GiveBack();
    Self().Variable(name, value);
  }

  void Or(Value& left) { Joined<&Grammar::And, '|'>(left, GrammarFault::kHalfOr); }
  void And(Value& left) { Joined<&Grammar::Not, '&'>(left, GrammarFault::kHalfAnd); }

  void Not(Value& value) {
    const bool negated = IsDelimiter('!');
    if (negated) {
      Self().Read();
      if (Is('=')) Refuse(GrammarFault::kEqualsAfterNot);
    }
    Comparison(value);
    if (negated) Self().Negate(value);
  }

  void Comparison(Value& left) {
    ConditionGroup(left);
    char op[3] = {Self().First(), 0, 0};
    if (op[0] != '=' && op[0] != '!' && op[0] != '>' && op[0] != '<') return;
    const Place place = Self().Here();
    Self().Read();
    const bool with_equals = Is('=');
    if (!with_equals && (op[0] == '!' || op[0] == '=')) Self().Refuse(GrammarFault::kHalfComparison, place);
    if (with_equals) {
      op[1] = '=';
      Self().Read();
    }
    Self().Keep(left);
    Value right{};
    ConditionGroup(right);
    Self().Compare(op, place, left, right);
  }

  void ConditionGroup(Value& value) {
    if (IsDelimiter('(')) return InParentheses<&Grammar::Or>(value, GrammarFault::kOpenCondition);
    Self().GiveBack();
    ConditionOperand(value);
  }

  // With the token before the operand as the one read last.
  void ConditionOperand(Value& value) {
    Expression(value);
    Self().Read();
  }

 protected:
  Reading& Self() { return static_cast<Reading&>(*this); }

  bool Is(char byte) { return Self().First() == byte; }
  bool IsDelimiter(char byte) { return Self().Class() == DELIMITER && Is(byte); }

 private:
  using Level = void (Grammar::*)(Value&);

  class NestingLevel {
   public:
    explicit NestingLevel(Grammar& grammar) : nesting_(grammar.Self().Nesting()) {
      if (++nesting_ <= Reading::kDeepest) return;
      --nesting_;
      grammar.Refuse(GrammarFault::kTooDeep);
    }
    NestingLevel(const NestingLevel&) = delete;
    NestingLevel& operator=(const NestingLevel&) = delete;
    ~NestingLevel() { --nesting_; }

   private:
    int& nesting_;
  };

  void Refuse(GrammarFault fault) { Self().Refuse(fault, Self().Here()); }

  bool IsLineEnd() { return Self().Class() == DELIMITER && Self().Number() == EOL; }
  bool IsEndOfCode() { return Self().Class() == DELIMITER && Self().Number() == FINISHED; }

  template <Level Operand, char... operators>
  void LeftToRight(Value& left) {
    (this->*Operand)(left);
    while ((Is(operators) || ...)) Operation<Operand>(left);
  }

  // The operator is the token read last, and its left operand is there.
  template <Level Operand>
  void Operation(Value& left) {
    const char op = Self().First();
    const Place place = Self().Here();
    Self().Keep(left);
    Self().Read();
    Value right{};
    (this->*Operand)(right);
    Self().Operate(op, place, left, right);
  }

  template <Level Operand, char op>
  void Joined(Value& left, GrammarFault half) {
    (this->*Operand)(left);
    while (Is(op)) {
      Self().Read();
      if (!Is(op)) Refuse(half);
      Self().Keep(left);
      Self().Read();
      Value right{};
      (this->*Operand)(right);
      Self().Join(op, left, right);
    }
  }

  template <Level Content>
  void InParentheses(Value& value, GrammarFault open) {
    const NestingLevel level(*this);
    const Place place = Self().Here();
    Self().Read();
    (this->*Content)(value);
    if (!Is(')')) Self().Refuse(open, place);
    Self().Read();
  }

  template <typename List>
  void ReadArgument(List& list, bool by_reference, Value& value) {
    if (Self().Class() == STRING) return Self().LiteralArgument(list);
    if (by_reference) return Self().ReferenceArgument(list);
    const Place place = Self().Here();
    Self().GiveBack();
    Expression(value);
    Self().ValueArgument(list, place, value);
  }
};

}  // namespace karst

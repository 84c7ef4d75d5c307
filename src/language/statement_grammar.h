// StatementGrammar: the forms of the statements that name variables, and the way of a jump, over the grammar of
// expressions.
#pragma once

#include "language/grammar.h"

namespace karst {

// Why a statement cannot be read.
enum class StatementFault : uint8_t {
  kNoOperator,      // after a name: neither a call nor "=", "<<", ">>"
  kHalfAppend,      // a single "<"
  kHalfPrepend,     // a single ">"
  kNoRightName,     // no variable's name after ">>"
  kNoName,          // none to declare
  kNoEquals,        // after a declared name: neither a line end nor "="
  kNoLiteral,       // a declared string is given something that is no literal
  kJumpFunction,    // the word function between a jump and its target
  kJumpEnd,         // the end of the code there
  kJumpInward,      // the target is in a block that the jump is not in
  kJumpBackInward,  // the same, for a jump backwards
};

// Derive from it as from Grammar. The statements' Actions, the reader itself or its owner, supply:
//
//   names         CallStatement(name), after the "("; Assign(name, Value&, bool), true for a value that is a literal
//                 alone; Append(name, Place, Value&), the place of the second "<"; Prepend(left name, right name);
//                 Refuse(StatementFault, Place), the place of the name
//   declarations  Declare(word, name), without a value; DeclareValue(word, name, Value&); DeclareLiteral(name), of the
//                 literal that was read last; RefuseDeclaration(StatementFault, word, Place), the place of the name, or
//                 of the word where no name is
//
// The scan of a jump wants of the reader Text(), of the token read last; Position(), where reading stands;
// MoveTo(const char*); and Refuse(StatementFault, Place).
template <typename Reading, typename Value, typename Place>
class StatementGrammar : public Grammar<Reading, Value, Place> {
 public:
  // A statement whose name was read last.
  template <typename Actions>
  void NamedStatement(Actions& actions) {
    const Place place = Self().Here();
    auto name = Self().Name();
    Self().Read();
    switch (Self().First()) {
      case '(': return actions.CallStatement(name);
      case '=': return Assignment(name, actions);
      case '<': return Append(name, place, actions);
      case '>': return Prepend(name, place, actions);
      default: actions.Refuse(StatementFault::kNoOperator, place);
    }
  }

  // A declaration whose word was read last; its number is `word`.
  template <typename Actions>
  void Declaration(int word, Actions& actions) {
    const Place word_place = Self().Here();
    Self().Read();
    if (Self().Class() != VARIABLE) actions.RefuseDeclaration(StatementFault::kNoName, word, word_place);
    const Place place = Self().Here();
    const auto name = Self().Name();
    Self().Read();
    if (Self().Number() == EOL) return actions.Declare(word, name);
    if (!Is('=')) actions.RefuseDeclaration(StatementFault::kNoEquals, word, place);
    if (word == kTokString) {
      Self().Read();
      if (Self().Class() != STRING) actions.RefuseDeclaration(StatementFault::kNoLiteral, word, place);
      return actions.DeclareLiteral(name);
    }
    Value value{};
    this->Expression(value);
    actions.DeclareValue(word, name, value);
  }

  // How many frames a jump leaves, by the braces between its ends. Reading stands anywhere afterwards.
  int FramesBetween(const char* from, const char* to) {
    const bool forward = from < to;
    const char* scan_end = forward ? to : from;
    int opened = 0;
    for (Self().MoveTo(forward ? from : to);;) {
      Self().Read();
      if (Self().Position() >= scan_end) break;
      if (Self().Text() == "function") Self().Refuse(StatementFault::kJumpFunction, Self().Here());
      if (Self().Number() == FINISHED) Self().Refuse(StatementFault::kJumpEnd, Self().Here());
      if (Self().Class() == COMMAND) opened += (Self().Number() == kTokBegin) - (Self().Number() == kTokEnd);
    }
    if (forward && opened >= 1) Self().Refuse(StatementFault::kJumpInward, Self().Here());
    if (!forward && opened < 0) Self().Refuse(StatementFault::kJumpBackInward, Self().Here());
    return opened < 0 ? -opened : opened;
  }

 private:
  using Base = Grammar<Reading, Value, Place>;
  using Base::Is;
  using Base::Self;

  template <typename Name, typename Actions>
  void Assignment(Name& name, Actions& actions) {
    Value value{};
    Self().Read();
    const bool literal = Self().Class() == STRING;
    if (literal) {
      Self().LiteralOperand(value);
    } else {
      Self().GiveBack();
      this->Expression(value);
    }
    actions.Assign(name, value, literal);
  }

  template <typename Name, typename Actions>
  void Append(Name& name, Place place, Actions& actions) {
    Self().Read();
    if (!Is('<')) actions.Refuse(StatementFault::kHalfAppend, place);
    const Place operator_place = Self().Here();
    Value value{};
    this->Expression(value);
    actions.Append(name, operator_place, value);
  }

  template <typename Name, typename Actions>
  void Prepend(Name& left, Place place, Actions& actions) {
    Self().Read();
    if (!Is('>')) actions.Refuse(StatementFault::kHalfPrepend, place);
    Self().Read();
    if (Self().Class() != VARIABLE) actions.Refuse(StatementFault::kNoRightName, place);
    const auto right = Self().Name();
    actions.Prepend(left, right);
  }
};

}  // namespace karst

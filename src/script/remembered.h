// What is remembered of the code beside its text: for a place that has run before, the statement that stands there,
// its names as slots of the variable table and its expressions as small trees.
//
// The text stays the program. A statement is remembered only from text that reading no longer changes (reserved words
// in number form, built-ins in index form), and holds nothing that depends on anything but the text: no types, no
// cells, no values. Whatever a run of it can raise, it raises through the same operations as the text, with the read
// position where reading would have left it. So nothing can tell it from reading the text afresh, but the clock.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string_view>
#include <vector>

#include "builtins/funcarray.h"
#include "language/token.h"
#include "script/comparison.h"
#include "script/int_expression.h"

class CScript;

namespace karst {

struct NameSlot;
struct RememberedCall;
struct RememberedStatement;
class RememberedRunner;

enum class NodeKind : uint8_t {
  kInt,
  kInt64,
  kText,
  kVariable,
  kCall,
  kAdd,
  kSubtract,
  kMultiply,
  kDivide,
  kRemainder,
  kPower,
  kPlusSign,
  kMinusSign,
  kCompare,
  kAnd,
  kOr,
  kNot,
};

// One node of an expression.
struct ExpressionNode {
  IntEvaluator evaluate_int = nullptr;
  NodeKind kind;
  bool calls = false;  // a call stands in here somewhere, so it must run exactly once
  Comparison comparison = Comparison::kEqual;
  char op[3] = {};                 // the operator as its messages show it
  NameSlot* slot = nullptr;        // kVariable
  int32_t number = 0;              // kInt
  int64_t wide_number = 0;         // kInt64
  std::string_view text;           // kText: in the code, up to its first NUL
  const char* position = nullptr;  // where reading stands when this node computes
  const ExpressionNode* left = nullptr;
  const ExpressionNode* right = nullptr;
  const RememberedCall* call = nullptr;
  int depth = 1;
};

struct RememberedArgument {
  enum class Kind : uint8_t { kLiteral, kVariable, kReference, kExpression };
  Kind kind;
  NameSlot* slot;                              // the argument cell's name
  NameSlot* source = nullptr;                  // kVariable, kReference
  std::string_view text;                       // kLiteral
  const ExpressionNode* expression = nullptr;  // kVariable, kExpression
  const char* position = nullptr;              // where reading stands when the cell is made
};

struct RememberedCall {
  BuiltinHandler handler = nullptr;
  std::vector<RememberedArgument> arguments;
  const char* behind = nullptr;  // behind the ")" or the line end in its place
};

enum class StatementKind : uint8_t {
  kAssign,
  kAppend,
  kPrepend,
  kCall,
  kIf,
  kElse,
  kLoop,
  kEndLoop,
  kBreak,
  kContinue,
  kBegin,
  kEnd,
  kDeclareInt,
  kDeclareInt64,
  kDeclareText,
  kGoto,
  kPieceEnd,  // nothing but what is dropped, up to the end of the piece
};

// Runs a statement and gives the one that follows; null where reading from the text goes on, or the run is over.
using StatementHandler = RememberedStatement* (*)(RememberedRunner&, RememberedStatement&);

// One statement. `position` and `next` are read positions before and after it.
struct RememberedStatement {
  StatementHandler run = nullptr;
  const char* last_token = nullptr;  // a piece must reach beyond this byte for the statement to read as it did
  NameSlot* slot = nullptr;          // the variable that it is about
  const ExpressionNode* expression = nullptr;
  RememberedStatement* following =
      nullptr;  // the statement at `next`, once it is known; kEndLoop: the loop gone back to last
  RememberedStatement* skipped_to = nullptr;  // the statement at `skip_target`, once it is known
  StatementKind kind;
  bool opens_block = false;   // kIf: the then-part is a block
  int frames_left = 0;        // kGoto
  NameSlot* other = nullptr;  // kPrepend: the variable on the right
  const RememberedCall* call = nullptr;
  const char* position = nullptr;
  const char* word = nullptr;          // the first byte of its first token
  const char* behind_word = nullptr;   // behind its first token
  const char* behind_value = nullptr;  // behind its expression or condition
  const char* next = nullptr;
  const char* piece_end = nullptr;  // kPieceEnd
  // Where a false condition, an "else" or a "break" leads. Found by reading the text the first time it is needed.
  const char* skip_target = nullptr;
};

// The statements of one code buffer, by the offset at which reading begins.
class Remembered {
 public:
  // Forgets everything unless the code is the same as before.
  void StartOverIfChanged(const char* code, int length, uint32_t generation) {
    const bool same = code == code_ && generation == generation_ && static_cast<size_t>(length) == places_.size();
    if (!same) [[unlikely]]
      Forget(code, length, generation);
  }
  // The statement at a position of the code, or null.
  RememberedStatement* At(const char* position) {
    const uint32_t place = PlaceOf(position);
    return place < kFirstStatement ? nullptr : statements_[place - kFirstStatement].get();
  }
  // Notes that a statement was read at `position`; true if it is time to remember it.
  bool NoteRead(const char* position) {
    uint32_t& place = PlaceOf(position);
    return place != kGivenUp && ++place >= kReadsUntilRemembered;
  }
  // It could not be remembered yet; after some attempts it never is.
  void TryAgainLater(const char* position) {
    if (PlaceOf(position) >= kMostAttempts) GiveUp(position);
  }
  // It cannot be remembered: do not try again.
  void GiveUp(const char* position) { PlaceOf(position) = kGivenUp; }
  void Keep(const char* position, const RememberedStatement& statement) {
    statements_.push_back(std::make_unique<RememberedStatement>(statement));
    PlaceOf(position) = kFirstStatement + static_cast<uint32_t>(statements_.size() - 1);
  }

  ExpressionNode& NewNode(NodeKind kind) {
    nodes_.emplace_back();
    nodes_.back().kind = kind;
    return nodes_.back();
  }
  RememberedCall& NewCall() { return calls_.emplace_back(); }

 private:
  void Forget(const char* code, int length, uint32_t generation);

  // What a place holds: how often it was read, that it is given up, or a statement's number from kFirstStatement on.
  static constexpr uint32_t kReadsUntilRemembered = 2;
  static constexpr uint32_t kMostAttempts = 6;
  static constexpr uint32_t kGivenUp = 7;
  static constexpr uint32_t kFirstStatement = 8;

  uint32_t& PlaceOf(const char* position) { return places_[static_cast<size_t>(position - code_)]; }

  const char* code_ = nullptr;
  uint32_t generation_ = 0;
  std::vector<uint32_t> places_;  // one for each byte of the code
  std::deque<ExpressionNode> nodes_;
  std::deque<RememberedCall> calls_;
  std::vector<std::unique_ptr<RememberedStatement>> statements_;
};

// True for the token numbers on which the main loop acts; every other token is read and dropped.
bool HasAction(int token_number);

// For tests: reading afresh every time, and an end to endless scripts after so many statements (below 0: none).
void SetRememberingForTests(bool on);
extern bool remembering;
inline bool IsRemembering() { return remembering; }
void SetStatementBudgetForTests(long statements);

extern long statement_budget;
void SpendStatement(CScript& script);
inline void CountStatement(CScript& script) {
  if (statement_budget >= 0) [[unlikely]]
    SpendStatement(script);
}

}  // namespace karst

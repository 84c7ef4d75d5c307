// RememberedRunner: the main loop with a memory: runs statements as they are remembered and reads from the text where
// nothing is.
//
// The read position of the script is kept only where somebody can see it: ahead of whatever may raise an error, and
// where reading goes on.
#pragma once

#include <atomic>

#include "script/remembered.h"
#include "script/script.h"
#include "values/cellstore.h"

namespace karst {

class RememberedRunner {
 public:
  RememberedRunner(CScript& script, int entry_depth)
      : script_(script),
        remembered_(*script.remembered_),
        store_(script.Store()),
        run_state_(script.nRunState),
        entry_depth_(entry_depth),
        limit_(script.lpProgEnd ? script.lpProgEnd : script.lpCodeBuffer + script.nCodeLen) {
    remembered_.StartOverIfChanged(script.lpCodeBuffer, script.nCodeLen, script.text_generation_);
  }

  // As CScript::MainLoop.
  int Run();

  // What runs a statement of that kind.
  static StatementHandler HandlerOf(const RememberedStatement& statement);

 private:
  using Flow = CScript::Flow;
  using Statement = RememberedStatement;

  template <bool kCounted>
  Statement* RunOn(Statement& first);
  void EnsureInside(const Statement& statement);
  Flow Read();
  void Remember(const char* position);
  // SPEED: as CRunable::IsStop, without the way to the virtual base.
  bool Stopped() const { return run_state_.load(std::memory_order_relaxed) < 0; }

  // Handlers, one or more for each kind. SPEED: what is seldom or slow has a function of its own, so that the other
  // ways save no registers for it.
  static StatementHandler AssignmentHandlerOf(const ExpressionNode& expression);
  static Statement* AssignVariable(RememberedRunner& self, Statement& statement);
  static Statement* AssignCount(RememberedRunner& self, Statement& statement);
  [[gnu::noinline]] static Statement* Assign(RememberedRunner& self, Statement& statement);
  static Statement* AssignSumWithCall(RememberedRunner& self, Statement& statement);
  [[gnu::noinline]] static Statement* AssignEvaluated(RememberedRunner& self, Statement& statement);
  static Statement* Append(RememberedRunner& self, Statement& statement);
  [[gnu::noinline]] static Statement* AppendValue(RememberedRunner& self, Statement& statement);
  static Statement* Prepend(RememberedRunner& self, Statement& statement);
  static Statement* CallStatement(RememberedRunner& self, Statement& statement);
  static Statement* If(RememberedRunner& self, Statement& statement);
  [[gnu::noinline]] static Statement* SkipIf(RememberedRunner& self, Statement& statement);
  static Statement* Else(RememberedRunner& self, Statement& statement);
  static Statement* Loop(RememberedRunner& self, Statement& statement);
  [[gnu::noinline]] static Statement* SkipLoop(RememberedRunner& self, Statement& statement);
  static Statement* EndLoop(RememberedRunner& self, Statement& statement);
  static Statement* Break(RememberedRunner& self, Statement& statement);
  static Statement* Continue(RememberedRunner& self, Statement& statement);
  static Statement* Begin(RememberedRunner& self, Statement& statement);
  [[gnu::noinline]] static Statement* BeginSlowly(RememberedRunner& self, Statement& statement);
  static Statement* End(RememberedRunner& self, Statement& statement);
  [[gnu::noinline]] static Statement* EndSlowly(RememberedRunner& self, Statement& statement);
  static Statement* Declare(RememberedRunner& self, Statement& statement);
  static Statement* Goto(RememberedRunner& self, Statement& statement);
  static Statement* PieceEnd(RememberedRunner& self, Statement& statement);

  // Where to go on.
  Statement* Next(Statement& statement) {
    return statement.following ? statement.following : LinkTo(statement.following, statement.next);
  }
  Statement* Skip(Statement& statement) {
    return statement.skipped_to ? statement.skipped_to : LinkTo(statement.skipped_to, statement.skip_target);
  }
  // Remembers in `link` which statement is at `position`.
  Statement* LinkTo(Statement*& link, const char* position) {
    MoveTo(position);
    return link = remembered_.At(position);
  }
  Statement* ReadOn() { return nullptr; }
  Statement* Leave(int result) {
    result_ = result;
    leaving_ = true;
    return nullptr;
  }
  bool OpenFrameQuickly() { return store_.OpenFrameQuickly(script_.m_Cells, script_.m_nBeginCount); }
  void OpenFrame() {
    if (!OpenFrameQuickly()) script_.OpenFrame(0);
  }
  bool CanSkip(const Statement& statement) const { return statement.skip_target && statement.skip_target < limit_; }
  Statement* SkippedByReading(Statement& statement);

  bool SetInPlace(Statement& statement);
  void AssignValue(const Statement& statement, const CValue& value);
  CVarCell* TextVariable(const NameSlot& slot, const char* refusal);

  // Whether the condition of an "if" or a loop holds.
  bool Holds(const Statement& statement);
  [[gnu::noinline]] bool HoldsAsValue(const Statement& statement);
  void Evaluate(const ExpressionNode& node, CValue& value);
  void EvaluateBinary(const ExpressionNode& node, CValue& value);
  // The text of a literal or of a text variable; false for any other node.
  static bool TextOperand(const ExpressionNode& node, std::string_view& text);
  void Call(const RememberedCall& call, CValue& result);
  bool MakeQuickly(const RememberedArgument& argument);
  bool AppendCopy(const RememberedArgument& argument);
  void MakeArgument(const RememberedArgument& argument);

  void MoveTo(const char* position) { script_.lpProg = const_cast<char*>(position); }

  CScript& script_;
  Remembered& remembered_;
  CellStore& store_;
  const std::atomic_ref<int> run_state_;
  const int entry_depth_;
  const char* limit_;  // the piece's end, or behind the code
  bool leaving_ = false;
  int result_ = 0;
};

}  // namespace karst

// RememberedRunner: statements. The expressions are in remembered_expression.cpp.
#include "script/remembered_runner.h"

#include <new>

#include "script/arithmetic.h"
#include "script/statement_builder.h"

namespace karst {

int RememberedRunner::Run() {
  for (;;) {
    if (Stopped() || script_.lpProg >= limit_) return 0;
    Statement* statement = remembered_.At(script_.lpProg);
    if (!statement || statement->last_token >= limit_) {
      if (Read() == Flow::kLeave) return result_;
      continue;
    }
    statement = statement_budget < 0 ? RunOn<false>(*statement) : RunOn<true>(*statement);
    if (leaving_) return result_;
    if (statement) MoveTo(statement->position);
  }
}

// From one remembered statement to the next, as long as there is one.
template <bool kCounted>
inline RememberedStatement* RememberedRunner::RunOn(Statement& first) {
  Statement* statement = &first;
  try {
    do {
      if constexpr (kCounted) {
        MoveTo(statement->word);
        if (statement->kind != StatementKind::kPieceEnd) SpendStatement(script_);
      }
      statement = statement->run(*this, *statement);
    } while (statement && statement->last_token < limit_ && !Stopped());
  } catch (const std::bad_alloc&) {
    EnsureInside(*statement);
    throw;
  }
  return statement;
}

// An allocation failed in the statement: the error is to name its line. SPEED: what raises nothing else keeps no read
// position, so that the one there is may be of an earlier statement.
void RememberedRunner::EnsureInside(const Statement& statement) {
  if (statement.kind == StatementKind::kPieceEnd) return;
  const bool inside = script_.lpProg > statement.word && script_.lpProg <= statement.last_token;
  if (!inside) MoveTo(statement.behind_word);
}

// One statement from the text.
RememberedRunner::Flow RememberedRunner::Read() {
  const char* position = script_.lpProg;
  const Flow flow = script_.RunStatement(entry_depth_, result_);
  if (flow == Flow::kNext && !remembered_.At(position) && remembered_.NoteRead(position)) Remember(position);
  return flow;
}

void RememberedRunner::Remember(const char* position) {
  const CodeSpan code{script_.lpCodeBuffer, script_.lpCodeBuffer + script_.nCodeLen};
  StatementBuilder builder(script_, remembered_, code, script_.lpProgEnd);
  switch (builder.Build(position)) {
    case StatementBuilder::Outcome::kKept: break;
    case StatementBuilder::Outcome::kNotYet: remembered_.TryAgainLater(position); break;
    case StatementBuilder::Outcome::kNever: remembered_.GiveUp(position); break;
  }
}

StatementHandler RememberedRunner::HandlerOf(const Statement& statement) {
  switch (statement.kind) {
    case StatementKind::kAssign: return AssignmentHandlerOf(*statement.expression);
    case StatementKind::kAppend: return Append;
    case StatementKind::kPrepend: return Prepend;
    case StatementKind::kCall: return CallStatement;
    case StatementKind::kIf: return If;
    case StatementKind::kElse: return Else;
    case StatementKind::kLoop: return Loop;
    case StatementKind::kEndLoop: return EndLoop;
    case StatementKind::kBreak: return Break;
    case StatementKind::kContinue: return Continue;
    case StatementKind::kBegin: return Begin;
    case StatementKind::kEnd: return End;
    case StatementKind::kGoto: return Goto;
    case StatementKind::kPieceEnd: return PieceEnd;
    default: return Declare;
  }
}

StatementHandler RememberedRunner::AssignmentHandlerOf(const ExpressionNode& expression) {
  if (expression.kind == NodeKind::kVariable) return AssignVariable;
  if (expression.kind == NodeKind::kAdd && expression.right->kind == NodeKind::kCall) return AssignSumWithCall;
  if (expression.calls) return AssignEvaluated;
  const bool counts = expression.kind == NodeKind::kAdd && expression.left->kind == NodeKind::kVariable &&
                      expression.right->kind == NodeKind::kInt;
  return counts ? AssignCount : Assign;
}

// Names and values.

// SPEED: a copy between two variables of one type.
RememberedStatement* RememberedRunner::AssignVariable(RememberedRunner& self, Statement& statement) {
  const CVarCell* source = statement.expression->slot->newest;
  CVarCell* cell = statement.slot->newest;
  if (!source || !cell || cell->leixing != source->leixing || cell->nDupPos != -1) return Assign(self, statement);
  if (cell->leixing == kText) {
    cell->string->Assign(*source->string);
  } else if (cell->leixing == kInt) {
    cell->lVal = source->lVal;
  } else {
    return AssignEvaluated(self, statement);
  }
  return self.Next(statement);
}

// SPEED: name = name + number is what loops are made of.
RememberedStatement* RememberedRunner::AssignCount(RememberedRunner& self, Statement& statement) {
  const ExpressionNode& sum = *statement.expression;
  const CVarCell* source = sum.left->slot->newest;
  CVarCell* cell = CellStore::OwnVariable(*statement.slot, kInt);
  if (!cell || !source || source->leixing != kInt) return Assign(self, statement);
  cell->lVal = Wrapped<int32_t>(int64_t{source->lVal} + sum.right->number);
  return self.Next(statement);
}

RememberedStatement* RememberedRunner::Assign(RememberedRunner& self, Statement& statement) {
  const IntResult number = statement.expression->evaluate_int(*statement.expression);
  CVarCell* cell = CellStore::OwnVariable(*statement.slot, kInt);
  if (number.known && cell) {
    cell->lVal = number.value;
    return self.Next(statement);
  }
  return self.SetInPlace(statement) ? self.Next(statement) : AssignEvaluated(self, statement);
}

RememberedStatement* RememberedRunner::AssignEvaluated(RememberedRunner& self, Statement& statement) {
  CValue value;
  self.Evaluate(*statement.expression, value);
  self.AssignValue(statement, value);
  return self.Next(statement);
}

// SPEED: name = number + call is how a script adds up.
RememberedStatement* RememberedRunner::AssignSumWithCall(RememberedRunner& self, Statement& statement) {
  const ExpressionNode& sum = *statement.expression;
  const IntResult left = sum.left->evaluate_int(*sum.left);
  if (!left.known) return AssignEvaluated(self, statement);
  CValue value;
  self.Call(*sum.right->call, value);
  self.MoveTo(sum.position);
  if (value.leixing == kInt) {
    value.lVal = Wrapped<int32_t>(int64_t{left.value} + value.lVal);
  } else {
    value = CValue(left.value) + value;
  }
  self.AssignValue(statement, value);
  return self.Next(statement);
}

void RememberedRunner::AssignValue(const Statement& statement, const CValue& value) {
  CVarCell* cell = CellStore::OwnVariable(*statement.slot, kInt);
  if (cell && value.leixing == kInt) {
    cell->lVal = value.lVal;
    return;
  }
  MoveTo(statement.behind_word);  // where a refusal is reported
  script_.ChangeValue(*statement.slot, value);
}

// SPEED: name = text changes the variable's own text, and name = name + text grows it. The sum would be the same text.
bool RememberedRunner::SetInPlace(Statement& statement) {
  const ExpressionNode& value = *statement.expression;
  const bool sum = value.kind == NodeKind::kAdd && value.left->slot == statement.slot;
  CVarCell* cell = CellStore::OwnVariable(*statement.slot, kText);
  std::string_view text;
  if (!cell || !TextOperand(sum ? *value.right : value, text)) return false;
  if (sum) {
    cell->string->Append(text);
  } else {
    cell->string->Assign(text);
  }
  return true;
}

CVarCell* RememberedRunner::TextVariable(const NameSlot& slot, const char* refusal) {
  return script_.TextVariable(slot.newest, slot.name.c_str(), refusal);
}

RememberedStatement* RememberedRunner::Append(RememberedRunner& self, Statement& statement) {
  CVarCell* cell = CellStore::OwnVariable(*statement.slot, kText);
  std::string_view added;
  if (!cell || !TextOperand(*statement.expression, added)) return AppendValue(self, statement);
  cell->string->Append(added);
  return self.Next(statement);
}

RememberedStatement* RememberedRunner::AppendValue(RememberedRunner& self, Statement& statement) {
  CValue value;
  std::string_view added;
  if (!TextOperand(*statement.expression, added)) {
    self.Evaluate(*statement.expression, value);
    self.MoveTo(statement.behind_value);
    if (value.leixing != kText) self.script_.halt(CScript::kAppendOnlyTexts);
    if (value.string) added = value.string;
  }
  self.MoveTo(statement.behind_value);
  CVarCell* cell = self.TextVariable(*statement.slot, CScript::kAppendOnlyTexts);
  if (cell->nDupPos == -1) {
    cell->string->Append(added);
  } else {
    CString text = *cell->string;
    text += added;
    self.script_.ChangeDupVars(cell, text.view());
  }
  return self.Next(statement);
}

RememberedStatement* RememberedRunner::Prepend(RememberedRunner& self, Statement& statement) {
  self.MoveTo(statement.behind_value);
  CVarCell* right = self.TextVariable(*statement.other, CScript::kPrependOnlyTexts);
  const CVarCell* left = self.TextVariable(*statement.slot, CScript::kPrependOnlyTexts);
  CString text = *left->string;
  text += right->string->view();
  self.script_.ChangeDupVars(right, text.view());
  return self.Next(statement);
}

RememberedStatement* RememberedRunner::Declare(RememberedRunner& self, Statement& statement) {
  CScript& script = self.script_;
  if (statement.kind == StatementKind::kDeclareText) {
    self.MoveTo(statement.next);
    script.MakeText(*statement.slot, statement.expression ? statement.expression->text : std::string_view());
    return self.Next(statement);
  }
  CValue value(int32_t{0});
  if (statement.expression) self.Evaluate(*statement.expression, value);
  self.MoveTo(statement.next);
  if (statement.kind == StatementKind::kDeclareInt) {
    script.CreateDeclaredInt(*statement.slot, value);
  } else {
    script.CreateDeclaredInt64(*statement.slot, value);
  }
  return self.Next(statement);
}

RememberedStatement* RememberedRunner::CallStatement(RememberedRunner& self, Statement& statement) {
  CValue dropped;
  self.Call(*statement.call, dropped);
  return self.Next(statement);
}

// Conditions and blocks.

inline bool RememberedRunner::Holds(const Statement& statement) {
  const IntResult result = statement.expression->evaluate_int(*statement.expression);
  return result.known ? result.value != 0 : HoldsAsValue(statement);
}

bool RememberedRunner::HoldsAsValue(const Statement& statement) {
  CValue value;
  Evaluate(*statement.expression, value);
  const int truth = Truth(value);
  if (truth < 0) {
    MoveTo(statement.behind_value);
    script_.GetToken();  // a condition is refused with the token after it read
    script_.halt(CScript::kConditionWithoutTruth);
  }
  return truth == 1;
}

// What a false condition or an "else" passes was just read from the text, up to a place that lies in the piece.
RememberedStatement* RememberedRunner::SkippedByReading(Statement& statement) {
  if (script_.nTok == FINISHED) return Leave(0);
  statement.skip_target = script_.lpProg;
  statement.skipped_to = nullptr;
  return ReadOn();
}

RememberedStatement* RememberedRunner::If(RememberedRunner& self, Statement& statement) {
  if (self.Holds(statement)) {
    if (statement.opens_block && !self.OpenFrameQuickly()) return BeginSlowly(self, statement);
    return self.Next(statement);
  }
  return self.CanSkip(statement) ? self.Skip(statement) : SkipIf(self, statement);
}

RememberedStatement* RememberedRunner::SkipIf(RememberedRunner& self, Statement& statement) {
  self.MoveTo(statement.behind_value);
  self.script_.SkipBlankLine();
  self.script_.FindElse();
  return self.SkippedByReading(statement);
}

RememberedStatement* RememberedRunner::Else(RememberedRunner& self, Statement& statement) {
  if (self.CanSkip(statement)) return self.Skip(statement);
  self.MoveTo(statement.behind_word);
  const bool limited = self.script_.DoElse() == 1;
  // Where the piece ended first, another piece that holds more of the line goes on elsewhere.
  return limited ? self.ReadOn() : self.SkippedByReading(statement);
}

RememberedStatement* RememberedRunner::Begin(RememberedRunner& self, Statement& statement) {
  if (!self.OpenFrameQuickly()) return BeginSlowly(self, statement);
  return self.Next(statement);
}

RememberedStatement* RememberedRunner::BeginSlowly(RememberedRunner& self, Statement& statement) {
  self.OpenFrame();
  return self.Next(statement);
}

RememberedStatement* RememberedRunner::End(RememberedRunner& self, Statement& statement) {
  CScript& script = self.script_;
  if (!self.store_.CloseEmptyFrame(script.m_Cells, script.m_nBeginCount)) return EndSlowly(self, statement);
  return self.Next(statement);
}

RememberedStatement* RememberedRunner::EndSlowly(RememberedRunner& self, Statement& statement) {
  CScript& script = self.script_;
  if (!self.store_.CloseFrame(script.m_Cells, script.m_nBeginCount)) {
    self.MoveTo(statement.behind_word);
    script.DoEnd();  // refuses
  }
  return self.Next(statement);
}

// Loops and jumps.

RememberedStatement* RememberedRunner::Loop(RememberedRunner& self, Statement& statement) {
  CLoopStack& open_loops = *self.script_.pLoopStack;
  open_loops.push(const_cast<char*>(statement.word));
  if (self.Holds(statement)) return self.Next(statement);
  open_loops.pop();
  return self.CanSkip(statement) ? self.Skip(statement) : SkipLoop(self, statement);
}

RememberedStatement* RememberedRunner::SkipLoop(RememberedRunner& self, Statement& statement) {
  self.MoveTo(statement.behind_value);
  self.script_.SkipUntilPeiduiEndcir();
  return self.SkippedByReading(statement);
}

RememberedStatement* RememberedRunner::EndLoop(RememberedRunner& self, Statement& statement) {
  CScript& script = self.script_;
  char* loop_word = script.pLoopStack->pop();
  if (!loop_word) [[unlikely]] {
    self.MoveTo(statement.behind_word);
    script.BackToLoop();  // refuses
  }
  Statement* loop = statement.following;
  return loop && loop->position == loop_word ? loop : self.LinkTo(statement.following, loop_word);
}

RememberedStatement* RememberedRunner::Break(RememberedRunner& self, Statement& statement) {
  self.MoveTo(statement.behind_word);
  if (self.script_.lpProgEnd) {
    self.script_.CloseFrames(self.entry_depth_);
    return self.Leave(1);
  }
  if (!self.CanSkip(statement)) {
    self.script_.SkipUntilPeiduiEndcir();
    statement.skip_target = self.script_.lpProg;
  }
  self.script_.pLoopStack->pop();
  return self.Skip(statement);
}

RememberedStatement* RememberedRunner::Continue(RememberedRunner& self, Statement& statement) {
  self.MoveTo(statement.behind_word);
  if (!self.script_.lpProgEnd) self.script_.halt(".pro运行时尚不能使用continue语句");
  self.script_.CloseFrames(self.entry_depth_);
  return self.Leave(2);
}

RememberedStatement* RememberedRunner::Goto(RememberedRunner& self, Statement& statement) {
  self.MoveTo(statement.behind_value);
  self.script_.CloseFrames(self.script_.m_nBeginCount - statement.frames_left);
  return self.Next(statement);
}

// Nothing is left but blanks and line ends, up to the end of one piece; with another end they are read.
RememberedStatement* RememberedRunner::PieceEnd(RememberedRunner& self, Statement& statement) {
  if (statement.piece_end == self.limit_) {
    self.MoveTo(statement.next);
    return self.Leave(0);
  }
  self.MoveTo(statement.position);
  if (self.Read() == Flow::kLeave) self.leaving_ = true;
  return self.ReadOn();
}

}  // namespace karst

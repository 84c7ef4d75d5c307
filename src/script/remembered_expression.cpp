// RememberedRunner: expressions, conditions and calls.
#include "script/arithmetic.h"
#include "script/comparison.h"
#include "script/nesting.h"
#include "script/remembered_runner.h"

namespace karst {

bool RememberedRunner::TextOperand(const ExpressionNode& node, std::string_view& text) {
  if (node.kind == NodeKind::kText) {
    text = node.text;
    return true;
  }
  if (node.kind != NodeKind::kVariable) return false;
  const CVarCell* cell = node.slot->newest;
  if (!cell || cell->leixing != kText) return false;
  text = cell->string->view();
  return true;
}

void RememberedRunner::Evaluate(const ExpressionNode& node, CValue& value) {
  switch (node.kind) {
    case NodeKind::kInt: value.SetVal(node.number); return;
    case NodeKind::kInt64: value.SetVal(node.wide_number); return;
    case NodeKind::kText: value.SetVal(node.text.data(), false); return;  // the code outlives the value
    case NodeKind::kVariable: {
      const CVarCell* cell = node.slot->newest;
      if (!cell) {
        MoveTo(node.position);
        script_.RefuseName(node.slot->name.c_str());
      }
      if (cell->leixing == kInt) {
        value.SetVal(cell->lVal);
      } else {
        value.SetVal(cell, false);
      }
      return;
    }
    case NodeKind::kCall: Call(*node.call, value); return;
    case NodeKind::kPlusSign:
    case NodeKind::kMinusSign:
      Evaluate(*node.left, value);
      MoveTo(node.position);
      script_.unary(node.kind == NodeKind::kPlusSign ? '+' : '-', &value);
      return;
    case NodeKind::kNot:
      Evaluate(*node.left, value);
      MoveTo(node.position);
      script_.logic_unary('!', &value);
      return;
    default: EvaluateBinary(node, value);
  }
}

void RememberedRunner::EvaluateBinary(const ExpressionNode& node, CValue& value) {
  Evaluate(*node.left, value);
  if (node.right->calls) value.KeepText();
  CValue right;
  Evaluate(*node.right, right);
  MoveTo(node.position);
  switch (node.kind) {
    case NodeKind::kAdd:
      if (value.leixing == kInt && right.leixing == kInt) {
        value.lVal = static_cast<int32_t>(static_cast<uint32_t>(value.lVal) + static_cast<uint32_t>(right.lVal));
      } else {
        script_.arith('+', &value, &right);
      }
      return;
    case NodeKind::kSubtract: return script_.arith('-', &value, &right);
    case NodeKind::kMultiply: return script_.arith('*', &value, &right);
    case NodeKind::kDivide: return script_.arith('/', &value, &right);
    case NodeKind::kRemainder: return script_.arith('%', &value, &right);
    case NodeKind::kPower: return script_.arith('^', &value, &right);
    case NodeKind::kCompare: return script_.logic_arith(node.op, &value, &right);
    case NodeKind::kAnd: return script_.logic_arith('&', &value, &right);
    default: return script_.logic_arith('|', &value, &right);
  }
}

void RememberedRunner::Call(const RememberedCall& call, CValue& result) {
  const NestingGuard guard(script_);
  ++script_.m_nBeginCount;
  const size_t first = script_.m_Cells.size();
  for (const RememberedArgument& argument : call.arguments) argument.make(*this, argument);
  MoveTo(call.behind);
  call.handler(&script_, static_cast<int>(script_.m_Cells.size() - first), static_cast<int>(first), &result);
  store_.CutBack(script_.m_Cells, first);
  --script_.m_nBeginCount;
}

ArgumentMaker RememberedRunner::MakerOf(const RememberedArgument& argument) {
  switch (argument.kind) {
    case RememberedArgument::Kind::kLiteral: return MakeLiteral;
    case RememberedArgument::Kind::kReference: return MakeReference;
    default: break;
  }
  switch (argument.expression->kind) {
    case NodeKind::kInt: return MakeFromNumber;
    case NodeKind::kVariable: return MakeFromVariable;
    default: return MakeFromExpression;
  }
}

// SPEED: as CVarArray::CreateNewVar, but for the name check, which is off while a call is made.
template <typename Set>
void RememberedRunner::AppendArgument(const RememberedArgument& argument, Set set) {
  MoveTo(argument.position);
  if (script_.m_Cells.size() >= static_cast<size_t>(CVarArray::kMostCells)) script_.RefuseCell();
  CVarCell* cell = store_.Take(*argument.slot);
  if (!cell) return;
  set(cell);
  store_.Append(script_.m_Cells, cell);
}

void RememberedRunner::MakeLiteral(RememberedRunner& self, const RememberedArgument& argument) {
  self.AppendArgument(argument, [&argument](CVarCell* cell) { CellStore::SetText(cell, argument.text); });
}

void RememberedRunner::MakeFromNumber(RememberedRunner& self, const RememberedArgument& argument) {
  self.AppendArgument(argument, [&argument](CVarCell* cell) { CellStore::SetInt(cell, argument.expression->number); });
}

void RememberedRunner::MakeReference(RememberedRunner& self, const RememberedArgument& argument) {
  self.MoveTo(argument.position);
  self.script_.MakeDup(*argument.slot, *argument.source);
}

void RememberedRunner::MakeFromVariable(RememberedRunner& self, const RememberedArgument& argument) {
  const CVarCell* source = argument.expression->slot->newest;
  if (!source || source->leixing == kFrameMark) return MakeFromExpression(self, argument);
  self.AppendArgument(argument, [source](CVarCell* cell) { CellStore::SetCopy(cell, *source); });
}

void RememberedRunner::MakeFromExpression(RememberedRunner& self, const RememberedArgument& argument) {
  const IntResult number = argument.expression->evaluate_int(*argument.expression);
  if (number.known) {
    self.AppendArgument(argument, [number](CVarCell* cell) { CellStore::SetInt(cell, number.value); });
    return;
  }
  CValue value;
  self.Evaluate(*argument.expression, value);
  self.MoveTo(argument.position);
  self.script_.MakeValue(*argument.slot, value);
}

}  // namespace karst

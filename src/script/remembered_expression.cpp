// RememberedRunner: expressions, conditions and calls.
#include "script/arithmetic.h"
#include "script/comparison.h"
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

// No nesting is counted: a tree that is remembered is lower than what may nest.
void RememberedRunner::Call(const RememberedCall& call, CValue& result) {
  std::vector<CVarCell*>& cells = script_.m_Cells;
  ++script_.m_nBeginCount;
  const size_t first = cells.size();
  const bool has_room = first + call.arguments.size() <= static_cast<size_t>(CVarArray::kMostCells);
  for (const RememberedArgument& argument : call.arguments) {
    if (!has_room || !MakeQuickly(argument)) MakeArgument(argument);
  }
  MoveTo(call.behind);
  script_.CallBuiltin(call.handler, static_cast<int>(cells.size() - first), static_cast<int>(first), &result);
  store_.CutBack(cells, first);
  --script_.m_nBeginCount;
}

// SPEED: what MakeArgument does, where no error can come of it and the table has room; else false, with nothing done.
inline bool RememberedRunner::MakeQuickly(const RememberedArgument& argument) {
  switch (argument.kind) {
    case RememberedArgument::Kind::kExpression: {
      const IntResult number = argument.expression->evaluate_int(*argument.expression);
      CVarCell* cell = number.known ? store_.AppendReady(script_.m_Cells, *argument.slot) : nullptr;
      if (cell) CellStore::SetInt(cell, number.value);
      return cell;
    }
    case RememberedArgument::Kind::kLiteral: {
      CVarCell* cell = store_.AppendReady(script_.m_Cells, *argument.slot);
      if (cell) CellStore::SetText(cell, argument.text);
      return cell;
    }
    default: return AppendCopy(argument);
  }
}

inline bool RememberedRunner::AppendCopy(const RememberedArgument& argument) {
  const CVarCell* source = argument.source->newest;
  if (!source || (source->leixing != kInt && source->leixing != kText)) return false;
  CVarCell* cell = store_.AppendReady(script_.m_Cells, *argument.slot);
  if (!cell) return false;
  if (source->leixing == kInt) {
    CellStore::SetInt(cell, source->lVal);
  } else {
    CellStore::SetText(cell, *source->string);
  }
  if (argument.kind == RememberedArgument::Kind::kReference) cell->nDupPos = CellStore::PositionOf(source);
  return true;
}

void RememberedRunner::MakeArgument(const RememberedArgument& argument) {
  using Kind = RememberedArgument::Kind;
  if (argument.kind == Kind::kLiteral || argument.kind == Kind::kReference) MoveTo(argument.position);
  if (argument.kind == Kind::kLiteral) {
    script_.MakeText(*argument.slot, argument.text);
  } else if (argument.kind == Kind::kReference) {
    script_.MakeDup(*argument.slot, *argument.source);
  } else {
    CValue value;
    Evaluate(*argument.expression, value);
    MoveTo(argument.position);
    script_.MakeValue(*argument.slot, value);
  }
}

}  // namespace karst

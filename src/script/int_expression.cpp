// One small function for each operator and each kind of operand, chosen once when an expression is remembered.
#include "script/int_expression.h"

#include "script/arithmetic.h"
#include "script/remembered.h"
#include "values/cellstore.h"

namespace karst {

namespace {

constexpr IntResult kUnknown{0, 0};

IntResult Unknown(const ExpressionNode&) { return kUnknown; }
IntResult Constant(const ExpressionNode& node) { return {node.number, 1}; }

inline IntResult ValueOf(const NameSlot* slot) {
  const CVarCell* cell = slot->newest;
  if (!cell || cell->leixing != kInt) return kUnknown;
  return {cell->lVal, 1};
}
IntResult Variable(const ExpressionNode& node) { return ValueOf(node.slot); }

// Operands: how the one side of a node gets its value.
struct FromVariable {
  static IntResult Get(const ExpressionNode& side) { return ValueOf(side.slot); }
};
struct FromConstant {
  static IntResult Get(const ExpressionNode& side) { return {side.number, 1}; }
};
struct FromNode {
  static IntResult Get(const ExpressionNode& side) { return side.evaluate_int(side); }
};

uint32_t Bits(int32_t n) { return static_cast<uint32_t>(n); }
IntResult Known(uint32_t bits) { return {static_cast<int32_t>(bits), 1}; }
IntResult Known(bool holds) { return {holds, 1}; }

// Operators.
struct Add {
  static IntResult Of(int32_t a, int32_t b) { return Known(Bits(a) + Bits(b)); }
};
struct Subtract {
  static IntResult Of(int32_t a, int32_t b) { return Known(Bits(a) - Bits(b)); }
};
struct Multiply {
  static IntResult Of(int32_t a, int32_t b) { return Known(Bits(a) * Bits(b)); }
};
struct Divide {
  static IntResult Of(int32_t a, int32_t b) { return b == 0 ? kUnknown : IntResult{Quotient(a, b), 1}; }
};
struct Modulo {
  static IntResult Of(int32_t a, int32_t b) { return b == 0 ? kUnknown : IntResult{Remainder(a, b), 1}; }
};
struct Equal {
  static IntResult Of(int32_t a, int32_t b) { return Known(a == b); }
};
struct NotEqual {
  static IntResult Of(int32_t a, int32_t b) { return Known(a != b); }
};
struct Greater {
  static IntResult Of(int32_t a, int32_t b) { return Known(a > b); }
};
struct Less {
  static IntResult Of(int32_t a, int32_t b) { return Known(a < b); }
};
struct GreaterEqual {
  static IntResult Of(int32_t a, int32_t b) { return Known(a >= b); }
};
struct LessEqual {
  static IntResult Of(int32_t a, int32_t b) { return Known(a <= b); }
};
struct Both {
  static IntResult Of(int32_t a, int32_t b) { return Known(a != 0 && b != 0); }
};
struct Either {
  static IntResult Of(int32_t a, int32_t b) { return Known(a != 0 || b != 0); }
};

template <typename Operator, typename Left, typename Right>
IntResult Binary(const ExpressionNode& node) {
  const IntResult left = Left::Get(*node.left);
  if (!left.known) return kUnknown;
  const IntResult right = Right::Get(*node.right);
  if (!right.known) return kUnknown;
  return Operator::Of(left.value, right.value);
}

template <typename Operator, typename Left>
IntEvaluator EvaluatorWithLeft(const ExpressionNode& node) {
  switch (node.right->kind) {
    case NodeKind::kInt: return Binary<Operator, Left, FromConstant>;
    case NodeKind::kVariable: return Binary<Operator, Left, FromVariable>;
    default: return Binary<Operator, Left, FromNode>;
  }
}

template <typename Operator>
IntEvaluator EvaluatorFor(const ExpressionNode& node) {
  return node.left->kind == NodeKind::kVariable ? EvaluatorWithLeft<Operator, FromVariable>(node)
                                                : EvaluatorWithLeft<Operator, FromNode>(node);
}

IntEvaluator ComparisonEvaluator(const ExpressionNode& node) {
  switch (node.comparison) {
    case Comparison::kEqual: return EvaluatorFor<Equal>(node);
    case Comparison::kNotEqual: return EvaluatorFor<NotEqual>(node);
    case Comparison::kGreater: return EvaluatorFor<Greater>(node);
    case Comparison::kLess: return EvaluatorFor<Less>(node);
    case Comparison::kGreaterEqual: return EvaluatorFor<GreaterEqual>(node);
    default: return EvaluatorFor<LessEqual>(node);
  }
}

IntResult Operand(const ExpressionNode& node) { return node.left->evaluate_int(*node.left); }
IntResult Negative(const ExpressionNode& node) {
  const IntResult operand = Operand(node);
  return operand.known ? Known(0 - Bits(operand.value)) : kUnknown;
}
IntResult Not(const ExpressionNode& node) {
  const IntResult operand = Operand(node);
  return operand.known ? Known(operand.value == 0) : kUnknown;
}

}  // namespace

IntEvaluator ChooseIntEvaluator(const ExpressionNode& node) {
  if (node.calls) return Unknown;
  switch (node.kind) {
    case NodeKind::kInt: return Constant;
    case NodeKind::kVariable: return Variable;
    case NodeKind::kAdd: return EvaluatorFor<Add>(node);
    case NodeKind::kSubtract: return EvaluatorFor<Subtract>(node);
    case NodeKind::kMultiply: return EvaluatorFor<Multiply>(node);
    case NodeKind::kDivide: return EvaluatorFor<Divide>(node);
    case NodeKind::kRemainder: return EvaluatorFor<Modulo>(node);
    case NodeKind::kCompare: return ComparisonEvaluator(node);
    case NodeKind::kAnd: return EvaluatorFor<Both>(node);
    case NodeKind::kOr: return EvaluatorFor<Either>(node);
    case NodeKind::kPlusSign: return Operand;
    case NodeKind::kMinusSign: return Negative;
    case NodeKind::kNot: return Not;
    default: return Unknown;
  }
}

}  // namespace karst

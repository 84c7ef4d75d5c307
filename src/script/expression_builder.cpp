// StatementBuilder: expressions, conditions and calls, as the evaluator reads them, without the evaluation.
#include <algorithm>

#include "script/arithmetic.h"
#include "script/call.h"
#include "script/script.h"
#include "script/statement_builder.h"
#include "values/name.h"

namespace karst {

namespace {

RememberedArgument::Kind KindOf(const ExpressionNode& expression) {
  const bool variable = expression.kind == NodeKind::kVariable;
  return variable ? RememberedArgument::Kind::kVariable : RememberedArgument::Kind::kExpression;
}

NodeKind KindOf(char op) {
  switch (op) {
    case '+': return NodeKind::kAdd;
    case '-': return NodeKind::kSubtract;
    case '*': return NodeKind::kMultiply;
    case '/': return NodeKind::kDivide;
    case '%': return NodeKind::kRemainder;
    default: return NodeKind::kPower;
  }
}

}  // namespace

const ExpressionNode* StatementBuilder::ReadCondition() {
  const ExpressionNode* node = nullptr;
  Condition(node);
  return node;
}

const ExpressionNode* StatementBuilder::Finished(ExpressionNode& node) {
  if (node.depth > kDeepest) throw Abandon{Outcome::kNever};
  node.evaluate_int = ChooseIntEvaluator(node);
  return &node;
}

ExpressionNode& StatementBuilder::Binary(NodeKind kind, const ExpressionNode* left, const ExpressionNode* right) {
  ExpressionNode& node = remembered_.NewNode(kind);
  node.left = left;
  node.right = right;
  node.calls = left->calls || right->calls;
  node.position = at_;
  node.depth = std::max(left->depth, right->depth) + 1;
  return node;
}

void StatementBuilder::Operate(char op, const char*, const ExpressionNode*& left, const ExpressionNode* right) {
  left = Finished(Binary(KindOf(op), left, right));
}

void StatementBuilder::Join(char op, const ExpressionNode*& left, const ExpressionNode* right) {
  left = Finished(Binary(op == '|' ? NodeKind::kOr : NodeKind::kAnd, left, right));
}

void StatementBuilder::Compare(const char* op, const char*, const ExpressionNode*& left, const ExpressionNode* right) {
  ExpressionNode& node = Binary(NodeKind::kCompare, left, right);
  node.op[0] = op[0];
  node.op[1] = op[1];
  node.comparison = ComparisonOf(op);
  left = Finished(node);
}

const ExpressionNode* StatementBuilder::Unary(NodeKind kind, const ExpressionNode* operand) {
  ExpressionNode& node = remembered_.NewNode(kind);
  node.left = operand;
  node.calls = operand->calls;
  node.position = at_;
  node.depth = operand->depth + 1;
  return Finished(node);
}

void StatementBuilder::Sign(char sign, const char*, const ExpressionNode*& node) {
  node = Unary(sign == '+' ? NodeKind::kPlusSign : NodeKind::kMinusSign, node);
}

void StatementBuilder::Negate(const ExpressionNode*& node) { node = Unary(NodeKind::kNot, node); }

void StatementBuilder::NumberOperand(const ExpressionNode*& node) {
  CValue value;
  SetNumber(value, CString(token_.text));
  ExpressionNode& number = remembered_.NewNode(value.leixing == kInt ? NodeKind::kInt : NodeKind::kInt64);
  number.number = value.lVal;
  number.wide_number = value.i64Val;
  node = Finished(number);
}

void StatementBuilder::LiteralOperand(const ExpressionNode*& node) {
  ExpressionNode& literal = remembered_.NewNode(NodeKind::kText);
  literal.text = Text();
  node = Finished(literal);
}

void StatementBuilder::CharacterOperand(const ExpressionNode*& node) {
  ExpressionNode& character = remembered_.NewNode(NodeKind::kInt);
  character.number = CharacterValue(CString(token_.text));
  node = Finished(character);
}

std::string_view StatementBuilder::Name() const { return SignificantName(token_.text); }

void StatementBuilder::Variable(std::string_view name, const ExpressionNode*& node) {
  ExpressionNode& variable = remembered_.NewNode(NodeKind::kVariable);
  variable.slot = SlotOf(name);
  variable.position = at_;
  node = Finished(variable);
}

void StatementBuilder::Call(std::string_view name, const ExpressionNode*& node) {
  ExpressionNode& call = remembered_.NewNode(NodeKind::kCall);
  call.calls = true;
  call.call = ReadCall(name);
  node = Finished(call);
}

// Entered after the "("; left with the read position after the ")" or the line end in its place.
const RememberedCall* StatementBuilder::ReadCall(std::string_view index_form) {
  if (index_form.empty() || index_form[0] != '@') throw Abandon{Outcome::kNotYet};
  RememberedCall& call = remembered_.NewCall();
  if (script_.FindKernelFunction(CString(index_form), &call.handler, nullptr, 0) == -1 || !call.handler) {
    throw Abandon{Outcome::kNever};
  }
  Arguments(call);
  call.behind = at_;
  return &call;
}

RememberedArgument& StatementBuilder::NewArgument(RememberedCall& call, RememberedArgument::Kind kind) {
  char name[kArgumentNameSize];
  FormatArgumentName(name, static_cast<int>(call.arguments.size()));
  RememberedArgument& argument = call.arguments.emplace_back();
  argument.kind = kind;
  argument.slot = SlotOf(name);
  argument.position = at_;
  return argument;
}

void StatementBuilder::LiteralArgument(RememberedCall& call) {
  RememberedArgument& argument = NewArgument(call, RememberedArgument::Kind::kLiteral);
  argument.text = Text();
}

void StatementBuilder::ReferenceArgument(RememberedCall& call) {
  RememberedArgument& argument = NewArgument(call, RememberedArgument::Kind::kReference);
  argument.source = SlotOf(token_.text);
}

void StatementBuilder::ValueArgument(RememberedCall& call, const char*, const ExpressionNode* value) {
  RememberedArgument& argument = NewArgument(call, KindOf(*value));
  argument.expression = value;
  argument.source = value->slot;
}

}  // namespace karst

// StatementBuilder: expressions, conditions and calls: the grammar of the evaluators, without the evaluation.
#include <algorithm>
#include <cstring>

#include "script/arithmetic.h"
#include "script/call.h"
#include "script/script.h"
#include "script/statement_builder.h"
#include "text/mbtext.h"
#include "values/name.h"

namespace karst {

namespace {

// LIMIT: a tree that is higher is not remembered, so that running one needs little of the machine's stack.
constexpr int kMostTreeDepth = 200;

RememberedArgument::Kind KindOf(const ExpressionNode& expression) {
  switch (expression.kind) {
    case NodeKind::kInt: return RememberedArgument::Kind::kNumber;
    case NodeKind::kVariable: return RememberedArgument::Kind::kVariable;
    default: return RememberedArgument::Kind::kExpression;
  }
}

}  // namespace

class StatementBuilder::Deeper {
 public:
  explicit Deeper(StatementBuilder& builder) : builder_(builder) {
    if (++builder_.nesting_ > kMostTreeDepth) throw Abandon{Outcome::kNever};
  }
  Deeper(const Deeper&) = delete;
  Deeper& operator=(const Deeper&) = delete;
  ~Deeper() { --builder_.nesting_; }

 private:
  StatementBuilder& builder_;
};

const ExpressionNode* StatementBuilder::Finished(ExpressionNode& node) {
  if (node.depth > kMostTreeDepth) throw Abandon{Outcome::kNever};
  node.evaluate_int = ChooseIntEvaluator(node);
  return &node;
}

const ExpressionNode* StatementBuilder::Binary(NodeKind kind, const ExpressionNode* left, const ExpressionNode* right,
                                               const char* op) {
  ExpressionNode& node = remembered_.NewNode(kind);
  std::strncpy(node.op, op, sizeof node.op - 1);
  if (kind == NodeKind::kCompare) node.comparison = ComparisonOf(op);
  node.left = left;
  node.right = right;
  node.calls = left->calls || right->calls;
  node.position = at_;
  node.depth = std::max(left->depth, right->depth) + 1;
  return Finished(node);
}

const ExpressionNode* StatementBuilder::Unary(NodeKind kind, const ExpressionNode* operand) {
  ExpressionNode& node = remembered_.NewNode(kind);
  node.left = operand;
  node.calls = operand->calls;
  node.position = at_;
  node.depth = operand->depth + 1;
  return Finished(node);
}

// The literal that was just read.
const ExpressionNode* StatementBuilder::Literal() {
  ExpressionNode& node = remembered_.NewNode(NodeKind::kText);
  node.text = token_.text.substr(0, token_.text.find('\0'));
  return Finished(node);
}

const ExpressionNode* StatementBuilder::Expression() {
  Read();
  if (token_.text.empty() && token_.cls != STRING) throw Abandon{Outcome::kNever};
  const ExpressionNode* node = Sum();
  GiveBack();
  return node;
}

const ExpressionNode* StatementBuilder::Sum() {
  const ExpressionNode* left = Product();
  while (token_.Is('+') || token_.Is('-')) {
    const NodeKind kind = token_.Is('+') ? NodeKind::kAdd : NodeKind::kSubtract;
    Read();
    left = Binary(kind, left, Product());
  }
  return left;
}

const ExpressionNode* StatementBuilder::Product() {
  const ExpressionNode* left = Power();
  while (token_.Is('*') || token_.Is('/') || token_.Is('%')) {
    const NodeKind kind = token_.Is('*')   ? NodeKind::kMultiply
                          : token_.Is('/') ? NodeKind::kDivide
                                           : NodeKind::kRemainder;
    Read();
    left = Binary(kind, left, Power());
  }
  return left;
}

const ExpressionNode* StatementBuilder::Power() {
  const ExpressionNode* left = Signed();
  if (!token_.Is('^')) return left;
  const Deeper deeper(*this);
  Read();
  return Binary(NodeKind::kPower, left, Power());
}

const ExpressionNode* StatementBuilder::Signed() {
  const bool plus = token_.IsDelimiter('+');
  if (!plus && !token_.IsDelimiter('-')) return Group();
  Read();
  return Unary(plus ? NodeKind::kPlusSign : NodeKind::kMinusSign, Group());
}

const ExpressionNode* StatementBuilder::Group() {
  if (!token_.IsDelimiter('(')) return Primitive();
  const Deeper deeper(*this);
  Read();
  const ExpressionNode* node = Sum();
  if (!token_.Is(')')) throw Abandon{Outcome::kNever};
  Read();
  return node;
}

const ExpressionNode* StatementBuilder::Primitive() {
  const ExpressionNode* node = nullptr;
  switch (token_.cls) {
    case VARIABLE: node = NameOrCall(); break;
    case NUMBER: node = Number(); break;
    case STRING: node = Literal(); break;
    case CHARCONST: {
      ExpressionNode& character = remembered_.NewNode(NodeKind::kInt);
      character.number = CharacterValue(CString(token_.text));
      node = Finished(character);
      break;
    }
    default: throw Abandon{Outcome::kNever};
  }
  Read();
  return node;
}

const ExpressionNode* StatementBuilder::Number() {
  CValue value;
  SetNumber(value, CString(token_.text));
  ExpressionNode& node = remembered_.NewNode(value.leixing == kInt ? NodeKind::kInt : NodeKind::kInt64);
  node.number = value.lVal;
  node.wide_number = value.i64Val;
  return Finished(node);
}

const ExpressionNode* StatementBuilder::NameOrCall() {
  const std::string_view name = SignificantName(token_.text);
  Read();
  if (token_.Is('(')) {
    ExpressionNode& node = remembered_.NewNode(NodeKind::kCall);
    node.calls = true;
    node.call = Call(name);
    return Finished(node);
  }
  GiveBack();
  ExpressionNode& node = remembered_.NewNode(NodeKind::kVariable);
  node.slot = SlotOf(name);
  node.position = at_;
  return Finished(node);
}

const ExpressionNode* StatementBuilder::Condition() {
  Read();
  if (token_.text.empty() || token_.text[0] == 0) throw Abandon{Outcome::kNever};
  const ExpressionNode* node = Or();
  GiveBack();
  return node;
}

const ExpressionNode* StatementBuilder::Or() {
  const ExpressionNode* left = And();
  while (token_.Is('|')) {
    Read();
    if (!token_.Is('|')) throw Abandon{Outcome::kNever};
    Read();
    left = Binary(NodeKind::kOr, left, And());
  }
  return left;
}

const ExpressionNode* StatementBuilder::And() {
  const ExpressionNode* left = Not();
  while (token_.Is('&')) {
    Read();
    if (!token_.Is('&')) throw Abandon{Outcome::kNever};
    Read();
    left = Binary(NodeKind::kAnd, left, Not());
  }
  return left;
}

const ExpressionNode* StatementBuilder::Not() {
  if (!token_.IsDelimiter('!')) return Compare();
  Read();
  if (token_.Is('=')) throw Abandon{Outcome::kNever};
  return Unary(NodeKind::kNot, Compare());
}

const ExpressionNode* StatementBuilder::Compare() {
  const ExpressionNode* left = LogicGroup();
  char op[3] = {};
  if (!token_.text.empty()) op[0] = token_.text[0];
  if (op[0] != '=' && op[0] != '!' && op[0] != '>' && op[0] != '<') return left;
  Read();
  if (token_.Is('=')) {
    op[1] = '=';
    Read();
  } else if (op[0] == '!' || op[0] == '=') {
    throw Abandon{Outcome::kNever};
  }
  const ExpressionNode* right = LogicGroup();
  return Binary(NodeKind::kCompare, left, right, op);
}

const ExpressionNode* StatementBuilder::LogicGroup() {
  if (!token_.IsDelimiter('(')) {
    GiveBack();
    const ExpressionNode* node = Expression();
    Read();
    return node;
  }
  const Deeper deeper(*this);
  Read();
  const ExpressionNode* node = Or();
  if (!token_.Is(')')) throw Abandon{Outcome::kNever};
  Read();
  return node;
}

// Entered behind the "("; left with the read position behind the ")" or the line end in its place.
const RememberedCall* StatementBuilder::Call(std::string_view index_form) {
  if (index_form.empty() || index_form[0] != '@') throw Abandon{Outcome::kNotYet};
  const Deeper deeper(*this);
  RememberedCall& call = remembered_.NewCall();
  if (script_.FindKernelFunction(CString(index_form), &call.handler, nullptr, 0) == -1 || !call.handler) {
    throw Abandon{Outcome::kNever};
  }
  bool by_reference = false;
  for (;;) {
    Read();
    if (token_.number == EOL && token_.cls == DELIMITER) break;
    if (token_.cls != STRING && token_.Is(')')) break;
    if (token_.IsDelimiter('&')) {
      by_reference = true;
      continue;
    }
    Argument(call, by_reference);
    by_reference = false;
    Read();
    if ((token_.number == EOL && token_.cls == DELIMITER) || token_.Is(')')) break;
    if (!token_.Is(',')) throw Abandon{Outcome::kNever};
  }
  call.behind = at_;
  return &call;
}

void StatementBuilder::Argument(RememberedCall& call, bool by_reference) {
  RememberedArgument argument{};
  char name[kArgumentNameSize];
  FormatArgumentName(name, static_cast<int>(call.arguments.size()));
  argument.slot = SlotOf(name);
  if (token_.cls == STRING) {
    argument.kind = RememberedArgument::Kind::kLiteral;
    argument.text = token_.text.substr(0, token_.text.find('\0'));
  } else if (by_reference) {
    argument.kind = RememberedArgument::Kind::kReference;
    argument.source = SlotOf(token_.text);
  } else {
    argument.kind = RememberedArgument::Kind::kExpression;
    GiveBack();
    argument.expression = Expression();
    argument.kind = KindOf(*argument.expression);
    argument.number = argument.expression->number;
    argument.source = argument.expression->slot;
  }
  argument.position = at_;
  call.arguments.push_back(argument);
}

}  // namespace karst

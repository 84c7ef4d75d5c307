// Reader: expressions and conditions: what they come to, and what is wrong with them.
#include "cli/check/reader.h"

#include <algorithm>
#include <string>

#include "values/name.h"

namespace karst::cli::check {

void Reader::SetPiece(size_t begin, size_t end) {
  at_ = begin;
  end_ = std::min(end, tokens_.size() - 1);
  behind_ = tokens_[end_];
  behind_.cls = DELIMITER;
  behind_.number = FINISHED;
  behind_.text = {};
}

const Token& Reader::Read() {
  token_ = &Peek();
  if (at_ < end_) ++at_;
  return *token_;
}

void Reader::GiveBack() {
  if (token_ != &behind_) --at_;
}

void Reader::Report(Rule rule, const Token& token, std::initializer_list<std::string_view> arguments) {
  Report(rule, RuleOf(rule).severity, token, arguments);
}

void Reader::Report(Rule rule, Severity severity, const Token& token,
                    std::initializer_list<std::string_view> arguments) {
  findings_.Add(rule, reachable_ ? severity : std::min(severity, Severity::kWarning), token.offset, arguments);
}

void Reader::Fail(Rule rule, const Token& token, std::initializer_list<std::string_view> arguments) {
  Report(rule, token, arguments);
  throw Abandoned{};
}

void Reader::RefuseReserved(const Token& name) {
  const bool is_word = name.cls == COMMAND && !name.Is('{') && !name.Is('}');
  if (is_word) Fail(Rule::kReservedName, name, {name.text});
}

Type Reader::Expression() {
  Type type = Type::kUnknown;
  Grammar::Expression(type);
  return type;
}

void Reader::Condition() {
  Type type = Type::kUnknown;
  Grammar::Condition(type);
}

void Reader::Refuse(GrammarFault fault, const Token* place) {
  switch (fault) {
    case GrammarFault::kOpenGroup:
    case GrammarFault::kOpenCondition: Fail(Rule::kOpenParenthesis, *place);
    case GrammarFault::kHalfOr: Fail(Rule::kLogicOperator, *place, {"||"});
    case GrammarFault::kHalfAnd: Fail(Rule::kLogicOperator, *place, {"&&"});
    case GrammarFault::kHalfComparison: Fail(Rule::kLogicOperator, *place, {place->Is('!') ? "!=" : "=="});
    case GrammarFault::kNoComma: Fail(Rule::kNoComma, *place);
    case GrammarFault::kTooDeep: Fail(Rule::kTooDeep, *place, {std::to_string(kMostNesting)});
    case GrammarFault::kNoOperand: RefuseReserved(*place); break;
    default: break;
  }
  Fail(Rule::kBadExpression, *place);
}

void Reader::NumberOperand(Type& type) const {
  constexpr std::string_view kGreatestInt = "2147483647";
  const std::string_view digits = token_->text.substr(0, token_->text.find_first_not_of("0123456789"));
  const std::string_view counting = digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
  const bool wide =
      counting.size() > kGreatestInt.size() || (counting.size() == kGreatestInt.size() && counting > kGreatestInt);
  type = wide ? Type::kInt64 : Type::kInt;
}

void Reader::Call(const Token* name, Type& result) {
  ReadCall(*name);
  result = Type::kInt;
}

void Reader::Sign(char, const Token* place, Type& type) {
  if (type != Type::kText) return;
  Report(Rule::kTextOperator, *place, {place->text});
  type = Type::kUnknown;
}

void Reader::Operate(char op, const Token* place, Type& left, Type right) {
  if (op == '/' || op == '%') LookForZero(*place);
  const Type type = op == '+' ? Added(*place, left, right) : Combined(*place, left, right);
  const bool keeps_left = op == '^' && type != Type::kUnknown;
  if (!keeps_left) left = type;
}

// A zero that is all of the right operand.
void Reader::LookForZero(const Token& op) {
  const size_t right = IndexOf(op) + 1;
  const Token& token = tokens_[right];
  const bool is_zero = token.cls == NUMBER && token.text.find_first_not_of('0') == std::string_view::npos;
  if (is_zero && right + 1 == IndexOf(*token_)) Report(Rule::kDivisionByZero, token);
}

Type Reader::Added(const Token& op, Type left, Type right) {
  if (left == Type::kText) {
    if (right == Type::kInt64) Report(Rule::kDifferentTypes, op, {"+", NameOf(left), NameOf(right)});
    return left;
  }
  if (left == Type::kInt && right == Type::kText) return left;
  if (left == Type::kInt) return right;
  return left;
}

Type Reader::Combined(const Token& op, Type left, Type right) {
  if (left == Type::kText || right == Type::kText) Report(Rule::kTextOperator, op, {op.text});
  if (left == Type::kText || right == Type::kText) return Type::kUnknown;
  if (left == Type::kInt64 || right == Type::kInt64) return Type::kInt64;
  return left == Type::kUnknown || right == Type::kUnknown ? Type::kUnknown : Type::kInt;
}

void Reader::Compare(std::string_view op, const Token* place, Type& left, Type right) {
  const bool known = left != Type::kUnknown && right != Type::kUnknown;
  if (known && left != right) Report(Rule::kDifferentTypes, *place, {op, NameOf(left), NameOf(right)});
  if (left == Type::kText) left = Type::kInt;
}

// What cannot be told for certain is passed over in silence.
Type Reader::TypeOfVariable(const Token& name) {
  if (const auto type = names_.Find(name.text)) {
    return lenient_ && names_.DeclaredSomewhere(SignificantName(name.text)) && names_.CommonType(name.text) != *type
               ? Type::kUnknown
               : *type;
  }
  if (static_cast<unsigned char>(name.text[0]) >= 0x80) return Type::kUnknown;  // told where it was read
  const std::string_view key = SignificantName(name.text);
  const bool elsewhere = names_.DeclaredSomewhere(key);
  if (names_.AskedFor(key) || (elsewhere && (lenient_ || uncertain_))) return Type::kUnknown;
  if (told_names_.insert(key).second) {
    const Rule rule = elsewhere ? Rule::kOutOfScope : IsEnvironmentVariable(key) ? Rule::kNotHere : Rule::kUndeclared;
    Report(rule, name, {name.text});
  }
  return Type::kUnknown;
}

}  // namespace karst::cli::check

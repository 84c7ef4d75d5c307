// Reader: expressions and conditions, in the levels of the engine's own evaluation.
#include "cli/check/reader.h"

#include <algorithm>

namespace karst::cli::check {
namespace {

constexpr int kMostNesting = 400;  // as in the engine

bool IsZero(const Token& token) {
  return token.cls == NUMBER && token.text.find_first_not_of('0') == std::string_view::npos;
}

}  // namespace

class Reader::Deeper {
 public:
  explicit Deeper(Reader& reader) : reader_(reader) {
    if (reader_.nesting_ >= kMostNesting) reader_.Fail(Rule::kTooDeep, reader_.Current(), {"400"});
    ++reader_.nesting_;
  }
  Deeper(const Deeper&) = delete;
  Deeper& operator=(const Deeper&) = delete;
  ~Deeper() { --reader_.nesting_; }

 private:
  Reader& reader_;
};

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
  Read();
  if (token_->text.empty() && token_->cls != STRING) Fail(Rule::kBadExpression, *token_);
  const Type type = Sum();
  GiveBack();
  return type;
}

Type Reader::Sum() {
  Type left = Product();
  while (token_->Is('+') || token_->Is('-')) {
    const Token& op = *token_;
    Read();
    const Type right = Product();
    left = op.Is('+') ? Added(op, left, right) : Combined(op, left, right);
  }
  return left;
}

Type Reader::Product() {
  Type left = Power();
  while (token_->Is('*') || token_->Is('/') || token_->Is('%')) {
    const Token& op = *token_;
    const Token& right_token = Read();
    const Type right = Power();
    const bool zero_alone = IsZero(right_token) && IndexOf(right_token) + 1 == IndexOf(*token_);
    if (!op.Is('*') && zero_alone) Report(Rule::kDivisionByZero, right_token);
    left = Combined(op, left, right);
  }
  return left;
}

Type Reader::Power() {
  const Type left = Signed();
  if (!token_->Is('^')) return left;
  const Deeper deeper(*this);
  const Token& op = *token_;
  Read();
  const Type right = Power();
  return Combined(op, left, right) == Type::kUnknown ? Type::kUnknown : left;
}

Type Reader::Signed() {
  if (!token_->IsDelimiter('+') && !token_->IsDelimiter('-')) return Group();
  const Token& sign = *token_;
  Read();
  const Type type = Group();
  if (type != Type::kText) return type;
  Report(Rule::kTextOperator, sign, {sign.text});
  return Type::kUnknown;
}

Type Reader::Group() {
  if (!token_->IsDelimiter('(')) return Primitive();
  const Deeper deeper(*this);
  const Token& opening = *token_;
  Read();
  const Type type = Sum();
  if (!token_->Is(')')) Fail(Rule::kOpenParenthesis, opening);
  Read();
  return type;
}

Type Reader::Primitive() {
  Type type = Type::kInt;
  switch (token_->cls) {
    case VARIABLE: type = NameOrCall(); break;
    case NUMBER: {
      const std::string_view digits = token_->text.substr(0, token_->text.find_first_not_of("0123456789"));
      const std::string_view counting = digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
      constexpr std::string_view kGreatestInt = "2147483647";
      const bool wide =
          counting.size() > kGreatestInt.size() || (counting.size() == kGreatestInt.size() && counting > kGreatestInt);
      type = wide ? Type::kInt64 : Type::kInt;
      break;
    }
    case STRING: type = Type::kText; break;
    case CHARCONST: break;
    default: RefuseReserved(*token_); Fail(Rule::kBadExpression, *token_);
  }
  Read();
  return type;
}

Type Reader::NameOrCall() {
  const Token& name = *token_;
  Read();
  if (token_->Is('(')) {
    const Deeper deeper(*this);
    Call(name);
    return Type::kInt;
  }
  GiveBack();
  return TypeOfVariable(name);
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

void Reader::Condition() {
  Read();
  if (token_->text.empty()) Fail(Rule::kBadExpression, *token_);
  Or();
  GiveBack();
}

Type Reader::Or() {
  Type left = And();
  while (token_->Is('|')) {
    Read();
    if (!token_->Is('|')) Fail(Rule::kLogicOperator, *token_, {"||"});
    Read();
    And();
    left = Type::kInt;
  }
  return left;
}

Type Reader::And() {
  Type left = Not();
  while (token_->Is('&')) {
    Read();
    if (!token_->Is('&')) Fail(Rule::kLogicOperator, *token_, {"&&"});
    Read();
    Not();
    left = Type::kInt;
  }
  return left;
}

Type Reader::Not() {
  if (!token_->IsDelimiter('!')) return Compare();
  Read();
  if (token_->Is('=')) Fail(Rule::kBadExpression, *token_);
  const Type type = Compare();
  return type == Type::kText ? Type::kInt : type;
}

Type Reader::Compare() {
  const Type left = LogicGroup();
  const Token& op = *token_;
  if (!op.Is('=') && !op.Is('!') && !op.Is('>') && !op.Is('<')) return left;
  Read();
  const bool with_equals = token_->Is('=');
  if (!with_equals && (op.Is('!') || op.Is('='))) Fail(Rule::kLogicOperator, op, {op.Is('!') ? "!=" : "=="});
  if (with_equals) Read();
  const Type right = LogicGroup();
  const bool known = left != Type::kUnknown && right != Type::kUnknown;
  if (known && left != right) {
    const std::string text = std::string(op.text.substr(0, 1)) + (with_equals ? "=" : "");
    Report(Rule::kDifferentTypes, op, {text, NameOf(left), NameOf(right)});
  }
  return left == Type::kText ? Type::kInt : left;
}

Type Reader::LogicGroup() {
  if (!token_->IsDelimiter('(')) {
    GiveBack();
    const Type type = Expression();
    Read();
    return type;
  }
  const Deeper deeper(*this);
  const Token& opening = *token_;
  Read();
  const Type type = Or();
  if (!token_->Is(')')) Fail(Rule::kOpenParenthesis, opening);
  Read();
  return type;
}

// What cannot be told for certain is passed over in silence.
Type Reader::TypeOfVariable(const Token& name) {
  if (const auto type = names_.Find(name.text)) {
    return lenient_ && names_.DeclaredSomewhere(Significant(name.text)) && names_.CommonType(name.text) != *type
               ? Type::kUnknown
               : *type;
  }
  if (static_cast<unsigned char>(name.text[0]) >= 0x80) return Type::kUnknown;  // told where it was read
  const std::string_view key = Significant(name.text);
  const bool elsewhere = names_.DeclaredSomewhere(key);
  if (names_.AskedFor(key) || (elsewhere && (lenient_ || uncertain_))) return Type::kUnknown;
  if (told_names_.insert(key).second) {
    const Rule rule = elsewhere ? Rule::kOutOfScope : environment::Knows(key) ? Rule::kNotHere : Rule::kUndeclared;
    Report(rule, name, {name.text});
  }
  return Type::kUnknown;
}

}  // namespace karst::cli::check

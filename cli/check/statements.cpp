// Statements: the ones that name variables and call functions. The others are in flow.cpp.
#include "cli/check/statements.h"

#include <utility>

namespace karst::cli::check {

Statements::Statements(const TokenList& list, Names& names, Findings& findings)
    : tokens_(list.Tokens()), names_(names), reader_(list, names, findings) {
  MatchWords();
  SumTokens();
  for (const Label& label : list.Labels()) labels_.try_emplace(label.name, label.code);
}

void Statements::CheckPiece(size_t begin, size_t end, PieceKind kind) {
  reader_.SetPiece(begin, end);
  reader_.SetReachable(true);
  kind_ = kind;
  piece_begin_ = begin;
  piece_depth_ = names_.Depth();
  loops_.clear();
  loop_depths_.clear();
  part_.reset();
  then_ended_ = false;
  while (Step()) {
  }
  FinishPiece();
}

bool Statements::Step() {
  const Token& next = reader_.Peek();
  if (InPart() && part_->line != next.line) {
    then_ended_ = part_->is_then;
    part_.reset();
  }
  reader_.SetUncertain(has_goto_ || lost_order_ || !loops_.empty());
  const Token& token = reader_.Read();
  if (token.number == FINISHED) return false;
  if (token.number == EOL || token.IsDelimiter(';')) return true;
  try {
    Statement(token);
  } catch (const Reader::Abandoned&) {
    Recover();
  }
  return true;
}

void Statements::Statement(const Token& token) {
  const bool then_ended = std::exchange(then_ended_, false);
  if (token.number == kTokElse) then_ended_ = then_ended;
  if (token.cls == VARIABLE) return BeginsWithName(token);
  if (token.cls == COMMAND) return Word(token);
  if (token.cls == LABEL) return LabelAt(token);
  Dropped(token);
}

// After a fault: to the end of the line, with its braces.
void Statements::Recover() {
  if (reader_.Current().number == EOL) return reader_.GiveBack();
  while (!reader_.Peek().EndsLine()) {
    const Token& token = reader_.Read();
    if (token.IsCommand(kTokBegin)) BeginBlock(token);
    if (token.IsCommand(kTokEnd)) EndBlock(token);
  }
}

void Statements::BeginsWithName(const Token& name) {
  if (name.Is('`')) Refuse(StatementFault::kNoOperator, &name);
  reader_.NamedStatement(*this);
}

void Statements::Refuse(StatementFault fault, const Token* name) {
  if (fault != StatementFault::kNoRightName) reader_.Fail(Rule::kNoAssignment, *name, {name->text});
  reader_.RefuseReserved(reader_.Current());
  reader_.Fail(Rule::kBadDeclaration, reader_.Current(), {">>"});
}

void Statements::Assign(const Token* name, Type value, bool literal) {
  if (literal) behind_literal_ = reader_.Position();
  const Type variable = reader_.TypeOfVariable(*name);
  const bool known = value != Type::kUnknown && variable != Type::kUnknown;
  const bool widened = variable == Type::kInt64 && value == Type::kInt;
  if (known && value != variable && !widened) {
    reader_.Report(Rule::kWrongType, *name, {NameOf(variable), NameOf(value)});
  }
}

void Statements::WantText(const Token& variable, std::string_view op) {
  const Type type = reader_.TypeOfVariable(variable);
  if (type != Type::kText && type != Type::kUnknown) reader_.Report(Rule::kOnlyTexts, variable, {op});
}

void Statements::Append(const Token* name, const Token* op, Type value) {
  const Token& first = tokens_[reader_.IndexOf(*op) + 1];
  if (value != Type::kText && value != Type::kUnknown) reader_.Report(Rule::kOnlyTexts, first, {"<<"});
  WantText(*name, "<<");
}

void Statements::Prepend(const Token* name, const Token* right) {
  WantText(*right, ">>");
  WantText(*name, ">>");
}

// The rest of the line is not read; where the line end took the place of the parenthesis, it is the next line.
void Statements::CallStatement(const Token* name) {
  const bool closed = reader_.ReadCall(*name);
  PassLine(closed);
}

void Statements::PassLine(bool tell) {
  while (reader_.Peek().number != FINISHED) {
    const Token& token = reader_.Read();
    if (token.number == EOL) break;
    if (token.IsDelimiter(';') || !tell) continue;
    tell = false;
    const bool is_else = token.number == kTokElse && InPart();
    reader_.Report(is_else ? Rule::kElseBehind : Rule::kBehindCall, token, {token.text});
  }
}

void Statements::Declare(int word, const Token* name) {
  AddName(*name, TypeOfWord(word));
  reader_.GiveBack();
}

void Statements::DeclareValue(int word, const Token* name, Type value) {
  const Type type = TypeOfWord(word);
  const bool fits = value == Type::kUnknown || value == type || (type == Type::kInt64 && value == Type::kInt);
  if (!fits) reader_.Report(Rule::kWrongType, *name, {NameOf(type), NameOf(value)});
  AddName(*name, type);
}

// A name that was read counts as declared.
void Statements::RefuseDeclaration(StatementFault fault, int word, const Token* place) {
  const Type type = TypeOfWord(word);
  if (fault == StatementFault::kNoName) {
    reader_.RefuseReserved(reader_.Current());
    reader_.Fail(Rule::kBadDeclaration, *place, {NameOf(type)});
  }
  AddName(*place, type);
  if (fault == StatementFault::kNoLiteral) reader_.Fail(Rule::kTextStart, reader_.Current());
  reader_.Fail(Rule::kOpenDeclaration, *place);
}

void Statements::AddName(const Token& name, Type type) {
  const bool outermost = names_.Depth() == 0;
  if (outermost && !loops_.empty()) reader_.Report(Rule::kDeclaredInLoop, name, {name.text});
  if (InPart()) return names_.DeclarePerhaps(name.text, type);
  const bool certain = outermost && loops_.empty() && !has_goto_ && reader_.Reachable();
  if (names_.Declare(name.text, type, certain)) reader_.Report(Rule::kDeclaredTwice, name, {name.text});
}

void Statements::Dropped(const Token& token) {
  if (told_dropped_ == token.line) return;
  told_dropped_ = token.line;
  if (token.Is('+') && reader_.IndexOf(token) == behind_literal_) {
    return reader_.Report(Rule::kLiteralAlone, token, {token.text});
  }
  reader_.Report(Rule::kDropped, token, {token.cls == STRING ? std::string_view("\"...\"") : token.text});
}

}  // namespace karst::cli::check

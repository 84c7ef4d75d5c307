// StatementBuilder: statements. The expressions are in expression_builder.cpp.
#include "script/statement_builder.h"

#include "language/bytewalk.h"
#include "script/remembered_runner.h"
#include "script/script.h"
#include "values/name.h"

namespace karst {

StatementBuilder::Outcome StatementBuilder::Build(const char* position) {
  at_ = last_token_ = position;
  try {
    RememberedStatement built{};
    Dispatch(built);
    if (!built.next) built.next = at_;
    built.last_token = last_token_;
    built.position = position;
    built.run = RememberedRunner::HandlerOf(built);
    remembered_.Keep(position, built);
    return Outcome::kKept;
  } catch (const Abandon& abandon) {
    return abandon.outcome;
  }
}

// Reads one token as the text stands. Words that reading would still overwrite, the end of the code or piece, and
// refused tokens end the attempt.
void StatementBuilder::Read() {
  token_ = ScanToken(code_, at_, limit_);
  if (token_.fault != ScanFault::kNone || token_.number == FINISHED) throw Abandon{Outcome::kNotYet};
  const bool settled = token_.cls != COMMAND || token_.Is('`') || token_.Is('{') || token_.Is('}');
  if (!settled) throw Abandon{Outcome::kNotYet};
  at_ = token_.end;
  if (token_.start > last_token_) last_token_ = token_.start;
}

void StatementBuilder::PassBlankLines() {
  do Read();
  while (token_.number == EOL);
  GiveBack();
}

NameSlot* StatementBuilder::SlotOf(std::string_view name) { return &script_.Store().SlotOf(SignificantName(name)); }

// Tokens that the main loop drops are passed on the way to the statement.
void StatementBuilder::Dispatch(RememberedStatement& statement) {
  do {
    token_ = ScanToken(code_, at_, limit_);
    if (limit_ && token_.fault == ScanFault::kNone && token_.start >= limit_) return PieceEnd(statement);
    Read();
  } while (token_.cls != VARIABLE && !HasAction(token_.number));
  statement.word = token_.start;
  statement.behind_word = at_;
  statement_ = &statement;
  if (token_.cls == VARIABLE) {
    if (token_.Is('`')) throw Abandon{Outcome::kNever};
    NamedStatement(*this);
  } else {
    Word(statement);
  }
}

void StatementBuilder::PieceEnd(RememberedStatement& statement) {
  statement.kind = StatementKind::kPieceEnd;
  statement.piece_end = limit_;
  statement.next = at_ < limit_ ? token_.start : at_;  // nothing is read at the end itself, not even a blank
}

void StatementBuilder::Word(RememberedStatement& statement) {
  const auto plain = [&statement](StatementKind kind) { statement.kind = kind; };
  switch (token_.number) {
    case kTokIf: return If(statement);
    case kTokLoop: return Loop(statement);
    case kTokGoto: return Goto(statement);
    case kTokInt:
    case kTokInt64:
    case kTokString: return Declaration(token_.number, *this);
    case kTokElse: return plain(StatementKind::kElse);
    case kTokEndLoop: return plain(StatementKind::kEndLoop);
    case kTokBreak: return plain(StatementKind::kBreak);
    case kTokContinue: return plain(StatementKind::kContinue);
    case kTokBegin: return plain(StatementKind::kBegin);
    case kTokEnd: return plain(StatementKind::kEnd);
    default: throw Abandon{Outcome::kNever};
  }
}

void StatementBuilder::SetForm(StatementKind kind, std::string_view name, const ExpressionNode* value) {
  statement_->kind = kind;
  statement_->slot = SlotOf(name);
  statement_->expression = value;
  statement_->behind_value = at_;
}

void StatementBuilder::Assign(std::string_view name, const ExpressionNode* value, bool) {
  SetForm(StatementKind::kAssign, name, value);
}

void StatementBuilder::Append(std::string_view name, const char*, const ExpressionNode* value) {
  SetForm(StatementKind::kAppend, name, value);
}

void StatementBuilder::Prepend(std::string_view name, std::string_view right) {
  SetForm(StatementKind::kPrepend, name, nullptr);
  statement_->other = SlotOf(right);
}

void StatementBuilder::CallStatement(std::string_view name) {
  statement_->kind = StatementKind::kCall;
  statement_->call = ReadCall(name);
  // The rest of the line is not read; a piece that ends before its line feed would end the scan there.
  const char* line_feed = at_;
  if (FindLineFeed(code_, line_feed, nullptr) != LineEnd::kFound) throw Abandon{Outcome::kNever};
  if (line_feed > last_token_) last_token_ = line_feed;
  statement_->next = line_feed + 1;
}

void StatementBuilder::Declare(int word, std::string_view name) { DeclareValue(word, name, nullptr); }

void StatementBuilder::DeclareValue(int word, std::string_view name, const ExpressionNode* value) {
  const StatementKind number_kind = word == kTokInt ? StatementKind::kDeclareInt : StatementKind::kDeclareInt64;
  SetForm(word == kTokString ? StatementKind::kDeclareText : number_kind, name, value);
}

void StatementBuilder::DeclareLiteral(std::string_view name) {
  const ExpressionNode* literal = nullptr;
  LiteralOperand(literal);
  SetForm(StatementKind::kDeclareText, name, literal);
}

void StatementBuilder::If(RememberedStatement& statement) {
  statement.kind = StatementKind::kIf;
  statement.expression = ReadCondition();
  statement.behind_value = at_;
  PassBlankLines();
  Read();
  statement.opens_block = token_.IsCommand(kTokBegin);
  if (!statement.opens_block) GiveBack();
}

void StatementBuilder::Loop(RememberedStatement& statement) {
  statement.kind = StatementKind::kLoop;
  statement.expression = ReadCondition();
  statement.behind_value = at_;
}

// A target that reading may overwrite is looked for afresh each time.
void StatementBuilder::Goto(RememberedStatement& statement) {
  statement.kind = StatementKind::kGoto;
  Read();
  if (token_.cls != VARIABLE && token_.cls != NUMBER) throw Abandon{Outcome::kNever};
  const char* target = script_.FindLabel(CString(token_.text));
  if (!target) throw Abandon{Outcome::kNever};
  const char* from = at_;
  statement.frames_left = FramesBetween(from, target);
  statement.behind_value = at_;
  statement.next = target;
}

}  // namespace karst

// Statements: the ones that decide what runs: conditions, blocks, loops, jumps.
#include <algorithm>

#include "cli/base/ascii.h"
#include "cli/check/statements.h"
#include "cli/check/tree.h"

namespace karst::cli::check {
namespace {

constexpr size_t kNoMatch = static_cast<size_t>(-1);

}  // namespace

// Pairs braces with braces and loops with loops, over the whole text.
void Statements::MatchWords() {
  match_.assign(tokens_.size(), kNoMatch);
  std::vector<size_t> braces;
  std::vector<size_t> loops;
  const auto close = [this](std::vector<size_t>& open, size_t closing) {
    if (open.empty()) return;
    match_[open.back()] = closing;
    open.pop_back();
  };
  for (size_t i = 0; i < tokens_.size(); ++i) {
    if (tokens_[i].cls != COMMAND) continue;
    switch (tokens_[i].number) {
      case kTokBegin: braces.push_back(i); break;
      case kTokEnd: close(braces, i); break;
      case kTokLoop: loops.push_back(i); break;
      case kTokEndLoop:
        close(loops, i);
        last_endloop_ = i;
        break;
      case kTokGoto: has_goto_ = true; break;
      default: break;
    }
  }
}

void Statements::SumTokens() {
  int depth = 0;
  int functions = 0;
  for (const Token& token : tokens_) {
    brace_depth_.push_back(depth);
    functions_.push_back(functions);
    functions += token.text == "function";
    depth += token.IsCommand(kTokBegin) - token.IsCommand(kTokEnd);
  }
}

void Statements::Word(const Token& token) {
  switch (token.number) {
    case kTokInt:
    case kTokInt64:
    case kTokString: return reader_.Declaration(token.number, *this);
    case kTokIf: return If(token);
    case kTokElse: return Else(token);
    case kTokBegin: return BeginBlock(token);
    case kTokEnd: return EndBlock(token);
    case kTokLoop: return Loop(token);
    case kTokEndLoop: return EndLoop(token);
    case kTokBreak: return Break(token);
    case kTokContinue: return Continue(token);
    case kTokStop: return Stop(token);
    case kTokGoto: return Goto(token);
    case kTokStart:
    case kTokFinal:
      if (kind_ != PieceKind::kScript) return;
      break;
    default: break;
  }
  reader_.Report(Rule::kWordWithoutEffect, token, {token.text});
}

void Statements::If(const Token& word) {
  reader_.Condition();
  BeginPart(word, true);
}

void Statements::Else(const Token& word) {
  reader_.SetReachable(true);
  const bool on_then_line = InPart() && part_->is_then && part_->line == word.line;
  if (on_then_line || (then_ended_ && then_line_ == word.line)) {
    reader_.Report(Rule::kElseBehind, word);
  } else if (!then_ended_) {
    reader_.Report(Rule::kElseAlone, word);
  }
  then_ended_ = false;
  BeginPart(word, false);
}

// A part that stands inside another part without braces must end on that part's line.
void Statements::BeginPart(const Token& word, bool is_then) {
  while (reader_.Peek().number == EOL) reader_.Read();
  const Token& first = reader_.Peek();
  const bool is_block = first.IsCommand(kTokBegin);
  if (InPart() && part_->line == word.line) {
    const bool fits = first.line == word.line && (!is_block || ClosesOnLine(reader_.IndexOf(first), word.line));
    if (!fits) reader_.Report(Rule::kLongPart, word);
  }
  if (is_block) {
    reader_.Read();
    part_.reset();
    return names_.Open(is_then ? ScopeKind::kThen : ScopeKind::kElse, reader_.IndexOf(first));
  }
  part_ = Part{first.line, is_then};
}

bool Statements::ClosesOnLine(size_t opening, uint32_t line) const {
  return match_[opening] != kNoMatch && tokens_[match_[opening]].line == line;
}

void Statements::BeginBlock(const Token& brace) { names_.Open(ScopeKind::kPlain, reader_.IndexOf(brace)); }

void Statements::EndBlock(const Token& brace) {
  reader_.SetReachable(true);
  const ScopeKind kind = names_.InnermostKind();
  if (kind == ScopeKind::kOutermost || kind == ScopeKind::kFrame) {
    const bool certain = kind == ScopeKind::kOutermost && !lost_order_ && !has_goto_;
    reader_.SetReachable(certain);
    if (kind_ == PieceKind::kScript) reader_.Report(Rule::kExtraBrace, brace);
    return reader_.SetReachable(true);
  }
  names_.Close();
  piece_depth_ = std::min(piece_depth_, names_.Depth());
  then_ended_ = kind == ScopeKind::kThen;
  then_line_ = brace.line;
}

void Statements::Loop(const Token& word) {
  if (InPart() && !ClosesOnLine(reader_.IndexOf(word), part_->line)) reader_.Report(Rule::kLongPart, word);
  loops_.push_back(&word);
  loop_depths_.push_back(names_.Depth());
  reader_.SetUncertain(true);
  reader_.Condition();
}

bool Statements::ClosesInPiece(size_t opening) const {
  return match_[opening] != kNoMatch && match_[opening] < reader_.End();
}

void Statements::EndLoop(const Token& word) {
  reader_.SetReachable(true);
  if (loops_.empty()) {
    reader_.SetReachable(!lost_order_ && !has_goto_);
    reader_.Report(Rule::kExtraEndloop, word);
    return reader_.SetReachable(true);
  }
  loops_.pop_back();
  loop_depths_.pop_back();
}

void Statements::Break(const Token& word) {
  if (kind_ == PieceKind::kClosing) reader_.Report(Rule::kLeavesBlock, word, {word.text});
  if (kind_ == PieceKind::kScript && loops_.empty()) {
    if (last_endloop_ < reader_.Position()) return reader_.Report(Rule::kExtraEndloop, word);
    reader_.Report(Rule::kBreakOutside, word);
    lost_order_ = true;
  } else if (kind_ == PieceKind::kScript && names_.Depth() > loop_depths_.back()) {
    reader_.Report(Rule::kBreakInBlock, word);
    lost_order_ = true;
  }
  GoElsewhere();
}

void Statements::Continue(const Token& word) {
  if (kind_ == PieceKind::kScript) reader_.Report(Rule::kContinueInScript, word);
  const bool opened = kind_ == PieceKind::kHead && names_.Depth() > piece_depth_;
  if (opened || kind_ == PieceKind::kClosing) reader_.Report(Rule::kLeavesBlock, word, {word.text});
  GoElsewhere();
}

void Statements::Stop(const Token& word) {
  if (!reader_.Peek().EndsLine()) {
    reader_.Expression();
  } else {
    const bool opened = kind_ == PieceKind::kHead && names_.Depth() > piece_depth_;
    if (opened || kind_ == PieceKind::kClosing) reader_.Report(Rule::kLeavesBlock, word, {word.text});
  }
  GoElsewhere();
}

// What follows a jump that is always taken runs only where something leads there.
void Statements::GoElsewhere() {
  if (!InPart()) reader_.SetReachable(false);
}

void Statements::Goto(const Token& word) {
  const Token& target = reader_.Read();
  if (target.cls == LABEL) reader_.Fail(Rule::kGotoColon, target);
  if (target.EndsLine()) reader_.Fail(Rule::kNoLabel, word, {""});
  CheckTarget(word, target);
  GoElsewhere();
}

void Statements::CheckTarget(const Token& word, const Token& target) {
  const auto label = labels_.find(LoweredAscii(target.text));
  if (label == labels_.end()) return reader_.Report(Rule::kNoLabel, target, {target.text});
  if (target.cls == COMMAND) reader_.Report(Rule::kLabelReserved, target, {target.text});
  const size_t to = TokenAt(label->second);
  if (to < piece_begin_ || to > reader_.End()) return reader_.Report(Rule::kGotoAway, target, {target.text});
  const size_t from = to < reader_.Position() ? reader_.IndexOf(target) : reader_.Position();
  const auto [first, last] = std::minmax(from, to);
  if (functions_[last] > functions_[first]) reader_.Report(Rule::kGotoFunction, target);
  const int opened = brace_depth_[last] - brace_depth_[first];
  if (from < to ? opened > 0 : opened < 0) reader_.Report(Rule::kGotoInward, word);
}

// The first token that begins at that place of the code or behind it.
size_t Statements::TokenAt(size_t code) const {
  const auto found = std::lower_bound(tokens_.begin(), tokens_.end(), code,
                                      [](const Token& token, size_t place) { return token.code < place; });
  return static_cast<size_t>(std::min(found, tokens_.end() - 1) - tokens_.begin());
}

void Statements::LabelAt(const Token& label) {
  reader_.SetReachable(true);
  const std::string name = LoweredAscii(label.text.substr(1));
  if (!labels_seen_.insert(name).second) reader_.Report(Rule::kLabelTwice, label, {label.text.substr(1)});
}

// What is still open. A block that a condition may skip must close in its own piece; the braces of a filter's blocks
// close in later pieces.
void Statements::FinishPiece() {
  reader_.SetReachable(true);
  for (const Token* loop : loops_) {
    if (!ClosesInPiece(reader_.IndexOf(*loop))) reader_.Report(Rule::kOpenLoop, *loop);
  }
  if (kind_ == PieceKind::kScript) {
    while (names_.Depth() > 0) {
      const ScopeKind kind = names_.InnermostKind();
      const size_t token = names_.InnermostToken();
      names_.Close();
      if (match_[token] != kNoMatch) continue;
      reader_.SetReachable(kind != ScopeKind::kPlain);
      reader_.Report(Rule::kOpenBrace, tokens_[token]);
    }
    return;
  }
  const bool inside = names_.InnermostKind() == ScopeKind::kThen || names_.InnermostKind() == ScopeKind::kElse;
  const size_t token = names_.InnermostToken();
  if (inside && token >= piece_begin_ && !ClosesInPiece(token)) {
    reader_.Report(Rule::kOpenBrace, tokens_[token]);
  }
}

}  // namespace karst::cli::check

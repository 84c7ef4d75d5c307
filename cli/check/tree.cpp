// BlockTree: the building.
#include "cli/check/tree.h"

#include <climits>

namespace karst::cli::check {
namespace {

constexpr size_t kMostOpenBraces = 200;

// Depths below which a closing brace ends a scan.
constexpr int kEndsAtOwnBrace = 1;
constexpr int kEndsAtParentsBrace = 0;
constexpr int kEndsAtNoBrace = INT_MIN;

}  // namespace

bool IsBlockWord(int number) {
  switch (number) {
    case kTokRecord:
    case kTokField:
    case kTokGroup:
    case kTokSubField:
    case kTokCommon:
    case kTokChain: return true;
    default: return false;
  }
}

BlockTree::BlockTree(const TokenList& list, Findings& findings) : tokens_(list.Tokens()), findings_(findings) {
  Scan(AddBlock(kCellStart, 0), kEndsAtNoBrace);
  Build();
  if (!stopped_) TellOpenBraces();
}

const Token& BlockTree::Read() {
  const Token& token = tokens_[at_];
  if (token.number != FINISHED) ++at_;
  number_ = token.number;
  return token;
}

void BlockTree::Build() {
  bool ended = false;
  do {
    const Token& token = Read();
    if (token.number == kTokStop) return Stop();
    ended = Act(token);
  } while (!ended && number_ != FINISHED);
}

// A stop between blocks ends the building at once.
void BlockTree::Stop() {
  stopped_ = true;
  const Token& stop = tokens_[at_ - 1];
  const Token& value = tokens_[at_];
  const bool constant = value.cls == NUMBER && tokens_[at_ + 1].EndsLine();
  stop_has_code_ = !value.EndsLine() && !constant;
  while (!tokens_[at_].EndsLine()) ++at_;
  while (tokens_[at_].number == EOL) ++at_;
  if (tokens_[at_].number != FINISHED) findings_.Add(Rule::kBehindStop, stop.offset);
}

// True if that was the end.
bool BlockTree::Act(const Token& token) {
  switch (token.number) {
    case kTokRecord: ++record_count_; return Scan(AddBlock(kCellRecord, at_ - 1), kEndsAtOwnBrace), false;
    case kTokGroup: return Scan(AddBlock(kCellGroup, at_ - 1), kEndsAtOwnBrace), false;
    case kTokField: return NamedBlock(kCellField), false;
    case kTokSubField: return NamedBlock(kCellSubField), false;
    case kTokCommon: return NamedBlock(kCellCommon), false;
    case kTokChain: return Chain(), false;
    default: return Final(token);
  }
}

size_t BlockTree::AddBlock(CellType type, size_t word) {
  const size_t block = blocks_.size();
  blocks_.push_back({type, word, {}});
  current_ = block;
  const size_t parent = open_.empty() ? kNoCell : open_.back().block;
  blocks_[block].parent = parent;
  size_t& last = parent == kNoCell ? tail_ : blocks_[parent].last;
  if (last != kNoCell) blocks_[last].next = block;
  if (parent != kNoCell && last == kNoCell) blocks_[parent].first = block;
  last = block;
  return block;
}

std::string_view BlockTree::ReadName(size_t block) {
  const Token& word = tokens_[blocks_[block].word];
  const Token& name = Read();
  blocks_[block].has_name = name.cls == STRING;
  if (name.cls == STRING) return name.text.substr(0, name.text.find('\0'));
  Refuse(Rule::kBlockName, word.offset, {word.text});
  if (name.number != FINISHED) --at_;
  return {};
}

void BlockTree::NamedBlock(CellType type) {
  const size_t block = AddBlock(type, at_ - 1);
  blocks_[block].name = ReadName(block);
  if (type == kCellCommon && blocks_[block].name.size() > kLongestBlockName) {
    Refuse(Rule::kLongBlockName, tokens_[at_ - 1].offset, {"Common", blocks_[block].name});
  }
  Scan(block, kEndsAtOwnBrace);
}

void BlockTree::Chain() {
  const size_t block = AddBlock(kCellChain, at_ - 1);
  ++chain_count_;
  blocks_[block].name = ReadName(block);
  blocks_[block].begin = blocks_[block].end = at_;
  if (blocks_[block].name.size() > kLongestBlockName) {
    Refuse(Rule::kLongBlockName, tokens_[at_ - 1].offset, {"Chain", blocks_[block].name});
  }
}

// The code between blocks. `dropped` was read on the way here and belongs to no code.
bool BlockTree::Final(const Token& dropped) {
  TellDropped(dropped);
  while (tokens_[at_].number == EOL) ++at_;
  number_ = tokens_[at_].number;
  if (IsBlockWord(number_)) return false;
  Scan(AddBlock(kCellFinal, at_), kEndsAtParentsBrace);
  return number_ == FINISHED;
}

void BlockTree::TellDropped(const Token& dropped) {
  if (dropped.EndsLine() || dropped.IsDelimiter(';') || dropped.cls == LABEL) return;
  if (dropped.number == kTokStart || dropped.number == kTokFinal) return;
  if (dropped.number == kTokEnd) {
    Break(Rule::kLostBrace, dropped.offset);
  } else {
    findings_.Add(Rule::kLostWord, dropped.offset, {dropped.text});
  }
}

// To the next block word, or behind the brace that takes the depth below `end_depth`.
void BlockTree::Scan(size_t block, int end_depth) {
  blocks_[block].begin = at_;
  for (int depth = 0;;) {
    const Token& token = Read();
    if (token.number == FINISHED) break;
    if (token.cls != COMMAND) continue;
    if (token.number == kTokBegin) {
      open_.push_back({current_, at_ - 1});
      if (open_.size() == kMostOpenBraces + 1) Break(Rule::kTooDeep, token.offset, {"200"});
      ++depth;
    } else if (token.number == kTokEnd) {
      if (CloseBrace(at_ - 1) && --depth < end_depth) break;
    } else if (IsBlockWord(token.number)) {
      --at_;
      break;
    }
  }
  blocks_[block].end = at_;
}

// False for a brace that closes nothing.
bool BlockTree::CloseBrace(size_t token) {
  if (open_.empty()) {
    Break(Rule::kExtraBrace, tokens_[token].offset);
    return false;
  }
  const OpenBrace brace = open_.back();
  open_.pop_back();
  current_ = brace.block;
  const bool begins_line = token == 0 || tokens_[token - 1].line != tokens_[token].line;
  if (begins_line && misfit_ == kNoCell && tokens_[token].indent < tokens_[brace.token].indent) misfit_ = brace.token;
  return true;
}

// The brace that lacks its partner is most likely the one whose partner stands further left; otherwise the outermost.
void BlockTree::TellOpenBraces() {
  if (open_.empty()) return;
  if (broken_) return;
  const size_t token = misfit_ != kNoCell ? misfit_ : open_.front().token;
  Break(Rule::kOpenBrace, tokens_[token].offset);
}

void BlockTree::Break(Rule rule, size_t offset, std::initializer_list<std::string_view> arguments) {
  broken_ = true;
  Refuse(rule, offset, arguments);
}

void BlockTree::Refuse(Rule rule, size_t offset, std::initializer_list<std::string_view> arguments) {
  refused_ = true;
  findings_.Add(rule, offset, arguments);
}

}  // namespace karst::cli::check

// BlockTree: the building.
#include "cli/check/tree.h"

#include <string>

namespace karst::cli::check {

BlockTree::BlockTree(const TokenList& list, Findings& findings) : tokens_(list.Tokens()), findings_(findings) {
  ReadRoot();
  stopped_ = ReadBlocks() == BlocksEnd::kStopWord;
  stopped_ ? Stop() : TellOpenBraces();
}

void BlockTree::Read() {
  token_ = &tokens_[at_];
  if (token_->number != FINISHED) ++at_;
}

void BlockTree::GiveBack() {
  if (token_->number != FINISHED) --at_;
}

// A stop between blocks ends the building at once.
void BlockTree::Stop() {
  const Token& stop = tokens_[at_ - 1];
  const Token& value = tokens_[at_];
  const bool constant = value.cls == NUMBER && tokens_[at_ + 1].EndsLine();
  stop_has_code_ = !value.EndsLine() && !constant;
  while (!tokens_[at_].EndsLine()) ++at_;
  while (tokens_[at_].number == EOL) ++at_;
  if (tokens_[at_].number != FINISHED) findings_.Add(Rule::kBehindStop, stop.offset);
}

size_t BlockTree::Add(CellType type) {
  const size_t block = blocks_.size();
  const bool has_word = type != kCellStart && type != kCellFinal;
  blocks_.push_back({type, has_word ? at_ - 1 : at_, {}});
  current_ = block;
  const size_t parent = open_.empty() ? kNoCell : open_.back().block;
  blocks_[block].parent = parent;
  size_t& last = parent == kNoCell ? tail_ : blocks_[parent].last;
  if (last != kNoCell) blocks_[last].next = block;
  if (parent != kNoCell && last == kNoCell) blocks_[parent].first = block;
  last = block;
  if (type == kCellChain) ++chain_count_;
  return block;
}

void BlockTree::Name(size_t block) {
  Block& named = blocks_[block];
  named.has_name = true;
  named.name = token_->text.substr(0, token_->text.find('\0'));
  const bool is_pattern = named.type == kCellField || named.type == kCellSubField;
  if (is_pattern || named.name.size() <= kLongestBlockName) return;
  const std::string_view word = named.type == kCellCommon ? "Common" : "Chain";
  Refuse(Rule::kLongBlockName, token_->offset, {word, named.name});
}

void BlockTree::RefuseName(size_t block) {
  const Token& word = tokens_[blocks_[block].word];
  Refuse(Rule::kBlockName, word.offset, {word.text});
  GiveBack();
}

// Read on the way to the code between blocks, it belongs to no code.
void BlockTree::Dropped() {
  const Token& dropped = *token_;
  if (dropped.EndsLine() || dropped.IsDelimiter(';') || dropped.cls == LABEL) return;
  if (dropped.number == kTokStart || dropped.number == kTokFinal) return;
  if (dropped.number == kTokEnd) {
    Break(Rule::kLostBrace, dropped.offset);
  } else {
    findings_.Add(Rule::kLostWord, dropped.offset, {dropped.text});
  }
}

void BlockTree::OpenBrace() {
  open_.push_back({current_, at_ - 1});
  if (open_.size() == CCellStack::CELL_STACK_NEST + 1) {
    Break(Rule::kTooDeep, token_->offset, {std::to_string(CCellStack::CELL_STACK_NEST)});
  }
}

// False for a brace that closes nothing.
bool BlockTree::CloseBrace() {
  const size_t token = at_ - 1;
  if (open_.empty()) {
    Break(Rule::kExtraBrace, tokens_[token].offset);
    return false;
  }
  const Brace brace = open_.back();
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

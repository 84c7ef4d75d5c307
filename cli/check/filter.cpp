// FilterWalk: the blocks of a filter as a run goes through them.
#include "cli/check/filter.h"

#include <algorithm>
#include <string>

namespace karst::cli::check {

FilterWalk::FilterWalk(const TokenList& list, const BlockTree& tree, Findings& findings)
    : list_(list),
      tree_(tree),
      findings_(findings),
      names_(list.Tokens()),
      statements_(list, names_, findings),
      ran_(tree.Blocks().size()),
      chains_(tree.Blocks().size()),
      called_(tree.Blocks().size()) {
  std::vector<bool> inside_common(tree.Blocks().size());
  for (size_t block = 0; block < tree.Blocks().size(); ++block) {
    const size_t parent = tree.At(block).parent;  // has a lower number
    inside_common[block] = parent != kNoCell && (tree.IsType(parent, kCellCommon) || inside_common[parent]);
    if (!tree.IsType(block, kCellCommon)) continue;
    commons_.push_back(block);
    if (!inside_common[block]) last_common_[tree.At(block).name] = block;
  }
  // Those that hosts make.
  for (const std::string_view name : {"soutput", "HyperFn"}) names_.Declare(name, Type::kText, false);
}

void FilterWalk::Run() {
  tree_.OldStyle() ? OldStyle() : TopLevel();
  CommonBlocks();
  FindCycles();
  TellWhatNeverRan();
}

void FilterWalk::TopLevel() {
  bool records_done = false;
  for (size_t block = tree_.Head(); block != kNoCell; block = tree_.At(block).next) {
    if (tree_.IsType(block, kCellStart) || tree_.IsType(block, kCellFinal)) {
      Piece(block, PieceKind::kPlain);
    } else if (tree_.IsType(block, kCellRecord) && !records_done) {
      records_done = true;
      for (size_t r = block; tree_.IsType(r, kCellRecord); r = tree_.At(r).next) RecordBlock(r);
    }
  }
}

void FilterWalk::OldStyle() {
  WithFrame(EnvironmentLevel::kRecord, [this] {
    Piece(tree_.Head(), PieceKind::kPlain);
    const size_t fields = tree_.At(tree_.Head()).next;
    if (tree_.IsType(fields, kCellField)) WithFrame(EnvironmentLevel::kMiddle, [&] { FieldRun(fields); });
    if (tree_.Tail() != tree_.Head()) Piece(tree_.Tail(), PieceKind::kPlain);
  });
}

// The frame is closed with everything that was opened in it.
template <typename Content>
void FilterWalk::WithFrame(EnvironmentLevel level, Content content) {
  const size_t depth = names_.Depth();
  names_.Open(VariablesOf(level));
  content();
  while (names_.Depth() > depth) names_.Close();
}

void FilterWalk::RecordBlock(size_t block) {
  WithFrame(EnvironmentLevel::kRecord, [&] {
    Head(block);
    const size_t first = tree_.At(block).first;
    if (first != kNoCell && !tree_.IsType(first, kCellField)) {
      findings_.Add(Rule::kNoField, WordOf(first).offset);
      ran_[first] = true;  // enough is told
    }
    if (tree_.IsType(first, kCellField)) WithFrame(EnvironmentLevel::kMiddle, [&] { FieldRun(first); });
    Closing(block);
  });
}

// Gives the block behind the run, as the other runs do.
size_t FilterWalk::FieldRun(size_t first) {
  for (; tree_.IsType(first, kCellField); first = tree_.At(first).next) FieldBlock(first);
  return first;
}

void FilterWalk::FieldBlock(size_t block) {
  CheckPattern(block, "Field");
  WithFrame(EnvironmentLevel::kField, [&] {
    Head(block);
    if (tree_.At(block).name.substr(0, 3) != "hdr") Inner(block);
    Closing(block);
  });
}

void FilterWalk::Inner(size_t block) {
  const size_t first = tree_.At(block).first;
  if (first == kNoCell) return;
  switch (tree_.At(first).type) {
    case kCellSubField: SubFieldRun(first); break;
    case kCellField: WithFrame(EnvironmentLevel::kMiddle, [&] { FieldRun(first); }); break;
    case kCellGroup:
      if (tree_.IsType(block, kCellField)) GroupBlock(first);
      break;
    case kCellChain: ChainRun(first, !tree_.IsType(block, kCellField)); break;
    default: break;
  }
}

size_t FilterWalk::SubFieldRun(size_t first) {
  for (; tree_.IsType(first, kCellSubField); first = tree_.At(first).next) {
    CheckPattern(first, "SubField");
    WithFrame(EnvironmentLevel::kSubField, [&] { Piece(first, PieceKind::kPlain); });
  }
  return first;
}

void FilterWalk::GroupBlock(size_t block) {
  WithFrame(EnvironmentLevel::kGroup, [&] {
    Head(block);
    if (tree_.IsType(tree_.At(block).first, kCellSubField)) SubFieldRun(tree_.At(block).first);
    Closing(block);
  });
}

size_t FilterWalk::ChainRun(size_t first, bool one_only) {
  for (; tree_.IsType(first, kCellChain); first = tree_.At(first).next) {
    ran_[first] = true;
    const size_t common = FindCommon(tree_.At(first).name);
    if (common != kNoCell) called_[common] = true;
    if (collected_ && common != kNoCell) collected_->push_back(first);
    if (one_only) return tree_.At(first).next;
  }
  return first;
}

// Each Common once, whoever calls it: what its callers declare counts as declared.
void FilterWalk::CommonBlocks() {
  statements_.SetLenient(true);
  for (const size_t common : commons_) {
    collected_ = &chains_[common];
    WithFrame(EnvironmentLevel::kRecord, [&] {
      WithFrame(EnvironmentLevel::kMiddle, [&] { WithFrame(EnvironmentLevel::kField, [&] { CommonBlock(common); }); });
    });
  }
  collected_ = nullptr;
  statements_.SetLenient(false);
}

void FilterWalk::CommonBlock(size_t block) {
  Head(block);
  Inner(block);
  Closing(block);
}

void FilterWalk::Head(size_t block) {
  Piece(block, tree_.At(block).first == kNoCell ? PieceKind::kPlain : PieceKind::kHead);
}

void FilterWalk::Closing(size_t block) {
  if (tree_.IsType(tree_.At(block).last, kCellFinal)) Piece(tree_.At(block).last, PieceKind::kClosing);
}

void FilterWalk::Piece(size_t block, PieceKind kind) {
  ran_[block] = true;
  statements_.CheckPiece(tree_.At(block).begin, tree_.At(block).end, kind);
}

void FilterWalk::CheckPattern(size_t block, std::string_view word) {
  constexpr size_t kCompared = 3;
  const std::string_view name = tree_.At(block).name;
  const bool nothing = tree_.IsType(block, kCellField) ? name.size() < kCompared : name.empty();
  const bool told = !tree_.At(block).has_name;
  if (nothing && !told) findings_.Add(Rule::kMatchesNothing, WordOf(block).offset, {word, name});
  if (name.size() > kCompared) findings_.Add(Rule::kPatternCut, WordOf(block).offset, {word, name});
}

// The blocks that the walk did not come to; of blocks inside one another, the outermost.
void FilterWalk::TellWhatNeverRan() {
  for (const size_t common : commons_) {
    const std::string_view name = tree_.At(common).name;
    if (FindCommon(name) != common) {
      findings_.Add(Rule::kCommonTwice, WordOf(common).offset, {name});
    } else if (!called_[common]) {
      findings_.Add(Rule::kCommonUnused, WordOf(common).offset, {name});
    }
  }
  for (size_t block = 0; block < ran_.size(); ++block) {
    const Block& cell = tree_.At(block);
    if (cell.type == kCellChain && FindCommon(cell.name) == kNoCell && cell.has_name &&
        cell.name.size() <= kLongestBlockName) {
      findings_.Add(Rule::kNoCommon, WordOf(block).offset, {cell.name});
    }
    if (ran_[block] || (cell.parent != kNoCell && !ran_[cell.parent])) continue;
    if (cell.type != kCellFinal) {
      const std::string shown =
          std::string(WordOf(block).text) + (cell.has_name ? " \"" + std::string(cell.name) + "\"" : "");
      findings_.Add(Rule::kNeverRuns, WordOf(block).offset, {shown});
    } else if (HasCode(block)) {
      findings_.Add(Rule::kCodeNeverRuns, WordOf(block).offset);
    }
  }
}

bool FilterWalk::HasCode(size_t block) const {
  const auto& tokens = list_.Tokens();
  const auto begin = tokens.begin() + static_cast<ptrdiff_t>(tree_.At(block).begin);
  const auto end = tokens.begin() + static_cast<ptrdiff_t>(tree_.At(block).end);
  return std::any_of(begin, end, [](const Token& token) {
    return !token.EndsLine() && !token.IsDelimiter(';') && token.number != kTokEnd && token.number != kTokFinal;
  });
}

// The last one of the file, but none inside another Common.
size_t FilterWalk::FindCommon(std::string_view name) const {
  const auto found = last_common_.find(name);
  return found == last_common_.end() ? kNoCell : found->second;
}

void FilterWalk::FindCycles() {
  std::vector<int> state(ran_.size());
  for (const size_t common : commons_) {
    if (state[common] == 0) LookForCycle(common, state);
  }
}

// Depth first, with a stack of its own: Commons may lead from one to the next many times.
void FilterWalk::LookForCycle(size_t common, std::vector<int>& state) {
  constexpr int kOpen = 1;
  constexpr int kDone = 2;
  struct Step {
    size_t common;
    size_t next;
  };
  std::vector<Step> path{{common, 0}};
  state[common] = kOpen;
  while (!path.empty()) {
    Step& step = path.back();
    if (step.next == chains_[step.common].size()) {
      state[step.common] = kDone;
      path.pop_back();
      continue;
    }
    const size_t chain = chains_[step.common][step.next++];
    const size_t target = FindCommon(tree_.At(chain).name);
    if (state[target] == kOpen) findings_.Add(Rule::kChainCycle, WordOf(chain).offset, {tree_.At(chain).name});
    if (state[target] != 0) continue;
    state[target] = kOpen;
    path.push_back({target, 0});
  }
}

}  // namespace karst::cli::check

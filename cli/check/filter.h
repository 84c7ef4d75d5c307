// A filter as a whole: its blocks in the order in which they run, with the variables of each level; blocks that never
// run; Chains and Commons.
#pragma once

#include <string_view>
#include <unordered_map>
#include <vector>

#include "cli/check/statements.h"
#include "cli/check/tree.h"

namespace karst::cli::check {

class FilterWalk {
 public:
  FilterWalk(const TokenList& list, const BlockTree& tree, Findings& findings);

  void Run();

 private:
  void TopLevel();
  void OldStyle();
  void RecordBlock(size_t block);
  size_t FieldRun(size_t first);
  void FieldBlock(size_t block);
  void Inner(size_t block);
  size_t SubFieldRun(size_t first);
  void GroupBlock(size_t block);
  size_t ChainRun(size_t first, bool one_only);
  void CommonBlocks();
  void CommonBlock(size_t block);
  void Closing(size_t block);
  void Piece(size_t block, PieceKind kind);
  void Head(size_t block);
  template <typename Content>
  void WithFrame(EnvironmentLevel level, Content content);

  void CheckPattern(size_t block, std::string_view word);
  void TellWhatNeverRan();
  bool HasCode(size_t block) const;
  size_t FindCommon(std::string_view name) const;
  void FindCycles();
  void LookForCycle(size_t common, std::vector<int>& state);
  const Token& WordOf(size_t block) const { return list_.Tokens()[tree_.At(block).word]; }

  const TokenList& list_;
  const BlockTree& tree_;
  Findings& findings_;
  Names names_;
  Statements statements_;
  std::vector<bool> ran_;
  std::vector<size_t> commons_;  // in the order of the file
  std::unordered_map<std::string_view, size_t> last_common_;
  std::vector<std::vector<size_t>> chains_;   // of each block that is a Common: the Chains that run in it
  std::vector<size_t>* collected_ = nullptr;  // where the Chains met on the way are kept
  std::vector<bool> called_;
};

}  // namespace karst::cli::check

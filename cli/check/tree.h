// The blocks of a filter, laid over its tokens, with findings on what the engine would refuse.
#pragma once

#include <string_view>
#include <vector>

#include "cli/check/lexer.h"
#include "marc/blocks.h"

namespace karst::cli::check {

inline constexpr size_t kNoCell = static_cast<size_t>(-1);

struct Block {
  CellType type;
  size_t word;            // the token that it begins with
  std::string_view name;  // its literal
  bool has_name = false;
  size_t begin = 0;  // its code: tokens from here
  size_t end = 0;    // up to here
  size_t parent = kNoCell;
  size_t next = kNoCell;
  size_t first = kNoCell;  // children
  size_t last = kNoCell;
};

class BlockTree : private BlockGrammar<BlockTree, size_t> {
 public:
  BlockTree(const TokenList& list, Findings& findings);

  const std::vector<Block>& Blocks() const { return blocks_; }
  const Block& At(size_t block) const { return blocks_[block]; }
  bool IsType(size_t block, CellType type) const { return block != kNoCell && blocks_[block].type == type; }
  // The first top-level block, which holds the code before all others.
  size_t Head() const { return 0; }
  size_t Tail() const { return tail_; }
  size_t Chains() const { return chain_count_; }
  // Without a Record block; a stop between blocks keeps the engine from finding that out.
  bool OldStyle() const { return RecordCount() == 0 && !stopped_; }
  // A stop between blocks has a value that only running code can tell.
  bool StopHasCode() const { return stop_has_code_; }
  // The engine would refuse to build the tree.
  bool Refused() const { return refused_; }
  // The braces do not pair, so that what stands in what is a guess.
  bool Broken() const { return broken_; }

 private:
  struct Brace {
    size_t block;
    size_t token;
  };

  // What the grammar asks for.
  friend BlockGrammar;
  void Read();
  void GiveBack();
  int Class() const { return token_->cls; }
  int Number() const { return token_->number; }
  size_t Add(CellType type);
  void Name(size_t block);
  void RefuseName(size_t block);
  void BeginPiece(size_t block) { blocks_[block].begin = at_; }
  void EndPiece(size_t block) { blocks_[block].end = at_; }
  void OpenBrace();
  bool CloseBrace();
  void Dropped();
  static bool IsInterrupted() { return false; }

  void Stop();
  void TellOpenBraces();
  void Break(Rule rule, size_t offset, std::initializer_list<std::string_view> arguments = {});
  void Refuse(Rule rule, size_t offset, std::initializer_list<std::string_view> arguments = {});

  const std::vector<Token>& tokens_;
  Findings& findings_;
  std::vector<Block> blocks_;
  std::vector<Brace> open_;
  size_t at_ = 0;
  const Token* token_ = nullptr;  // the one read last
  size_t current_ = kNoCell;
  size_t tail_ = kNoCell;
  size_t misfit_ = kNoCell;  // the first brace whose partner stands further left
  size_t chain_count_ = 0;
  bool stop_has_code_ = false;
  bool stopped_ = false;
  bool refused_ = false;
  bool broken_ = false;
};

}  // namespace karst::cli::check

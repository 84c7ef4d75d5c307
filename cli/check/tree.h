// The blocks of a filter, laid over its tokens in the same steps as the engine's own building.
#pragma once

#include <string_view>
#include <vector>

#include "cli/check/lexer.h"
#include "marc/cellstack.h"

namespace karst::cli::check {

inline constexpr size_t kNoCell = static_cast<size_t>(-1);
inline constexpr size_t kLongestBlockName = 5;  // of a Common, in bytes

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

class BlockTree {
 public:
  BlockTree(const TokenList& list, Findings& findings);

  const std::vector<Block>& Blocks() const { return blocks_; }
  const Block& At(size_t block) const { return blocks_[block]; }
  bool IsType(size_t block, CellType type) const { return block != kNoCell && blocks_[block].type == type; }
  // The first top-level block, which holds the code ahead of all others.
  size_t Head() const { return 0; }
  size_t Tail() const { return tail_; }
  size_t Chains() const { return chain_count_; }
  // Without a Record block; a stop between blocks keeps the engine from finding that out.
  bool OldStyle() const { return record_count_ == 0 && !stopped_; }
  // A stop between blocks has a value that only running code can tell.
  bool StopHasCode() const { return stop_has_code_; }
  // The engine would refuse to build the tree.
  bool Refused() const { return refused_; }
  // The braces do not pair, so that what stands in what is a guess.
  bool Broken() const { return broken_; }

 private:
  struct OpenBrace {
    size_t block;
    size_t token;
  };

  const Token& Read();
  void Build();
  void Stop();
  bool Act(const Token& token);
  size_t AddBlock(CellType type, size_t word);
  void NamedBlock(CellType type);
  void Chain();
  std::string_view ReadName(size_t block);
  bool Final(const Token& dropped);
  void Scan(size_t block, int end_depth);
  bool CloseBrace(size_t token);
  void TellDropped(const Token& dropped);
  void TellOpenBraces();
  void Break(Rule rule, size_t offset, std::initializer_list<std::string_view> arguments = {});
  void Refuse(Rule rule, size_t offset, std::initializer_list<std::string_view> arguments = {});

  const std::vector<Token>& tokens_;
  Findings& findings_;
  std::vector<Block> blocks_;
  std::vector<OpenBrace> open_;
  size_t at_ = 0;
  int number_ = 0;
  size_t current_ = kNoCell;
  size_t tail_ = kNoCell;
  size_t misfit_ = kNoCell;  // the first brace whose partner stands further left
  int record_count_ = 0;
  size_t chain_count_ = 0;
  bool stop_has_code_ = false;
  bool stopped_ = false;
  bool refused_ = false;
  bool broken_ = false;
};

bool IsBlockWord(int number);

}  // namespace karst::cli::check

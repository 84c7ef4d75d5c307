// BlockGrammar: how a filter's code falls into blocks, once for the tree that is run and for the checker's.
//
// The code is read once by its tokens. Each block's word, and each stretch of code between blocks, makes a cell, whose
// piece goes up to the next block word or to just after the brace that ends it.
#pragma once

#include <climits>
#include <cstddef>

#include "language/token_kinds.h"
#include "marc/cellstack.h"

namespace karst {

// LIMIT: the name of a Common, in bytes; a longer one is refused.
constexpr size_t kLongestBlockName = 5;

// The type of the cell that a block's word makes; kNoBlock for any other word.
constexpr CellType kNoBlock{};
constexpr CellType BlockTypeOf(int word) {
  switch (word) {
    case kTokRecord: return kCellRecord;
    case kTokField: return kCellField;
    case kTokGroup: return kCellGroup;
    case kTokSubField: return kCellSubField;
    case kTokCommon: return kCellCommon;
    case kTokChain: return kCellChain;
    default: return kNoBlock;
  }
}
constexpr bool IsBlockWord(int word) { return BlockTypeOf(word) != kNoBlock; }
// A literal follows the word: a pattern or a name.
constexpr bool HasBlockName(CellType type) {
  return type == kCellField || type == kCellSubField || type == kCellCommon || type == kCellChain;
}

// Depths, counted from the start of a piece, below which a closing brace ends it.
constexpr int kEndsAtOwnBrace = 1;
constexpr int kEndsAtParentsBrace = 0;
constexpr int kEndsAtNoBrace = INT_MIN;

// Where the reading of blocks came to its end.
enum class BlocksEnd { kEndOfCode, kStopWord, kInterrupted };

// Derive from it, as BlockGrammar<Tree, Cell>. Tree supplies:
//
//   the tokens  Read(), GiveBack(); of the token read last Class(), Number()
//   cells       Cell Add(CellType), a child of the cell in whose code the newest open brace stands;
//               Name(Cell), from the literal that was read; RefuseName(Cell), where none was;
//               BeginPiece(Cell), EndPiece(Cell), at the place where reading stands
//   braces      OpenBrace(), in the code of the newest cell; bool CloseBrace(), false for one that closes nothing
//   the rest    Dropped(), for the token read last, which stands in no cell's code; bool IsInterrupted()
template <typename Tree, typename Cell>
class BlockGrammar {
 public:
  // The code before all blocks.
  void ReadRoot() { ReadPiece(Self().Add(kCellStart), kEndsAtNoBrace); }

  // What follows, block by block.
  BlocksEnd ReadBlocks() {
    bool ended = false;
    do {
      if (Self().IsInterrupted()) return BlocksEnd::kInterrupted;
      Self().Read();
      if (Self().Number() == kTokStop) return BlocksEnd::kStopWord;
      const CellType type = BlockTypeOf(Self().Number());
      if (type == kCellRecord) ++record_count_;
      if (type == kNoBlock) {
        ended = ReadFinal();
      } else {
        ReadBlock(type);
      }
    } while (!ended && Self().Number() != FINISHED);
    return BlocksEnd::kEndOfCode;
  }
  int RecordCount() const { return record_count_; }

  // A block whose word was read last.
  void ReadBlock(CellType type) {
    const Cell cell = Self().Add(type);
    if (HasBlockName(type)) ReadName(cell);
    if (type != kCellChain) ReadPiece(cell, kEndsAtOwnBrace);
  }

  // The code between blocks. True if it went to the end of all code.
  bool ReadFinal() {
    Self().Dropped();
    do Self().Read();
    while (Self().Number() == EOL);
    Self().GiveBack();
    if (IsBlockWord(Self().Number())) return false;
    ReadPiece(Self().Add(kCellFinal), kEndsAtParentsBrace);
    return Self().Number() == FINISHED;
  }

  // To the next block word, or just after the closing brace that takes the depth below `end_depth`.
  void Skip(int end_depth) {
    for (int depth = 0;;) {
      Self().Read();
      if (Self().Number() == FINISHED) return;
      if (Self().Class() != COMMAND) continue;
      if (Self().Number() == kTokBegin) {
        Self().OpenBrace();
        ++depth;
      } else if (Self().Number() == kTokEnd) {
        if (Self().CloseBrace() && --depth < end_depth) return;
      } else if (IsBlockWord(Self().Number())) {
        return Self().GiveBack();
      }
    }
  }

 private:
  Tree& Self() { return static_cast<Tree&>(*this); }

  void ReadName(Cell cell) {
    Self().Read();
    if (Self().Class() != STRING) return Self().RefuseName(cell);
    Self().Name(cell);
  }

  void ReadPiece(Cell cell, int end_depth) {
    Self().BeginPiece(cell);
    Skip(end_depth);
    Self().EndPiece(cell);
  }

  int record_count_ = 0;
};

}  // namespace karst

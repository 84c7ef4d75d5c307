// CCell and CCellStack: the nodes of a filter tree, and the fixed stack that walks over them use.
#pragma once

#include <cstdint>

#include "export.h"
#include "runstate/runable.h"

namespace karst {

enum CellType : int32_t {
  kCellStart = 1,
  kCellFinal = 2,
  kCellField = 3,
  kCellSubField = 4,
  kCellCommon = 5,
  kCellChain = 6,
  kCellRoot = 7,  // never made
  kCellRecord = 8,
  kCellGroup = 9,
};

}  // namespace karst

// One node: a span of the code buffer, its piece, and its place in the tree. It owns neither.
class KARST_API CCell {
 public:
  CCell() = default;
  explicit CCell(int32_t nType) : nType(nType) {}
  virtual ~CCell() = default;

  int32_t nType = 0;
  char* lpCode = nullptr;  // first byte of the piece; null for none
  int32_t nCodeLen = 0;    // length of the piece
  int32_t nDupCount = 0;   // how often the cell has matched in the current repetition
  char szName[8] = {};     // tag pattern, subfield codes or block name
  CCell* pParent = nullptr;
  CCell* pPrev = nullptr;
  CCell* pNext = nullptr;
  CCell* pFirstChild = nullptr;  // in a Chain: the Common block that it calls
  CCell* pLastChild = nullptr;
};

class KARST_API CCellStack : public virtual CRunable {
 public:
  // LIMIT: a cell pushed deeper is refused by halt.
  static constexpr int CELL_STACK_NEST = 200;

  // 0; halts when the stack is full.
  int PushCell(CCell* cell);
  // Halts when the stack is empty.
  CCell* PopCell();
  // The newest cell, left where it is, or null.
  CCell* CurStackCell() const { return count_ > 0 ? cells_[count_ - 1] : nullptr; }
  void EmptyStack() { count_ = 0; }

 private:
  CCell* cells_[CELL_STACK_NEST] = {};
  int count_ = 0;
};

namespace karst {

inline bool IsCell(const CCell* cell, CellType type) { return cell && cell->nType == type; }

// The first child of a cell within its own subtree. A Chain is a leaf: what it points to hangs elsewhere.
inline CCell* FirstChildInTree(const CCell* cell) { return cell->nType == kCellChain ? nullptr : cell->pFirstChild; }

// The cell behind `cell` in a walk over a whole tree, parents before children; null at the end.
KARST_API CCell* NextInTree(const CCell* cell);

}  // namespace karst

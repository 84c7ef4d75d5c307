// CCellStack, and the order in which a tree is walked.
#include "marc/cellstack.h"

int CCellStack::PushCell(CCell* cell) {
  if (count_ == CELL_STACK_NEST) halt("PushCell Overflow ! CELL_STACK_NEST=%d", CELL_STACK_NEST);
  cells_[count_++] = cell;
  return 0;
}

CCell* CCellStack::PopCell() {
  if (count_ == 0) halt("PopCell Reach Bottom !");
  return cells_[--count_];
}

namespace karst {

CCell* NextInTree(const CCell* cell) {
  if (CCell* child = FirstChildInTree(cell)) return child;
  while (cell && !cell->pNext) cell = cell->pParent;
  return cell ? cell->pNext : nullptr;
}

}  // namespace karst

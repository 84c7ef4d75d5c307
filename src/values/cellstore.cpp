// CellStore: what is seldom done.
#include "values/cellstore.h"

#include <new>

namespace karst {

CellStore::~CellStore() {
  while (free_) {
    CVarCell* next = free_->shadowed_;
    delete free_;
    free_ = next;
  }
}

// As Take, with a new cell if none is free.
CVarCell* CellStore::TakeRenamed(NameSlot& slot) {
  if (!free_) {
    free_ = new (std::nothrow) CVarCell;
    if (!free_) return nullptr;
  }
  free_->name.Assign(slot.name);
  free_->slot_ = &slot;
  return Take(slot);
}

CVarCell* CellStore::AppendTaken(std::vector<CVarCell*>& cells, NameSlot& slot) {
  CVarCell* cell = Take(slot);
  if (cell) Append(cells, cell);
  return cell;
}

void CellStore::ShrinkText(CVarCell* cell) { cell->text_.EmptyAndShrink(kKeptTextCapacity); }

}  // namespace karst

// CellStore: what is seldom done.
#include "values/cellstore.h"

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
  if (!free_) free_ = new CVarCell;
  free_->name.Assign(slot.name);
  free_->slot_ = &slot;
  return Take(slot);
}

void CellStore::ShrinkText(CVarCell* cell) { cell->text_.EmptyAndShrink(kKeptTextCapacity); }

}  // namespace karst

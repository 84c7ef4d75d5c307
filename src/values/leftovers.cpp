// What runs leave in the variable table, and getting rid of it from between the host's cells.
#include <algorithm>

#include "values/cellstore.h"
#include "values/vararray.h"

namespace karst {

namespace {

// The position of a cell once the dropped ones are gone; -1 if it is one of them.
template <typename IsDropped>
int32_t PositionAfter(const std::vector<CVarCell*>& cells, int32_t position, IsDropped is_dropped) {
  const auto cell = cells.begin() + position;
  return is_dropped(*cell) ? -1 : position - static_cast<int32_t>(std::count_if(cells.begin(), cell, is_dropped));
}

}  // namespace

void CellStore::DropLeftovers(std::vector<CVarCell*>& cells, size_t end) {
  const auto is_leftover = [end](const CVarCell* cell) {
    return cell->made_by_run_ && static_cast<size_t>(cell->position_) < end;
  };
  for (size_t i = cells.size(); i-- > 0;) {
    CVarCell* cell = cells[i];
    if (cell->slot_) cell->slot_->newest = cell->shadowed_;
    if (cell->leixing != kFrameMark && cell->nDupPos >= 0)
      cell->nDupPos = PositionAfter(cells, cell->nDupPos, is_leftover);
  }
  size_t kept = 0;
  for (CVarCell* cell : cells) {
    if (is_leftover(cell)) {
      Give(cell);
    } else {
      Enter(cell, kept);
      cells[kept++] = cell;
    }
  }
  cells.resize(kept);
}

}  // namespace karst

void CVarArray::BeginRun() { store_->BeginRun(); }

void CVarArray::EndRun() { store_->EndRun(); }

void CVarArray::DropLeftovers(size_t end) {
  const int marks = CountFrameMarks();
  store_->DropLeftovers(m_Cells, end);
  m_nBeginCount -= marks - CountFrameMarks();
}

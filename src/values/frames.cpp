// CVarArray: opening and closing frames, and cutting the table back. What does so without memory and without a refusal
// is in CellStore.
#include <algorithm>

#include "values/cellstore.h"
#include "values/vararray.h"

using karst::CellStore;

int CVarArray::OpenFrame(int flag) {
  store_->AppendMark(m_Cells, flag);
  ++m_nBeginCount;
  return 0;
}

int CVarArray::ClearStackVars() {
  if (m_nBeginCount == 0) halt(" END比BEGIN多!!111");
  const CVarCell* mark = store_->FrameMarkSlot().newest;
  if (!mark) halt(" 变量表中BEGIN没有找到!!");
  const bool flagged = mark->nDupPos == 1;
  store_->CutBack(m_Cells, static_cast<size_t>(CellStore::PositionOf(mark)));
  --m_nBeginCount;
  return flagged ? 1 : 0;
}

void CVarArray::CloseFrames(int depth) {
  while (m_nBeginCount > depth) ClearStackVars();
}

int CVarArray::ClearSomeVars(int pos) {
  if (pos < 0 || static_cast<size_t>(pos) >= m_Cells.size()) return -1;
  store_->CutBack(m_Cells, static_cast<size_t>(pos));
  return 0;
}

int CVarArray::ClearVars() {
  store_->CutBack(m_Cells, 0);
  m_nBeginCount = 0;
  return 0;
}

int CVarArray::CountFrameMarks() const {
  return static_cast<int>(std::count_if(m_Cells.begin(), m_Cells.end(),
                                        [](const CVarCell* cell) { return cell->leixing == karst::kFrameMark; }));
}

// CellStore: what a variable table keeps beside its cells: a slot for each name with the newest cell of that name, and
// the cells that are free.
//
// Invariant: a slot's newest is the cell of that name at the highest position in the table, or null, and each cell's
// shadowed_ is the one of that name at the next lower position. So a search newest-first is one look, not a walk.
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "values/vararray.h"

namespace karst {

// Everything about one name. Slots stay where they are for the life of the table.
struct NameSlot {
  std::string name;
  int number;
  CVarCell* newest = nullptr;
};

class CellStore {
 public:
  CellStore() : frame_mark_(SlotOf("begin")) {}
  CellStore(const CellStore&) = delete;
  CellStore& operator=(const CellStore&) = delete;
  ~CellStore();

  // The name's slot; a name that was never seen gets a new one.
  NameSlot& SlotOf(std::string_view name) {
    if (NameSlot* known = FindSlot(name)) return *known;
    // Where memory runs out between two of these steps, a slot stays that nobody finds, and the numbers are right.
    NameSlot& slot = slots_.emplace_back(NameSlot{std::string(name), static_cast<int>(by_number_.size()), nullptr});
    by_number_.push_back(&slot);
    by_name_.emplace(slot.name, &slot);
    return slot;
  }
  NameSlot* FindSlot(std::string_view name) const {
    const auto found = by_name_.find(name);
    return found == by_name_.end() ? nullptr : found->second;
  }
  NameSlot& Slot(int number) { return *by_number_[static_cast<size_t>(number)]; }
  NameSlot& FrameMarkSlot() { return frame_mark_; }

  static int PositionOf(const CVarCell* cell) { return cell ? cell->position_ : -1; }

  // A cell of that name with no value yet. std::bad_alloc leaves the store as it was, here and below.
  CVarCell* Take(NameSlot& slot) {
    CVarCell* cell = free_;
    if (!cell || cell->slot_ != &slot) [[unlikely]]
      return TakeRenamed(slot);
    free_ = cell->shadowed_;
    ClearNumbers(cell);
    return cell;
  }
  // Takes a cell back. SPEED: its name and a small text's memory stay for the next taker.
  void Give(CVarCell* cell) { free_ = Freed(cell, free_); }

  void Append(std::vector<CVarCell*>& cells, CVarCell* cell) {
    NameSlot& slot = *cell->slot_;
    cell->shadowed_ = slot.newest;
    cell->position_ = static_cast<int32_t>(cells.size());
    cells.push_back(cell);
    slot.newest = cell;
  }
  // Take and Append in one, where that needs no memory and no other name; else null, with nothing done.
  CVarCell* AppendReady(std::vector<CVarCell*>& cells, NameSlot& slot) {
    CVarCell* cell = free_;
    if (!cell || cell->slot_ != &slot || cells.size() == cells.capacity()) [[unlikely]]
      return nullptr;
    cell->position_ = static_cast<int32_t>(cells.size());
    cells.push_back(cell);
    free_ = cell->shadowed_;
    cell->shadowed_ = slot.newest;
    slot.newest = cell;
    ClearNumbers(cell);
    return cell;
  }
  void CutBack(std::vector<CVarCell*>& cells, size_t size) {
    CVarCell* free = free_;
    const auto kept_end = cells.begin() + static_cast<ptrdiff_t>(size);
    for (auto place = cells.end(); place != kept_end;) {
      CVarCell* cell = *--place;
      if (cell->slot_) cell->slot_->newest = cell->shadowed_;
      free = Freed(cell, free);
    }
    free_ = free;
    cells.erase(kept_end, cells.end());
  }

  // The cells taken from BeginRun to EndRun are those of runs; the others are the host's.
  void BeginRun() { in_run_ = true; }
  void EndRun() { in_run_ = false; }
  // Drops the cells of runs that stand before `end`, and moves the other cells together.
  void DropLeftovers(std::vector<CVarCell*>& cells, size_t end);

  // A frame mark at the end of the table.
  void AppendMark(std::vector<CVarCell*>& cells, int flag) {
    // Room first: what is appended then cannot be lost on the way.
    if (cells.size() == cells.capacity()) cells.reserve(std::max<size_t>(cells.size() * 2, 16));
    CVarCell* mark = Take(frame_mark_);
    mark->leixing = kFrameMark;
    mark->nDupPos = flag;
    Append(cells, mark);
  }

  // SPEED: a frame, or the end of the newest one, where that needs no memory and calls nothing; else false, with
  // nothing done. `open` counts frames.
  bool OpenFrameQuickly(std::vector<CVarCell*>& cells, int32_t& open) {
    CVarCell* mark = AppendReady(cells, frame_mark_);
    if (!mark) return false;
    mark->leixing = kFrameMark;
    mark->nDupPos = 0;
    ++open;
    return true;
  }
  bool CloseEmptyFrame(std::vector<CVarCell*>& cells, int32_t& open) {
    CVarCell* mark = frame_mark_.newest;
    if (open <= 0 || !mark || cells.back() != mark) return false;
    cells.pop_back();
    frame_mark_.newest = mark->shadowed_;
    mark->leixing = kNoValue;
    mark->shadowed_ = free_;
    free_ = mark;
    --open;
    return true;
  }

  // The end of the newest frame and of all in it; false, with nothing done, if none is open.
  bool CloseFrame(std::vector<CVarCell*>& cells, int32_t& open) {
    const CVarCell* mark = frame_mark_.newest;
    if (open <= 0 || !mark) return false;
    CutBack(cells, static_cast<size_t>(mark->position_));
    --open;
    return true;
  }

  // The name's variable if it has that type and stands for no other; else null.
  static CVarCell* OwnVariable(const NameSlot& slot, ValueType type) {
    CVarCell* cell = slot.newest;
    return cell && cell->leixing == type && cell->nDupPos == -1 ? cell : nullptr;
  }

  // Without memory for the text the cell keeps the value that it has.
  static void SetText(CVarCell* cell, std::string_view text) {
    cell->text_.Assign(text);
    cell->leixing = kText;
    cell->string = &cell->text_;
  }
  static void SetText(CVarCell* cell, const CString& text) {
    cell->text_.Assign(text);
    cell->leixing = kText;
    cell->string = &cell->text_;
  }
  // The value of a variable; false for a cell that is none.
  static bool SetCopy(CVarCell* cell, const CVarCell& source) {
    switch (source.leixing) {
      case kInt: SetInt(cell, source.lVal); return true;
      case kInt64: SetInt64(cell, source.i64Val); return true;
      case kText: SetText(cell, *source.string); return true;
      case kWord:
        cell->leixing = kWord;
        cell->dwVal = source.dwVal;
        return true;
      default: return false;
    }
  }
  static void SetInt(CVarCell* cell, int32_t n) {
    cell->leixing = kInt;
    cell->lVal = n;
  }
  static void SetInt64(CVarCell* cell, int64_t n) {
    cell->leixing = kInt64;
    cell->i64Val = n;
  }

 private:
  static constexpr uint32_t kKeptTextCapacity = 4096;

  // The cell stands at that position from here on, as the newest of its name.
  static void Enter(CVarCell* cell, size_t position) {
    cell->position_ = static_cast<int32_t>(position);
    if (!cell->slot_) return;
    cell->shadowed_ = cell->slot_->newest;
    cell->slot_->newest = cell;
  }
  static CVarCell* Freed(CVarCell* cell, CVarCell* next) {
    if (cell->text_.Capacity() > kKeptTextCapacity) [[unlikely]]
      ShrinkText(cell);
    cell->string = nullptr;
    cell->leixing = kNoValue;
    cell->shadowed_ = next;
    return cell;
  }
  void ClearNumbers(CVarCell* cell) const {
    cell->made_by_run_ = in_run_;
    cell->nDupPos = -1;
    cell->lVal = 0;
    cell->i64Val = 0;
    cell->dwVal = 0;
  }
  CVarCell* TakeRenamed(NameSlot& slot);
  static void ShrinkText(CVarCell* cell);

  std::deque<NameSlot> slots_;
  std::unordered_map<std::string_view, NameSlot*> by_name_;
  std::vector<NameSlot*> by_number_;
  CVarCell* free_ = nullptr;  // linked by shadowed_
  NameSlot& frame_mark_;
  bool in_run_ = false;
};

}  // namespace karst

// CVarArray: the operations of the variable table.
#include "values/vararray.h"

#include <cstring>
#include <new>

#include "values/cellstore.h"

using karst::CellStore;
using karst::NameSlot;

namespace {

// A text of the table ends at its first NUL, as any reader of it would see.
std::string_view UpToNul(std::string_view text) {
  const void* nul = text.empty() ? nullptr : std::memchr(text.data(), 0, text.size());
  return nul ? text.substr(0, static_cast<size_t>(static_cast<const char*>(nul) - text.data())) : text;
}

std::string_view TextOf(const CValue& value) {
  return value.string ? std::string_view(value.string) : std::string_view();
}

// What an operation gives that a host calls by a name: -1 without memory. The operations that the engine itself uses
// let std::bad_alloc pass, which ends the run.
template <typename Operation>
int OrNoMemory(Operation operation) {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    return -1;
  }
}

// A cell on its way into the table. If something fails on that way, the store gets it back.
class CellToAppend {
 public:
  CellToAppend(CellStore& store, CVarCell* cell) : store_(store), cell_(cell) {}
  CellToAppend(const CellToAppend&) = delete;
  CellToAppend& operator=(const CellToAppend&) = delete;
  ~CellToAppend() {
    if (cell_) store_.Give(cell_);
  }
  CVarCell* Get() const { return cell_; }
  int AppendTo(std::vector<CVarCell*>& cells) {
    store_.Append(cells, cell_);
    cell_ = nullptr;
    return 0;
  }

 private:
  CellStore& store_;
  CVarCell* cell_;
};

}  // namespace

CVarArray::CVarArray() : store_(std::make_unique<CellStore>()) {}

CVarArray::~CVarArray() { ClearVars(); }

// Search.

int CVarArray::NameId(std::string_view name) { return store_->SlotOf(name).number; }

CVarCell* CVarArray::SearchVar(const char* name) {
  const NameSlot* slot = store_->FindSlot(name);
  return slot ? slot->newest : nullptr;
}

int CVarArray::SearchVarPos(const char* name) { return CellStore::PositionOf(SearchVar(name)); }

// Creation.

void CVarArray::CheckNameIsFree(const NameSlot& slot) {
  if (m_nBeginCount == 0 && slot.newest) [[unlikely]]
    halt(" 变量%s重复建立...", slot.name.c_str());
}

void CVarArray::RefuseCell() {
  DumpVars();
  halt("变量溢出");
}

CVarCell* CVarArray::NewCellFor(NameSlot& slot) {
  CheckNameIsFree(slot);
  if (m_Cells.size() >= static_cast<size_t>(kMostCells)) {
    RefuseCell();
  }
  return store_->Take(slot);
}

int CVarArray::MakeText(NameSlot& slot, std::string_view text) {
  CellToAppend taken(*store_, NewCellFor(slot));
  CVarCell* const cell = taken.Get();
  CellStore::SetText(cell, text);
  return taken.AppendTo(m_Cells);
}

int CVarArray::MakeInt(NameSlot& slot, int32_t n) {
  CellToAppend taken(*store_, NewCellFor(slot));
  CVarCell* const cell = taken.Get();
  CellStore::SetInt(cell, n);
  return taken.AppendTo(m_Cells);
}

int CVarArray::CreateTextById(int name_id, std::string_view text) { return MakeText(store_->Slot(name_id), text); }

int CVarArray::CreateIntById(int name_id, int32_t n) { return MakeInt(store_->Slot(name_id), n); }

int CVarArray::CreateBegin(int flag) {
  return OrNoMemory([&] { return OpenFrame(flag); });
}

int CVarArray::CreateNewVar(const char* name, const char* text) {
  return OrNoMemory([&] { return MakeText(store_->SlotOf(name), text ? std::string_view(text) : std::string_view()); });
}

int CVarArray::CreateNewVar(const char* name, int32_t n) {
  return OrNoMemory([&] { return MakeInt(store_->SlotOf(name), n); });
}

int CVarArray::CreateNewVar(const char* name, int64_t n) {
  return OrNoMemory([&] { return MakeValue(store_->SlotOf(name), CValue(n)); });
}

int CVarArray::CreateNewVar(const char* name, const CValue* value) {
  return OrNoMemory([&] { return MakeValue(store_->SlotOf(name), *value); });
}

int CVarArray::MakeValue(NameSlot& slot, const CValue& value) {
  CellToAppend taken(*store_, NewCellFor(slot));
  CVarCell* const cell = taken.Get();
  switch (value.leixing) {
    case karst::kInt: CellStore::SetInt(cell, value.lVal); break;
    case karst::kInt64: CellStore::SetInt64(cell, value.i64Val); break;
    case karst::kText: CellStore::SetText(cell, TextOf(value)); break;
    case karst::kWord:
      cell->leixing = karst::kWord;
      cell->dwVal = value.dwVal;
      break;
    default: halt(" CreateNewVar()变量类型错误 [%d]", value.leixing);
  }
  return taken.AppendTo(m_Cells);
}

int CVarArray::CreateNewVarDup(const char* name, const char* source) {
  return OrNoMemory([&] { return MakeDup(store_->SlotOf(name), store_->SlotOf(source)); });
}

int CVarArray::MakeDup(NameSlot& slot, const NameSlot& source) {
  CheckNameIsFree(slot);
  if (!source.newest) {
    DumpVars();
    halt("变量%s不存在", source.name.c_str());
  }
  CellToAppend taken(*store_, store_->Take(slot));
  CVarCell* const cell = taken.Get();
  if (!CellStore::SetCopy(cell, *source.newest)) {
    halt(" CreateNewVarDup leixing error [%d]", source.newest->leixing);
  }
  cell->nDupPos = CellStore::PositionOf(source.newest);
  return taken.AppendTo(m_Cells);
}

// Change by name.

CVarCell* CVarArray::ExistingVar(const NameSlot& slot) {
  if (!slot.newest) {
    DumpVars();
    halt(" 变量%s没找到...", slot.name.c_str());
  }
  return slot.newest;
}

int CVarArray::ChangeValue(const NameSlot& slot, const CValue& value) {
  CVarCell* cell = ExistingVar(slot);
  if (value.leixing < karst::kInt || value.leixing > karst::kText) {
    halt("ChangeVarValue() leixing error: Unknown leixing [%d]", value.leixing);
  }
  const bool widened = value.leixing == karst::kInt && cell->leixing == karst::kInt64;
  if (value.leixing != cell->leixing && !widened) {
    halt("赋值语句源和目的类型不同[%d][%d]...", value.leixing, cell->leixing);
  }
  switch (value.leixing) {
    case karst::kInt: return widened ? ChangeDupVars(cell, int64_t{value.lVal}) : ChangeDupVars(cell, value.lVal);
    case karst::kInt64: return ChangeDupVars(cell, value.i64Val);
    case karst::kText: return ChangeDupVars(cell, TextOf(value));
    default: return ChangeWord(cell, value.dwVal);
  }
}

int CVarArray::ChangeWord(CVarCell* cell, uint32_t word) {
  cell->dwVal = word;
  if (cell->nDupPos == -1) return 0;
  CVarCell* duplicated = m_Cells[static_cast<size_t>(cell->nDupPos)];
  if (duplicated->leixing != karst::kWord) {
    halt("ChangeVarValue() error : dup leixing error this[%d] duped[%d]", karst::kWord, duplicated->leixing);
  }
  duplicated->dwVal = word;
  return 0;
}

int CVarArray::ChangeTextById(int name_id, std::string_view text) {
  CVarCell* cell = ExistingVar(store_->Slot(name_id));
  if (cell->leixing != karst::kText) {
    halt("ChangeVarValue(LPSTR,LPSTR)源和目的类型不同[%d][%d]...", karst::kText, cell->leixing);
  }
  return ChangeDupVars(cell, text);
}

int CVarArray::ChangeIntById(int name_id, int32_t n) {
  CVarCell* cell = ExistingVar(store_->Slot(name_id));
  if (cell->leixing != karst::kInt) {
    halt("ChangeVarValue(LPSTR,int)源和目的类型不同[%d][%d]...", karst::kInt, cell->leixing);
  }
  return ChangeDupVars(cell, n);
}

int CVarArray::ChangeVarValue(const char* name, const CValue* value) {
  return OrNoMemory([&] { return ChangeValue(store_->SlotOf(name), *value); });
}

int CVarArray::ChangeVarValue(const char* name, const char* text) {
  return OrNoMemory([&] { return ChangeTextById(NameId(name), text ? std::string_view(text) : std::string_view()); });
}

int CVarArray::ChangeVarValue(const char* name, int32_t n) {
  return OrNoMemory([&] { return ChangeIntById(NameId(name), n); });
}

int CVarArray::ChangeVarValue(const char* name, int64_t n) {
  return OrNoMemory([&] { return ChangeInt64(store_->SlotOf(name), n); });
}

int CVarArray::ChangeInt64(const NameSlot& slot, int64_t n) {
  CVarCell* cell = ExistingVar(slot);
  if (cell->leixing != karst::kInt64) {
    halt("ChangeVarValue(LPSTR,int64)源和目的类型不同[%d][%d]...", karst::kInt64, cell->leixing);
  }
  return ChangeDupVars(cell, n);
}

// Change by cell.

int CVarArray::ReplaceInt(const CValue* value, CVarCell* cell) { return ReplaceInt(value->lVal, cell); }

int CVarArray::ReplaceInt(int32_t n, CVarCell* cell) {
  return cell->leixing == karst::kInt ? ChangeDupVars(cell, n) : -1;
}

int CVarArray::ReplaceInt64(int64_t n, CVarCell* cell) {
  return cell->leixing == karst::kInt64 ? ChangeDupVars(cell, n) : -1;
}

int CVarArray::ReplaceIntOr64(int64_t n, CVarCell* cell) {
  if (cell->leixing == karst::kInt) return ChangeDupVars(cell, static_cast<int32_t>(n));
  return ReplaceInt64(n, cell);
}

int CVarArray::ReplaceString(const char* text, CVarCell* cell) {
  if (cell->leixing != karst::kText) return -1;
  return ChangeDupVars(cell, text ? std::string_view(text) : std::string_view());
}

int CVarArray::ReplaceString(std::string_view text, CVarCell* cell) {
  return cell->leixing == karst::kText ? ChangeDupVars(cell, UpToNul(text)) : -1;
}

// Stores through a chain: `store` puts the value into one cell, `type` is the type that every cell must have.
template <typename StoreInto>
int CVarArray::ChangeChain(CVarCell* cell, int32_t type, StoreInto store) {
  store(cell);
  while (cell->nDupPos != -1) {
    cell = m_Cells[static_cast<size_t>(cell->nDupPos)];
    if (cell->leixing != type) {
      halt("ChangeDupVars() error : dup leixing error : this [%d] duped[%d]", type, cell->leixing);
    }
    store(cell);
  }
  return 0;
}

int CVarArray::ChangeDupVars(CVarCell* cell, int32_t n) {
  return ChangeChain(cell, karst::kInt, [n](CVarCell* target) { target->lVal = n; });
}

int CVarArray::ChangeDupVars(CVarCell* cell, int64_t n) {
  return ChangeChain(cell, karst::kInt64, [n](CVarCell* target) { target->i64Val = n; });
}

int CVarArray::ChangeDupVars(CVarCell* cell, const char* text) {
  return ChangeDupVars(cell, text ? std::string_view(text) : std::string_view());
}

int CVarArray::ChangeDupVars(CVarCell* cell, std::string_view text) {
  if (!cell->string) return -1;
  // The text may be the first cell's own and change with it: from there on the cell's copy is the source.
  CVarCell* const first = cell;
  return ChangeChain(cell, karst::kText, [text, first](CVarCell* target) {
    target->string->Assign(target == first ? text : first->string->view());
  });
}

int CVarArray::SafeSetVar(const char* name, const char* text) {
  return SearchVar(name) ? ChangeVarValue(name, text) : CreateNewVar(name, text);
}

int CVarArray::SafeSetVar(const char* name, int32_t n) {
  return SearchVar(name) ? ChangeVarValue(name, n) : CreateNewVar(name, n);
}

int CVarArray::SafeSetVar(const char* name, int64_t n) {
  return SearchVar(name) ? ChangeVarValue(name, n) : CreateNewVar(name, n);
}

int CVarArray::SafeSetVar(const char* name, const CValue* value) {
  return SearchVar(name) ? ChangeVarValue(name, value) : CreateNewVar(name, value);
}

int CVarArray::GetVarString(const char* name, CString& out) {
  const CVarCell* cell = SearchVar(name);
  if (!cell || cell->leixing != karst::kText) return -1;
  out = *cell->string;
  return 0;
}

int CVarArray::GetVarInt(const char* name, int& out) {
  const CVarCell* cell = SearchVar(name);
  if (!cell || cell->leixing != karst::kInt) return -1;
  out = cell->lVal;
  return 0;
}

CVarCell* CVarArray::NewVarCell() { return new (std::nothrow) CVarCell; }

int CVarArray::DeleteVarCell(CVarCell* cell) {
  delete cell;
  return 0;
}

int CVarArray::DumpVars() {
  eprintf("\r\n********** dump all vars ***********");
  for (int i = static_cast<int>(m_Cells.size()) - 1; i >= 0; --i) {
    const CVarCell* cell = m_Cells[static_cast<size_t>(i)];
    // The last column tells one string from another: the cell's position from 1, or 0 where there is none.
    eprintf("\r\n %d. [%s]\tleixing[%d]\tlVal[%d]\tstring[%d]", i, cell->name.c_str(), cell->leixing, cell->lVal,
            cell->string ? i + 1 : 0);
  }
  eprintf("\r\n************ dump end **************");
  return -1;
}

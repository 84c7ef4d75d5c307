// CVarArray: every variable of a running script in one ordered table. Scopes are frame marks in the table, and leaving
// a scope cuts the table back to its mark; a by-reference cell remembers the position of the cell that it shadows.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "runstate/runable.h"
#include "values/value.h"

namespace karst {
class CellStore;
struct NameSlot;
}  // namespace karst

// One variable.
class KARST_API CVarCell {
 public:
  CVarCell() = default;
  CVarCell(const CVarCell&) = delete;
  CVarCell& operator=(const CVarCell&) = delete;
  virtual ~CVarCell() = default;

  CString name;
  int32_t leixing = karst::kNoValue;  // type code as in CValue, or 9 for a frame mark
  int32_t nDupPos = -1;               // position of the cell that this one duplicates, or -1; in a mark: its flag
  int32_t lVal = 0;
  int64_t i64Val = 0;
  uint32_t dwVal = 0;
  CString* string = nullptr;  // type 4: the text, owned by the cell; else null

 private:
  friend class CVarArray;
  friend class karst::CellStore;
  CString text_;                     // what `string` points to
  karst::NameSlot* slot_ = nullptr;  // the name's slot in the table's store
  CVarCell* shadowed_ = nullptr;     // the next older cell of the same name; of a free cell: the next free one
  int32_t position_ = -1;            // where it stands in the table
  bool made_by_run_ = false;         // see CVarArray::BeginRun
};

class KARST_API CVarArray : public virtual CRunable {
 public:
  // LIMIT: CreateNewVar refuses a further cell at this size.
  static constexpr int kMostCells = 3000;

  CVarArray();
  CVarArray(const CVarArray&) = delete;
  CVarArray& operator=(const CVarArray&) = delete;
  ~CVarArray() override;

  // The newest cell of that name (compared byte by byte), or null; its position, or -1.
  CVarCell* SearchVar(const char* name);
  int SearchVarPos(const char* name);

  // Makes a variable at the end of the table. Halts if the name is taken and no frame is open, and when the table is
  // full. 0, or -1 if there is no memory; nothing is changed then.
  int CreateNewVar(const char* name, const char* text);
  int CreateNewVar(const char* name, int32_t n);
  int CreateNewVar(const char* name, int64_t n);
  int CreateNewVar(const char* name, const CValue* value);
  // Makes the cell of a by-reference argument: a copy of `source`'s value that remembers its position.
  int CreateNewVarDup(const char* name, const char* source);

  // Give a variable a new value. Halt if there is none of that name or its type does not take the value. 0, or -1 if
  // there is no memory; the variable then has its old value.
  int ChangeVarValue(const char* name, const CValue* value);
  int ChangeVarValue(const char* name, const char* text);
  int ChangeVarValue(const char* name, int32_t n);
  int ChangeVarValue(const char* name, int64_t n);

  // Give a cell a new value. -1, with nothing changed, if its type does not fit. Without memory for a text
  // std::bad_alloc, here and below: in a run it becomes the error that ends it.
  int ReplaceInt(const CValue* value, CVarCell* cell);
  int ReplaceInt(int32_t n, CVarCell* cell);
  int ReplaceInt64(int64_t n, CVarCell* cell);
  int ReplaceIntOr64(int64_t n, CVarCell* cell);
  int ReplaceString(const char* text, CVarCell* cell);
  int ReplaceString(std::string_view text, CVarCell* cell);

  // Store a value in a cell and in every cell up its chain of duplicates.
  int ChangeDupVars(CVarCell* cell, int32_t n);
  int ChangeDupVars(CVarCell* cell, int64_t n);
  int ChangeDupVars(CVarCell* cell, const char* text);
  int ChangeDupVars(CVarCell* cell, std::string_view text);

  // ChangeVarValue if the variable exists, else CreateNewVar.
  int SafeSetVar(const char* name, const char* text);
  int SafeSetVar(const char* name, int32_t n);
  int SafeSetVar(const char* name, int64_t n);
  int SafeSetVar(const char* name, const CValue* value);

  // Quiet reads: 0, or -1 if the variable is missing or of another type.
  int GetVarString(const char* name, CString& out);
  int GetVarInt(const char* name, int& out);

  // Opens a frame; -1 if there is no memory.
  int CreateBegin(int flag);
  // Closes the newest frame and drops everything in it; halts if none is open. Gives 1 if its flag was 1, else 0.
  int ClearStackVars();
  // Drops the cells from `pos` on; -1, with nothing changed, if there is no such position.
  int ClearSomeVars(int pos);
  int ClearVars();
  // An error leaves the scopes open that it broke off, and the cells in them stay in the table. So that a host can get
  // rid of them and not of its own: the cells made between BeginRun and EndRun are those of runs, all others the
  // host's.
  void BeginRun();
  void EndRun();
  // Drops what runs left among the first `end` cells, and the frames among them from m_nBeginCount. The other cells
  // stay, in their order, at new positions.
  void DropLeftovers(size_t end);
  int CountFrameMarks() const;
  // An empty cell that is in no table, or null without memory; and its end.
  CVarCell* NewVarCell();
  int DeleteVarCell(CVarCell* cell);

  // Lists the table on the host's output, newest first. Gives -1.
  int DumpVars();

  // The table, oldest first. It owns the cells; a host reads it and leaves changes to the operations.
  std::vector<CVarCell*> m_Cells;
  int32_t m_nBeginCount = 0;  // frames that are open

  // A name's number, the same for the life of the table: the quick way to a variable that is wanted often.
  int NameId(std::string_view name);
  // As ChangeVarValue for a name that has a number, but std::bad_alloc without memory. `text` holds no NUL, here and
  // below.
  int ChangeTextById(int name_id, std::string_view text);
  int ChangeIntById(int name_id, int32_t n);
  // As CreateNewVar, in the same way.
  int CreateTextById(int name_id, std::string_view text);
  int CreateIntById(int name_id, int32_t n);

 protected:
  // The operations above for a name whose slot is known. Without memory std::bad_alloc.
  int MakeValue(karst::NameSlot& slot, const CValue& value);
  int MakeText(karst::NameSlot& slot, std::string_view text);
  int MakeInt(karst::NameSlot& slot, int32_t n);
  int MakeDup(karst::NameSlot& slot, const karst::NameSlot& source);
  int ChangeValue(const karst::NameSlot& slot, const CValue& value);
  // As CreateBegin.
  int OpenFrame(int flag);
  // Closes the frames that were opened since `depth` were open.
  void CloseFrames(int depth);
  // Stops the script: the table is full.
  void RefuseCell();
  karst::CellStore& Store() { return *store_; }

 private:
  void CheckNameIsFree(const karst::NameSlot& slot);
  CVarCell* NewCellFor(karst::NameSlot& slot);
  CVarCell* ExistingVar(const karst::NameSlot& slot);
  int ChangeInt64(const karst::NameSlot& slot, int64_t n);
  int ChangeWord(CVarCell* cell, uint32_t word);
  template <typename StoreInto>
  int ChangeChain(CVarCell* cell, int32_t type, StoreInto store);

  std::unique_ptr<karst::CellStore> store_;
};

// CStatisDB: keyed tables in memory, for statistics that a script gathers while it runs. A row is found by its unique
// key or by its number; each of its cells holds a number and a text side by side.
//
// In every table the rows and the set of keys hold the same rows, and row i says that its number is i: every operation
// that moves rows sees to it before it returns. A row number, a column number or a handle that names nothing is
// refused; nothing is read or written then.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "export.h"
#include "text/bytestring.h"

namespace karst {

// A text without NULs that takes one pointer, and where it is not empty its bytes and a NUL.
class KARST_API CompactText {
 public:
  CompactText() = default;
  explicit CompactText(std::string_view text) { Assign(text); }
  // The text ends at its first NUL.
  void Assign(std::string_view text);
  const char* c_str() const { return bytes_ ? bytes_.get() : ""; }
  std::string_view view() const { return bytes_ ? std::string_view(bytes_.get()) : std::string_view(); }

 private:
  std::unique_ptr<char[]> bytes_;
};

}  // namespace karst

namespace karst {

// SPEED: the two ends of a key as numbers, which overlap in a short one: texts of one length of up to kWhole bytes are
// equal if their ends are.
struct KeyEnds {
  static constexpr size_t kWhole = 16;

  explicit KeyEnds(std::string_view key) {
    const char* const end = key.data() + key.size();
    if (key.size() >= 8) {
      std::memcpy(&head, key.data(), 8);
      std::memcpy(&tail, end - 8, 8);
    } else if (key.size() >= 4) {
      std::memcpy(&head, key.data(), 4);
      std::memcpy(&tail, end - 4, 4);
    } else if (!key.empty()) {
      head = static_cast<uint8_t>(key.front()) | static_cast<uint8_t>(key[key.size() / 2]) << 8;
      tail = static_cast<uint8_t>(key.back());
    }
  }
  bool Equal(const KeyEnds& other) const { return head == other.head && tail == other.tail; }

  uint64_t head = 0;
  uint64_t tail = 0;
};

}  // namespace karst

// One cell that was written.
class CStatisCell {
 public:
  karst::CompactText text;
  int64_t value = 0;
  int32_t column = 0;
};

// One row.
//
// CHOICE: a row holds the cells that were written, by rising column, in place of one pointer for each column of the
// table: what a row costs follows what it holds, whatever number of columns the script asked for.
class KARST_API CStatisRow {
 public:
  // `row_key` holds no NUL.
  CStatisRow(std::string_view row_key, int32_t row_number)
      : key(row_key), row(row_number), key_size(static_cast<uint32_t>(row_key.size())) {}
  std::string_view KeyView() const { return {key.c_str(), key_size}; }
  bool HasKey(std::string_view wanted, const karst::KeyEnds& ends) const {
    if (key_size != wanted.size() || !karst::KeyEnds(KeyView()).Equal(ends)) return false;
    return key_size <= karst::KeyEnds::kWhole || KeyView() == wanted;
  }
  // The cell of a column, or null if it was never written.
  const CStatisCell* Find(int column) const;
  // The same; makes the cell.
  CStatisCell& Make(int column);

  const karst::CompactText key;
  int32_t row;  // its current number
  const uint32_t key_size;
  std::vector<CStatisCell> cells;

 private:
  // How many cells stand before the place of this column.
  size_t PlaceOf(int column) const;
};

namespace karst {

// SPEED: the set finds rows by the keys that they hold, so that no key is stored twice.
struct RowKeyHash {
  using is_transparent = void;
  // Not noexcept, so that the set keeps the hash of each row beside it.
  size_t operator()(std::string_view key) const { return std::hash<std::string_view>()(key); }
  size_t operator()(const CStatisRow* row) const { return (*this)(row->KeyView()); }
};
struct RowKeyEqual {
  using is_transparent = void;
  bool operator()(const CStatisRow* a, const CStatisRow* b) const { return a == b; }
  bool operator()(std::string_view key, const CStatisRow* row) const { return key == row->KeyView(); }
  bool operator()(const CStatisRow* row, std::string_view key) const { return key == row->KeyView(); }
};

}  // namespace karst

// One table. Columns count from 0. Where an operation does not say what it gives without memory, it is std::bad_alloc,
// with the table as it was.
class KARST_API CStatisTable {
 public:
  // The number that stands for the key where a column is read or sorted by.
  static constexpr int kKeyColumn = -1;

  CStatisTable() = default;
  CStatisTable(const CStatisTable&) = delete;
  CStatisTable& operator=(const CStatisTable&) = delete;
  virtual ~CStatisTable() = default;

  // Sets the number of columns, of a table that had some after a Clear. False, with nothing done, for 0 and below: a
  // table without columns stores nothing.
  bool Create(int column_count);
  // Drops every row; the columns stay.
  void Clear();

  // Makes an empty row at `position`, or at the end if that is past it, and numbers the rows behind it anew. Null, with
  // nothing changed, for a key that is empty or taken, a position below 0, no columns or no memory.
  CStatisRow* AddRow(int position, std::string_view key);
  // 1, or 0 if there is no such row.
  int DeleteRowAt(int row);
  int DeleteRowByKey(std::string_view key);

  // The row, or null.
  CStatisRow* FindRow(std::string_view key) {
    if (rows.empty()) return nullptr;
    const karst::KeyEnds ends(key);
    CStatisRow*& recent = recent_[RecentPlace(ends)];
    if (recent && recent->HasKey(key, ends)) return recent;
    return LookUpRow(key, recent);
  }
  int GetRowCount() const { return static_cast<int>(rows.size()); }

  // 1, or 0 for a column that the table does not have. A cell that was never written gives 0 and the empty text;
  // the key column gives 0 and the key, and cannot be written.
  int SetCell(CStatisRow* row, int column, int64_t value, std::string_view text);
  int GetCell(const CStatisRow* row, int column, int64_t& value, CString& text) const;
  int GetCell(int row, int column, int64_t& value, CString& text) const;

  // Reads a comma list of column numbers: every piece is a number, 0 if it holds none, cut to 16 bits. Gives how many
  // there are, or -1 if there is no memory for them.
  int ParseColumns(const char* list, std::vector<int16_t>& out) const;
  // Sorts by the columns, the most significant first: the key by characters, any other column by its numbers. Rows
  // that compare equal end up where a Shell sort with the gaps 391, 77, 19, 7, 1 leaves them. 1, or 0, with nothing
  // moved, for a list that names a column outside the table.
  int Sort(const std::vector<int16_t>& sort_columns, bool descending);

  int32_t columns = 0;
  std::vector<std::unique_ptr<CStatisRow>> rows;  // in their current order
  std::unordered_set<CStatisRow*, karst::RowKeyHash, karst::RowKeyEqual> keys;

 private:
  CStatisRow* LookUpRow(std::string_view key, CStatisRow*& recent);
  static size_t RecentPlace(const karst::KeyEnds& ends) {
    return static_cast<size_t>((ends.head * 0x9e3779b97f4a7c15u + ends.tail) * 0x9e3779b97f4a7c15u >>
                               (64 - kRecentBits));
  }
  void ForgetRecent() { recent_.assign(recent_.size(), nullptr); }
  // Makes the rows from `from` on say their numbers.
  void Renumber(int from);
  bool HasColumn(int column) const { return column >= 0 && column < columns; }

  // SPEED: rows that were found lately, by their keys' ends: few keys make most of what is counted, and what is read
  // from a row is as a rule written back to it.
  static constexpr int kRecentBits = 8;
  std::vector<CStatisRow*> recent_;  // none in a table without rows
};

// The tables of one interpreter. Operations with a handle give 1, or 0 if they fail; 0 names no table.
class KARST_API CStatisDB {
 public:
  CStatisDB() = default;
  CStatisDB(const CStatisDB&) = delete;
  CStatisDB& operator=(const CStatisDB&) = delete;
  virtual ~CStatisDB() = default;

  // Gives the handle of a new table: 1, then 2 and so on, none of them twice; -1 if there is no memory.
  //
  // LIMIT: handles are told apart by their low 16 bits. A number whose bits a living table has is passed over, so that
  // no table is lost; -1 when all 65,536 are taken.
  int Create(int columns);
  int Destroy(int handle);

  // Makes the row if the key is new; it stays also where the column is then refused. Replaces what the cell held.
  int Write(int handle, std::string_view key, int column, int64_t value, std::string_view text);
  int Read(int handle, int row, CString& key, int column, int64_t& value, CString& text);
  // Gives the row's number and a cell of it. The empty key asks for the number of rows; `value` and `text` stay then.
  int Search(int handle, std::string_view key, int column, int64_t& value, CString& text, int& row);

  // Also 1 where there is no such row. The empty key, and row -1, empty the table.
  int DeleteByKey(int handle, std::string_view key);
  int DeleteByRow(int handle, int row);

  // As CStatisTable::Sort; an `order` that begins with a, A, u or U is ascending, any other descending.
  int Sort(int handle, const char* columns, const char* order);

 private:
  CStatisTable* Find(int handle) { return handle != 0 && handle == last_handle_ ? last_table_ : LookUp(handle); }
  CStatisTable* LookUp(int handle);
  // Sets next_handle_ to a number whose bits are free; false if there is none.
  bool FindFreeHandle();

  int32_t next_handle_ = 1;
  int32_t last_handle_ = 0;  // SPEED: a script uses one table many times; 0: none
  CStatisTable* last_table_ = nullptr;
  std::unordered_map<uint16_t, std::unique_ptr<CStatisTable>> tables_;
};

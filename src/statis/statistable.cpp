// The rows and cells of a table.
#include <algorithm>
#include <cstring>
#include <new>

#include "statis/nomemory.h"
#include "statis/statisdb.h"
#include "text/mbtext.h"

namespace karst {

void CompactText::Assign(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  if (text.empty()) {
    bytes_.reset();
    return;
  }
  if (!bytes_ || std::strlen(bytes_.get()) != text.size()) {
    bytes_ = std::make_unique_for_overwrite<char[]>(text.size() + 1);
  }
  std::memcpy(bytes_.get(), text.data(), text.size());
  bytes_[text.size()] = 0;
}

}  // namespace karst

size_t CStatisRow::PlaceOf(int column) const {
  // SPEED: the cell of column c never stands behind place c, and there it stands if no column before it was left out.
  const size_t most = std::min(static_cast<size_t>(column), cells.size());
  if (most == 0 || cells[most - 1].column < column) return most;
  const auto before = [](const CStatisCell& cell, int wanted) { return cell.column < wanted; };
  return static_cast<size_t>(std::lower_bound(cells.begin(), cells.begin() + most, column, before) - cells.begin());
}

const CStatisCell* CStatisRow::Find(int column) const {
  const size_t place = PlaceOf(column);
  return place < cells.size() && cells[place].column == column ? &cells[place] : nullptr;
}

CStatisCell& CStatisRow::Make(int column) {
  const size_t place = PlaceOf(column);
  if (place < cells.size() && cells[place].column == column) return cells[place];
  const auto made = cells.emplace(cells.begin() + static_cast<ptrdiff_t>(place));
  made->column = column;
  return *made;
}

bool CStatisTable::Create(int column_count) {
  if (column_count <= 0) return false;
  if (columns > 0) Clear();
  columns = column_count;
  return true;
}

void CStatisTable::Clear() {
  ForgetRecent();
  keys.clear();
  rows.clear();
}

CStatisRow* CStatisTable::AddRow(int position, std::string_view key) {
  key = key.substr(0, key.find('\0'));
  if (columns <= 0 || position < 0 || key.empty() || FindRow(key)) return nullptr;
  position = std::min(position, GetRowCount());
  try {
    auto row = std::make_unique<CStatisRow>(key, position);
    recent_.resize(size_t{1} << kRecentBits);
    // Making room first leaves nothing that could fail behind the entry in the set.
    if (rows.size() == rows.capacity()) rows.reserve(std::max<size_t>(rows.size() * 2, 8));
    keys.insert(row.get());
    rows.insert(rows.begin() + position, std::move(row));
  } catch (const std::bad_alloc&) {
    karst::ReportNoMemory();
    return nullptr;
  }
  Renumber(position + 1);
  return rows[static_cast<size_t>(position)].get();
}

int CStatisTable::DeleteRowAt(int row) {
  if (row < 0 || row >= GetRowCount()) return 0;
  const auto place = rows.begin() + row;
  ForgetRecent();
  keys.erase(place->get());
  rows.erase(place);
  Renumber(row);
  return 1;
}

int CStatisTable::DeleteRowByKey(std::string_view key) {
  // SPEED: a row knows its number, so that the one with this key need not be searched for.
  const CStatisRow* row = FindRow(key);
  return row ? DeleteRowAt(row->row) : 0;
}

CStatisRow* CStatisTable::LookUpRow(std::string_view key, CStatisRow*& recent) {
  const auto found = keys.find(key);
  return found == keys.end() ? nullptr : recent = *found;
}

int CStatisTable::SetCell(CStatisRow* row, int column, int64_t value, std::string_view text) {
  if (!HasColumn(column)) return 0;
  CStatisCell& cell = row->Make(column);  // without memory for the text it stays as if it was never written
  cell.text.Assign(text);
  cell.value = value;
  return 1;
}

int CStatisTable::GetCell(const CStatisRow* row, int column, int64_t& value, CString& text) const {
  if (column != kKeyColumn && !HasColumn(column)) return 0;
  const CStatisCell* cell = column == kKeyColumn ? nullptr : row->Find(column);
  value = cell ? cell->value : 0;
  text = column == kKeyColumn ? row->KeyView() : cell ? cell->text.view() : std::string_view();
  return 1;
}

int CStatisTable::GetCell(int row, int column, int64_t& value, CString& text) const {
  if (row < 0 || row >= GetRowCount()) return 0;
  return GetCell(rows[static_cast<size_t>(row)].get(), column, value, text);
}

int CStatisTable::ParseColumns(const char* list, std::vector<int16_t>& out) const {
  try {
    const char* comma = nullptr;
    do {
      // A number ends at the comma by itself.
      out.push_back(static_cast<int16_t>(karst::TextToInt(list)));
      comma = _mbschr(list, ',');
      if (comma) list = comma + 1;
    } while (comma);
  } catch (const std::bad_alloc&) {
    karst::ReportNoMemory();
    return -1;
  }
  return static_cast<int>(out.size());
}

void CStatisTable::Renumber(int from) {
  for (int i = from; i < GetRowCount(); ++i) rows[static_cast<size_t>(i)]->row = i;
}

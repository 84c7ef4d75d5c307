// The tables of an interpreter, by handle.
#include "statis/statisdb.h"

#include <new>

#include "statis/nomemory.h"

namespace {

constexpr size_t kMostTables = 65536;

uint16_t BitsOf(int32_t handle) { return static_cast<uint16_t>(handle); }

constexpr int kAllRows = -1;

bool IsAscending(const char* order) { return *order == 'a' || *order == 'A' || *order == 'u' || *order == 'U'; }

}  // namespace

bool CStatisDB::FindFreeHandle() {
  if (tables_.size() == kMostTables) return false;
  while (tables_.contains(BitsOf(next_handle_))) next_handle_ = next_handle_ == INT32_MAX ? 1 : next_handle_ + 1;
  return true;
}

int CStatisDB::Create(int columns) {
  if (!FindFreeHandle()) return -1;
  const int32_t handle = next_handle_;
  try {
    auto table = std::make_unique<CStatisTable>();
    table->Create(columns);
    tables_.emplace(BitsOf(handle), std::move(table));
  } catch (const std::bad_alloc&) {
    karst::ReportNoMemory();
    return -1;
  }
  next_handle_ = handle == INT32_MAX ? 1 : handle + 1;
  return handle;
}

CStatisTable* CStatisDB::LookUp(int handle) {
  if (handle == 0) return nullptr;
  const auto found = tables_.find(BitsOf(handle));
  if (found == tables_.end()) return nullptr;
  last_handle_ = handle;
  return last_table_ = found->second.get();
}

int CStatisDB::Destroy(int handle) {
  last_handle_ = 0;
  return handle != 0 && tables_.erase(BitsOf(handle)) != 0;
}

int CStatisDB::Write(int handle, std::string_view key, int column, int64_t value, std::string_view text) {
  CStatisTable* table = Find(handle);
  if (!table || key.empty()) return 0;
  CStatisRow* row = table->FindRow(key);
  if (!row) row = table->AddRow(table->GetRowCount(), key);
  return row ? table->SetCell(row, column, value, text) : 0;
}

int CStatisDB::Read(int handle, int row, CString& key, int column, int64_t& value, CString& text) {
  const CStatisTable* table = Find(handle);
  int64_t value_of_key = 0;
  return table && table->GetCell(row, column, value, text) &&
         table->GetCell(row, CStatisTable::kKeyColumn, value_of_key, key);
}

int CStatisDB::Search(int handle, std::string_view key, int column, int64_t& value, CString& text, int& row) {
  CStatisTable* table = Find(handle);
  if (!table) return 0;
  if (key.empty()) {
    row = table->GetRowCount();
    return 1;
  }
  const CStatisRow* found = table->FindRow(key);
  if (!found) return 0;
  row = found->row;
  return table->GetCell(found, column, value, text);
}

int CStatisDB::DeleteByKey(int handle, std::string_view key) {
  CStatisTable* table = Find(handle);
  if (!table) return 0;
  if (key.empty()) {
    table->Clear();
  } else {
    table->DeleteRowByKey(key);
  }
  return 1;
}

int CStatisDB::DeleteByRow(int handle, int row) {
  CStatisTable* table = Find(handle);
  if (!table) return 0;
  if (row == kAllRows) {
    table->Clear();
  } else {
    table->DeleteRowAt(row);
  }
  return 1;
}

int CStatisDB::Sort(int handle, const char* columns, const char* order) {
  CStatisTable* table = Find(handle);
  std::vector<int16_t> sort_columns;
  if (!table || table->ParseColumns(columns, sort_columns) == -1) return 0;
  return table->Sort(sort_columns, !IsAscending(order));
}

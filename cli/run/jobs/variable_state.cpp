// VariableState: copies of the values, compared by position.
#include "cli/run/jobs/variable_state.h"

#include <algorithm>

namespace karst::cli {
namespace {

// -1 for a table that does not exist.
int RowsOf(CMARCTree& tree, int table) {
  int64_t value = 0;
  CString text;
  int rows = -1;
  return tree.m_statisDB.Search(table, "", 0, value, text, rows) == 1 ? rows : -1;
}

void AddOnce(std::vector<std::string>& names, const std::string& name) {
  if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

}  // namespace

VariableState::Variable VariableState::Copy(const CVarCell& cell) {
  const int64_t number = cell.leixing == kInt64 ? cell.i64Val : cell.lVal;
  return {std::string(cell.name.view()), cell.leixing, number, std::string(cell.string ? cell.string->view() : "")};
}

void VariableState::Take(CMARCTree& tree) {
  for (const CVarCell* cell : tree.m_Cells) variables_.push_back(Copy(*cell));
  for (int table = 1, rows; (rows = RowsOf(tree, table)) != -1; ++table) table_rows_.push_back(rows);
}

void VariableState::AddChanges(CMARCTree& tree, std::vector<std::string>& names) const {
  const size_t count = std::min(variables_.size(), tree.m_Cells.size());
  for (size_t i = 0; i < count; ++i) {
    const Variable now = Copy(*tree.m_Cells[i]);
    if (now != variables_[i]) AddOnce(names, now.name);
  }
  for (size_t i = 0; i < table_rows_.size(); ++i) {
    const int table = static_cast<int>(i) + 1;
    if (RowsOf(tree, table) != table_rows_[i]) AddOnce(names, "table " + std::to_string(table));
  }
}

}  // namespace karst::cli

// What an engine holds from one record to the next, to see whether records change it.
#pragma once

#include <string>
#include <vector>

#include "marc/marctree.h"

namespace karst::cli {

class VariableState {
 public:
  // Remembers the variables as they are, and how many rows each statistics table has.
  void Take(CMARCTree& tree);
  // Adds the names of those that are not what they were, each once and without those that `names` holds. A table is
  // "table N" by its handle.
  //
  // LIMIT: a table in which records change no more than the numbers of rows that were there is not noticed.
  void AddChanges(CMARCTree& tree, std::vector<std::string>& names) const;

 private:
  struct Variable {
    std::string name;
    int32_t type;
    int64_t number;
    std::string text;
    bool operator==(const Variable&) const = default;
  };
  static Variable Copy(const CVarCell& cell);

  std::vector<Variable> variables_;
  std::vector<int> table_rows_;
};

}  // namespace karst::cli

// CReplaceTable: a loaded file of key=value lines.
#pragma once

#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "text/bytestring.h"

// One line.
class CReplaceItem {
 public:
  CString strKey;
  CString strValue;
};

class CReplaceTable {
 public:
  CReplaceTable() = default;
  CReplaceTable(const CReplaceTable&) = delete;
  CReplaceTable& operator=(const CReplaceTable&) = delete;
  virtual ~CReplaceTable() = default;

  // Reads the file's lines after those already held. -1 if it cannot be read or holds nothing, else 0. A table
  // in UTF-8 with a character that GBK lacks is a CError with the table's line in its text.
  int Load(const char* file_name);
  // The item of the first line with exactly this key, or null.
  const CReplaceItem* Find(std::string_view key) const;

  std::vector<std::unique_ptr<CReplaceItem>> items;  // in the order of the lines

 private:
  void AddLine(std::string_view line);

  // SPEED: finds what a walk over `items` would find first; its keys are those of the items.
  std::unordered_map<std::string_view, const CReplaceItem*> first_by_key_;
};

// Reading a file of key=value lines.
#include "builtins/replacetable.h"

#include <new>

#include "helpers/zebutil.h"
#include "text/ascii.h"

namespace {

// False for a file that cannot be read, or is empty. A refusal names the table's line in its text: who reports it knows
// the script's alone.
// CHOICE: a content for which there is no memory is a file that cannot be read. All that is made of it is the engine's.
bool ReadContent(const char* file_name, CString& content) {
  try {
    return LoadFileContentToString(file_name, content) != -1 && !content.IsEmpty();
  } catch (const CError& refused) {
    CString message;
    message.Format("替换表第%d行: %s", refused.second_code, refused.what());
    throw CError(message, -1, -1);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

int CReplaceTable::Load(const char* file_name) {
  CString content;
  if (!ReadContent(file_name, content)) return -1;
  // CHOICE: a line feed alone ends a line as well. A carriage return alone does not.
  std::string_view rest = content.view();
  while (!rest.empty()) {
    const size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (end != std::string_view::npos && line.ends_with('\r')) line.remove_suffix(1);
    AddLine(line);
  }
  return 0;
}

void CReplaceTable::AddLine(std::string_view line) {
  const size_t equals = line.find('=');
  if (equals == std::string_view::npos) return;
  auto item = std::make_unique<CReplaceItem>();
  item->strKey = karst::WithoutTrailingSpace(line.substr(0, equals));
  item->strValue = karst::WithoutLeadingSpace(line.substr(equals + 1));
  first_by_key_.emplace(item->strKey.view(), item.get());
  items.push_back(std::move(item));
}

const CReplaceItem* CReplaceTable::Find(std::string_view key) const {
  const auto found = first_by_key_.find(key);
  return found == first_by_key_.end() ? nullptr : found->second;
}

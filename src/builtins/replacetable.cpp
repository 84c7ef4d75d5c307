// Reading a file of key=value lines.
#include "builtins/replacetable.h"

#include "outside/zebutil.h"

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

std::string_view WithoutTrailingSpace(std::string_view text) {
  return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

std::string_view WithoutLeadingSpace(std::string_view text) {
  const size_t start = text.find_first_not_of(kWhiteSpace);
  return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

}  // namespace

int CReplaceTable::Load(const char* file_name) {
  CString content;
  if (LoadFileContentToString(file_name, content) == -1 || content.IsEmpty()) return -1;
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
  item->strKey = WithoutTrailingSpace(line.substr(0, equals));
  item->strValue = WithoutLeadingSpace(line.substr(equals + 1));
  first_by_key_.emplace(item->strKey.view(), item.get());
  items.push_back(std::move(item));
}

const CReplaceItem* CReplaceTable::Find(std::string_view key) const {
  const auto found = first_by_key_.find(key);
  return found == first_by_key_.end() ? nullptr : found->second;
}

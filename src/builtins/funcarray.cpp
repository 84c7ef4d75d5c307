// CFuncArray: the look-up of built-ins, the shared argument checks, and the caches behind file names.
#include "builtins/funcarray.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#include "builtins/namedoutput.h"
#include "builtins/replacetable.h"
#include "builtins/table.h"
#include "text/mbtext.h"

namespace {

// Halts with the message for an argument of the wrong kind; `kind` completes it.
void RefuseArgument(CFuncArray* self, const char* name, int number, const char* kind) {
  if (name && number != 0) {
    self->halt("函数%s()参数%d应当为%s...", name, number, kind);
  } else {
    self->halt("函数调用参数类型应当为%s", kind);
  }
}

bool IsIntCell(const CVarCell* cell) { return cell->leixing == karst::kInt || cell->leixing == karst::kInt64; }

}  // namespace

CFuncArray::CFuncArray() = default;

CFuncArray::~CFuncArray() {
  CloseAllCatchedFileHandle();
  m_mapReplaceTable.clear();
  CloseAllHyperWindow();
}

int32_t CFuncArray::FindKernelFunction(const char* name, karst::BuiltinHandler* handler, char* outName, int outSize) {
  using karst::kKernelFunctions;
  if (handler) *handler = nullptr;
  if (name[0] == '@') {
    const int32_t row = karst::TextToInt(name + 1);
    if (row < 0 || row >= karst::kKernelFunctionCount) return -1;
    if (handler) *handler = kKernelFunctions[row].handler;
    return row;
  }
  int32_t row = 0;
  while (row < karst::kKernelFunctionCount && _mbsicmp(kKernelFunctions[row].name, name) != 0) ++row;
  if (row == karst::kKernelFunctionCount) return -1;
  if (handler) *handler = kKernelFunctions[row].handler;
  if (outName && outSize > 0) {
    // CHOICE: an index form that does not fit with its NUL gives the empty text, since a cut one names another row.
    const int length = std::snprintf(outName, static_cast<size_t>(outSize), "@%d", row);
    if (length >= outSize) outName[0] = 0;
  }
  return row;
}

void CFuncArray::ProcessArgList(karst::WordList& words, int first, int count) {
  for (int i = first; i < first + count; ++i) {
    const CVarCell* cell = m_Cells[i];
    switch (cell->leixing) {
      case karst::kInt: words.AddInt(cell->lVal); break;
      case karst::kInt64: words.AddInt64(cell->i64Val); break;
      case karst::kText: words.AddText(cell->string ? cell->string->c_str() : ""); break;
      default: break;
    }
  }
}

void CFuncArray::CheckStringArg(const CVarCell* cell, const char* name, int number) {
  if (cell->leixing != karst::kText) RefuseArgument(this, name, number, "string类型");
}

void CFuncArray::CheckStringRefArg(const CVarCell* cell, const char* name, int number) {
  if (cell->leixing != karst::kText || cell->nDupPos == -1) {
    RefuseArgument(this, name, number, "string类型，并且为引用型");
  }
}

void CFuncArray::CheckIntArg(const CVarCell* cell, const char* name, int number) {
  if (!IsIntCell(cell)) RefuseArgument(this, name, number, "int或int64类型");
}

void CFuncArray::CheckIntRefArg(const CVarCell* cell, const char* name, int number) {
  if (!IsIntCell(cell) || cell->nDupPos == -1) RefuseArgument(this, name, number, "int或int64类型，并且为引用型");
}

int32_t CFuncArray::GetIntArg(const CVarCell* cell) {
  return cell->leixing == karst::kInt ? cell->lVal : static_cast<int32_t>(cell->i64Val);
}

karst::FileHandle CFuncArray::GetFileHandleForAppend(const char* name) {
  const auto found = m_mapCatchedFile.find(std::string_view(name));
  if (found != m_mapCatchedFile.end()) return found->second;
  const karst::FileHandle file = karst::OpenForAppending(name);
  if (file == karst::kNoFile) {
    TellNamedOutputFailure(name);
    return file;
  }
  try {
    m_mapCatchedFile.emplace(name, file);
  } catch (...) {
    karst::CloseFile(file);
    throw;
  }
  return file;
}

void CFuncArray::CloseAllCatchedFileHandle() {
  for (const auto& [name, file] : m_mapCatchedFile) {
    if (karst::CloseFile(file) != 0) TellNamedOutputFailure(name);
  }
  m_mapCatchedFile.clear();
}

void CFuncArray::OnNamedOutput(karst::NamedOutputHandler handler) { named_output_ = std::move(handler); }

void CFuncArray::OnNamedOutputFailure(karst::NamedOutputFailureHandler handler) {
  named_output_failure_ = std::move(handler);
}

void CFuncArray::TellNamedOutputFailure(std::string_view file) const {
  if (named_output_failure_) named_output_failure_(file, errno);
}

bool CFuncArray::HasFileOpen(const char* name) const { return karst::IsFileOpen(name, FileOwner()); }

int32_t CFuncArray::AppendToFile(const karst::NamedText& text) {
  const CString name(text.file);
  karst::NamedFile file(this);
  return file.Open(name, text.converted) ? file.Write(text.bytes) : -1;
}

int32_t CFuncArray::DeleteMappedFile(const char* name) {
  const auto found = m_mapCatchedFile.find(std::string_view(name));
  if (found == m_mapCatchedFile.end()) {
    karst::DeleteFile(name);
    return 1;
  }
  karst::SeekFile(found->second, 0, karst::SeekFrom::kStart);
  karst::TruncateHere(found->second);
  return found->second;
}

int CFuncArray::ReplaceStringFromFile(const char* key, CString& value, const char* table_file) {
  auto found = m_mapReplaceTable.find(std::string_view(table_file));
  if (found == m_mapReplaceTable.end()) {
    auto table = std::make_unique<CReplaceTable>();
    if (table->Load(table_file) == -1) return -1;
    found = m_mapReplaceTable.emplace(table_file, std::move(table)).first;
  }
  const CReplaceItem* item = found->second->Find(key);
  if (!item) return -1;
  value = item->strValue;
  return 0;
}

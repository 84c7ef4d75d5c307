// Whole runs: from a built tree and a source of records to a finished run, in either style.
//
// A filter with a Record block runs its Root code once, the Record block for each record, its top-level Final code
// once. A filter without one is a single program that runs for each record: the old style.
#include <new>

#include "marc/marctree.h"
#include "marc/recordwalk.h"

namespace {

// What a stream's NextRecord gives, as far as a run goes on.
constexpr int kRecordCame = 0;
constexpr int kRecordPassedOver = 2;

// Closes a run's record file, whichever way the run ends.
class FileCloser {
 public:
  explicit FileCloser(CMARCFile& file) : file_(file) {}
  FileCloser(const FileCloser&) = delete;
  FileCloser& operator=(const FileCloser&) = delete;
  ~FileCloser() { file_.Close(); }

 private:
  CMARCFile& file_;
};

// The cells that the table gets while the object lives are those of one run.
class RunInTable {
 public:
  explicit RunInTable(CVarArray& table) : table_(table) { table_.BeginRun(); }
  RunInTable(const RunInTable&) = delete;
  RunInTable& operator=(const RunInTable&) = delete;
  ~RunInTable() { table_.EndRun(); }

 private:
  CVarArray& table_;
};

// Loads, builds and runs, each stage if the one before did not fail and nobody asked for a stop.
int RunStages(CMARCTree& tree, const char* filter_file, const char* record_file) {
  int result = tree.ReadCodeFromFile(filter_file, 0);
  if (result == -1) tree.eprintf("文件[%s]打开错误", filter_file ? filter_file : "");
  if (result == -1 || tree.IsStop()) return result;
  result = tree.BuildMARCTree();
  if (result == -1 || tree.IsStop()) return result;
  return tree.RunWholeTree(record_file);
}

}  // namespace

int RunKarstMARCTree(const char* lpszFltFile, const char* lpszMARCFile, HWND hWnd) {
  const auto tree = std::make_unique<CMARCTree>();
  tree->Initial();
  tree->hWnd = hWnd;
  const auto report = [&tree](const char* text) {
    tree->eprintf("\r\n第%d行: %s", tree->GetCurLineNumber(), text);
    return -1;
  };
  try {
    return RunStages(*tree, lpszFltFile, lpszMARCFile);
  } catch (const CError& error) {
    return report(error.what());
  } catch (const char* text) {
    return report(text);
  } catch (...) {
    return report("未知错误...");
  }
}

void CMARCTree::OnSkippedRecord(karst::SkippedRecordHandler handler) { skipped_handler_ = std::move(handler); }

// After an error.

int CMARCTree::CloseAfterError() {
  DropLeftovers(Leftovers::kOfAllRuns);
  return 0;
}

int CMARCTree::RunOneOfMany(CMARCStream* stream) {
  // What one error left can be so much that nothing would run beside it: a script that filled the table, say.
  if (m_Cells.size() > kMostCells / 2) CloseAfterError();
  // An open call counts as a frame but has no mark.
  const int unmarked_before = m_nBeginCount - CountFrameMarks();
  try {
    return RunMARCTree(stream);
  } catch (...) {
    const int unmarked = m_nBeginCount - CountFrameMarks() - unmarked_before;
    DropLeftovers(Leftovers::kOfOlderRuns);
    m_nBeginCount += unmarked;
    throw;
  }
}

// Steps that both styles share.

bool CMARCTree::HasTree() {
  if (!m_pheadcell) eprintf("\r\nMARC树尚未建立!(m_pheadcell == NULL...)");
  return m_pheadcell != nullptr;
}

// A stop request of the run before is withdrawn first: it would keep the counts from being cleared.
void CMARCTree::StartRun() {
  Initial();
  ClearAllDupCountOnTree();
  lpProg = lpCodeBuffer;
  m_CellStack.EmptyStack();
  Begin();
}

// Makes the file of this run. False, with a message, without memory.
bool CMARCTree::MakeRecordFile(const char* no_memory) {
  record_file_.reset(new (std::nothrow) CMARCFile);
  if (!record_file_) eprintf("%s", no_memory);
  return record_file_ != nullptr;
}

bool CMARCTree::OpenRecordFile(const char* name) {
  record_file_->OnSkippedRecord(skipped_handler_);
  if (record_file_->Open(name) == -1) {
    record_file_.reset();
    return false;
  }
  m_nStreamSize = record_file_->stream_size;
  m_nStreamPos = 0;
  return true;
}

void CMARCTree::ReportProgress(const CMARCStream* stream) {
  m_nStreamPos = stream->stream_position;
  if (m_pfnProgress) m_pfnProgress(m_pProgressArg);
}

// The present style.

int CMARCTree::RunWholeTree(const char* lpszMARCFile) {
  if (m_bOldStyle) return RunWholeTreeOldStyle(lpszMARCFile);
  if (!lpszMARCFile || !HasTree()) return -1;
  if (!MakeRecordFile("\r\nCMARCFile对象建立失败!") || !OpenRecordFile(lpszMARCFile)) return -1;
  const FileCloser closer(*record_file_);
  return RunTopLevel(record_file_.get());
}

int CMARCTree::RunMARCTree(CMARCStream* stream) {
  if (m_bOldStyle) return RunMARCTreeOldStyle(stream);
  if (!stream || !HasTree()) return -1;
  return RunTopLevel(stream);
}

int CMARCTree::RunTopLevel(CMARCStream* stream) {
  const RunInTable run(*this);
  if (CCell* const records = RunUntilRecords()) RunRecord(records, stream);
  RunBehindRecords();
  return 0;
}

CCell* CMARCTree::RunUntilRecords() {
  variables_before_ = static_cast<int>(m_Cells.size());
  StartRun();
  for (CCell* cell = m_pheadcell; cell && !IsStop(); cell = cell->pNext) {
    if (cell->nType == karst::kCellRecord) return cell;
    RunTopLevelCell(cell);
  }
  return nullptr;
}

void CMARCTree::RunBehindRecords() {
  CCell* cell = m_pheadcell;
  while (cell && cell->nType != karst::kCellRecord) cell = cell->pNext;
  for (; cell && !IsStop(); cell = cell->pNext) RunTopLevelCell(cell);
  End();
  ClearSomeVars(variables_before_);
}

void CMARCTree::RunTopLevelCell(CCell* cell) {
  if (cell->nType == karst::kCellStart) RunRootStart(cell);
  if (cell->nType == karst::kCellFinal) RunRootFinal(cell);
}

int CMARCTree::RunRootStart(CCell* cell) {
  const int result = RunPicesCode(cell);
  if (result == -1) eprintf("\r\nRun Root Start return -1...");
  return result;
}

int CMARCTree::RunRootFinal(CCell* cell) { return RunPicesCode(cell); }

int CMARCTree::RunRecord(CCell* first, CMARCStream* stream) {
  if (!first || !stream) return -1;
  m_nRecordCount = 0;
  Begin();
  int result = -1;
  CString text;
  for (;;) {
    ReportProgress(stream);
    if (IsStop()) break;
    result = stream->NextRecord(text);
    if (result == kRecordPassedOver) continue;
    if (result != kRecordCame || !RunRecordCells(first, stream->GetCurRec(), result)) break;
    ++m_nRecordCount;
  }
  End();
  return result;
}

// Runs the Record cells that stand in a row. False, with the loop's result in `result`, if the record loop is over.
bool CMARCTree::RunRecordCells(CCell* first, const char* record, int& result) {
  CCell* cell = first;
  do {
    if (IsStop()) return false;
    InitialRecordVars(record);
    const bool failed = !RunRecordCell(cell, record, result);
    EndRecordVars();
    if (failed) {
      result = -1;
      return false;
    }
    cell = cell->pNext;
  } while (karst::IsCell(cell, karst::kCellRecord));
  return true;
}

bool CMARCTree::RunRecordCell(CCell* cell, const char* record, int& result) {
  result = RunPicesCode(cell);
  if (result == karst::kWalkLeft) return true;
  if (cell->pFirstChild && RunMiddleTree(record, 0, cell->pFirstChild) == -1) return false;
  if (!karst::IsCell(cell->pLastChild, karst::kCellFinal)) return true;
  result = RunPicesCode(cell->pLastChild);
  return result != -1;
}

// The old style.

int CMARCTree::RunWholeTreeOldStyle(const char* lpszMARCFile) {
  if (!lpszMARCFile || !HasTree()) return -1;
  if (!MakeRecordFile("\r\nCMARC对象建立失败!")) return -1;
  if (!OpenRecordFile(lpszMARCFile)) halt("文件'%s'打开失败...", lpszMARCFile);
  const FileCloser closer(*record_file_);
  return RunOldStyle(record_file_.get(), true);
}

int CMARCTree::RunMARCTreeOldStyle(CMARCStream* stream) {
  if (!stream || !HasTree()) return -1;
  return RunOldStyle(stream, false);
}

int CMARCTree::RunOldStyle(CMARCStream* stream, bool reporting) {
  const RunInTable run(*this);
  const int variables_before = static_cast<int>(m_Cells.size());
  StartRun();
  m_nRecordCount = 0;
  int result = 0;
  CString text;
  for (;;) {
    if (reporting) ReportProgress(stream);
    if (IsStop()) break;
    const int came = stream->NextRecord(text);
    if (came == kRecordPassedOver) continue;
    if (came != kRecordCame) break;
    const char* record = stream->GetCurRec();
    InitialRecordVars(record);
    result = RunOldStyleRecord(record);
    EndRecordVars();
    if (result == -1) break;
    ++m_nRecordCount;
  }
  End();
  ClearSomeVars(variables_before);
  return result;
}

// The whole file as a program for one record: Root code, fields, closing code. 0 or -1.
int CMARCTree::RunOldStyleRecord(const char* record) {
  if (karst::IsCell(m_pheadcell, karst::kCellStart)) {
    const int result = RunPicesCode(m_pheadcell);
    if (result == karst::kWalkFailed) return -1;
    if (result == karst::kWalkLeft) return 0;
  }
  CCell* const fields = m_pheadcell->pNext;
  if (karst::IsCell(fields, karst::kCellField) && RunMiddleTree(record, 0, fields) == -1) return -1;
  return m_ptailcell && RunPicesCode(m_ptailcell) == -1 ? -1 : 0;
}

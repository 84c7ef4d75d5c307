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
constexpr int kReadFailed = -1;

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

// The cells that the table gets while the object lives are a run's, not the host's.
class RunInTable {
 public:
  explicit RunInTable(CVarArray& table) : table_(table) { table_.BeginRun(); }
  RunInTable(const RunInTable&) = delete;
  RunInTable& operator=(const RunInTable&) = delete;
  ~RunInTable() { table_.EndRun(); }

 private:
  CVarArray& table_;
};

// The run has ended as if the file had; its own result does not say that records may be missing.
int RefusePart(CMARCTree& tree, const char* record_file) {
  tree.eprintf("\r\n文件'%s'读取失败, 只读到%d条记录...", record_file, tree.m_nRecordCount);
  return -1;
}

// Loads, builds and runs, each stage if the one before did not fail and nobody asked for a stop.
int RunStages(CMARCTree& tree, const char* filter_file, const char* record_file) {
  int result = tree.ReadCodeFromFile(filter_file, 0);
  if (result == -1) tree.eprintf("文件[%s]打开错误", filter_file ? filter_file : "");
  if (result == -1 || tree.IsStop()) return result;
  result = tree.BuildMARCTree();
  if (result == -1 || tree.IsStop()) return result;
  result = tree.RunWholeTree(record_file);
  return tree.ReadFailed() ? RefusePart(tree, record_file) : result;
}

}  // namespace

int RunKarstMARCTree(const char* lpszFltFile, const char* lpszMARCFile, HWND hWnd) {
  std::unique_ptr<CMARCTree> tree;
  const auto report = [hWnd](const char* text, int line) { return karst::TellRunFailed(hWnd, line, text); };
  const auto line = [&tree] { return tree ? tree->GetCurLineNumber() : 1; };
  try {
    tree = std::make_unique<CMARCTree>();
    tree->Initial();
    tree->hWnd = hWnd;
    return RunStages(*tree, lpszFltFile, lpszMARCFile);
  } catch (const CError& error) {
    return report(error.what(), tree->LineOf(error));
  } catch (const char* text) {
    return report(text, line());
  } catch (const std::bad_alloc&) {
    return report(karst::MemoryError::kText, line());
  } catch (...) {
    return report("未知错误...", line());
  }
}

void CMARCTree::OnSkippedRecord(karst::SkippedRecordHandler handler) { skipped_handler_ = std::move(handler); }

// After an error.

int CMARCTree::CloseAfterError() {
  DropLeftovers(m_Cells.size());
  m_nBeginCount = CountFrameMarks();  // a call that was broken off counts as a frame but has no mark
  return 0;
}

int CMARCTree::RunOneOfMany(CMARCStream* stream) {
  const StopsHeld held(*this);
  // What one error left can be so much that nothing would run beside it: a script that filled the table, say.
  if (m_Cells.size() > kMostCells / 2) CloseAfterError();
  const size_t cells_before = m_Cells.size();
  try {
    return RunMARCTree(stream);
  } catch (...) {
    DropLeftovers(cells_before);
    throw;
  }
}

// Steps that both styles share.

bool CMARCTree::HasTree() {
  if (!m_pheadcell) eprintf("\r\nMARC树尚未建立!(m_pheadcell == NULL...)");
  return m_pheadcell != nullptr;
}

// A run that was stopped by now does nothing from here on: each of its steps asks.
void CMARCTree::StartRun() {
  variables_before_ = static_cast<int>(m_Cells.size());
  frames_before_ = m_nBeginCount;
  read_failed_ = false;
  ClearAllDupCountOnTree();
  lpProg = lpCodeBuffer;
  m_CellStack.EmptyStack();
  BeginUnlessStopped();
}

void CMARCTree::CloseRun() {
  End();
  if (IsStop()) CloseFrames(frames_before_);
  ClearSomeVars(variables_before_);
}

// Makes the file of this run. False, with a message, without memory.
bool CMARCTree::MakeRecordFile(const char* no_memory) {
  record_file_.reset();
  try {
    record_file_ = std::make_unique<CMARCFile>();
  } catch (const std::bad_alloc&) {
    eprintf("%s", no_memory);
  }
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

int CMARCTree::TakeRecord(CMARCStream* stream, CString& record) {
  const int came = stream->NextRecord(record);
  read_failed_ = came == kReadFailed;
  return came;
}

// A piece that a stop request cut short has left frames open in that of its record.
void CMARCTree::EndRecord(int frames) {
  if (IsStop()) {
    CloseFrames(frames);
  } else {
    EndRecordVars();
  }
}

// The present style.

int CMARCTree::RunWholeTree(const char* lpszMARCFile) try {
  const StopsHeld held(*this);
  if (m_bOldStyle) return RunWholeTreeOldStyle(lpszMARCFile);
  if (!lpszMARCFile || !HasTree()) return -1;
  if (!MakeRecordFile("\r\nCMARCFile对象建立失败!") || !OpenRecordFile(lpszMARCFile)) return -1;
  const FileCloser closer(*record_file_);
  return RunTopLevel(record_file_.get());
} catch (const std::bad_alloc&) {
  HaltForMemory();
}

int CMARCTree::RunMARCTree(CMARCStream* stream) try {
  const StopsHeld held(*this);
  if (m_bOldStyle) return RunMARCTreeOldStyle(stream);
  if (!stream || !HasTree()) return -1;
  return RunTopLevel(stream);
} catch (const std::bad_alloc&) {
  HaltForMemory();
}

int CMARCTree::RunTopLevel(CMARCStream* stream) {
  const RunInTable run(*this);
  if (CCell* const records = RunUntilRecords()) RunRecord(records, stream);
  RunBehindRecords();
  return 0;
}

CCell* CMARCTree::RunUntilRecords() try {
  const StopsHeld held(*this);
  StartRun();
  for (CCell* cell = m_pheadcell; cell && !IsStop(); cell = cell->pNext) {
    if (cell->nType == karst::kCellRecord) return cell;
    RunTopLevelCell(cell);
  }
  return nullptr;
} catch (const std::bad_alloc&) {
  HaltForMemory();
}

void CMARCTree::RunBehindRecords() try {
  CCell* cell = m_pheadcell;
  while (cell && cell->nType != karst::kCellRecord) cell = cell->pNext;
  for (; cell && !IsStop(); cell = cell->pNext) RunTopLevelCell(cell);
  CloseRun();
} catch (const std::bad_alloc&) {
  HaltForMemory();
}

void CMARCTree::RunTopLevelCell(CCell* cell) {
  if (cell->nType == karst::kCellStart) RunRootStart(cell);
  if (cell->nType == karst::kCellFinal) RunRootFinal(cell);
}

int CMARCTree::RunRootStart(CCell* cell) {
  const int result = RunPicesCode(cell);
  if (result == -1) MustBeTold(eprintf("\r\nRun Root Start return -1..."));
  return result;
}

int CMARCTree::RunRootFinal(CCell* cell) { return RunPicesCode(cell); }

int CMARCTree::RunRecord(CCell* first, CMARCStream* stream) try {
  if (!first || !stream) return -1;
  m_nRecordCount = 0;
  read_failed_ = false;
  int result = -1;
  if (!BeginUnlessStopped()) return result;
  CString text;
  for (;;) {
    ReportProgress(stream);
    if (IsStop()) break;
    result = TakeRecord(stream, text);
    if (result == kRecordPassedOver) continue;
    if (result != kRecordCame || !RunRecordCells(first, stream->GetCurRec(), result)) break;
    ++m_nRecordCount;
  }
  End();
  return result;
} catch (const std::bad_alloc&) {
  HaltForMemory();
}

// Runs the Record cells that stand in a row. False, with the loop's result in `result`, if the record loop is over.
bool CMARCTree::RunRecordCells(CCell* first, const char* record, int& result) {
  CCell* cell = first;
  do {
    if (IsStop()) return false;
    const int frames = m_nBeginCount;
    InitialRecordVars(record);
    const bool failed = !RunRecordCell(cell, record, result);
    EndRecord(frames);
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

int CMARCTree::RunWholeTreeOldStyle(const char* lpszMARCFile) try {
  const StopsHeld held(*this);
  if (!lpszMARCFile || !HasTree()) return -1;
  if (!MakeRecordFile("\r\nCMARC对象建立失败!")) return -1;
  if (!OpenRecordFile(lpszMARCFile)) halt("文件'%s'打开失败...", lpszMARCFile);
  const FileCloser closer(*record_file_);
  return RunOldStyle(record_file_.get(), true);
} catch (const std::bad_alloc&) {
  HaltForMemory();
}

int CMARCTree::RunMARCTreeOldStyle(CMARCStream* stream) try {
  const StopsHeld held(*this);
  if (!stream || !HasTree()) return -1;
  return RunOldStyle(stream, false);
} catch (const std::bad_alloc&) {
  HaltForMemory();
}

int CMARCTree::RunOldStyle(CMARCStream* stream, bool reporting) {
  const RunInTable run(*this);
  StartRun();
  m_nRecordCount = 0;
  int result = 0;
  CString text;
  for (;;) {
    if (reporting) ReportProgress(stream);
    if (IsStop()) break;
    const int came = TakeRecord(stream, text);
    if (came == kRecordPassedOver) continue;
    if (came != kRecordCame) break;
    const char* record = stream->GetCurRec();
    const int frames = m_nBeginCount;
    InitialRecordVars(record);
    result = RunOldStyleRecord(record);
    EndRecord(frames);
    if (result == -1) break;
    ++m_nRecordCount;
  }
  CloseRun();
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

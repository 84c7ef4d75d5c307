// CMARCTree: building. The loaded code is read once by its tokens, and each block word and each stretch of text
// between blocks becomes a cell that records a span of the code.
//
// m_CellStack holds one entry for each brace that is open: the cell in whose code it stands. A new cell becomes a
// child of the newest entry.
#include "marc/marctree.h"

#include <climits>
#include <cstring>
#include <new>

#include "marc/recordwalk.h"

using karst::CellType;

namespace {

// How much of a name a cell keeps.
constexpr size_t kTagPatternKept = 4;
constexpr size_t kCodeSetKept = 3;
constexpr size_t kLongestBlockName = 5;

// Depths, counted from the start of a scan, below which a closing brace ends it.
constexpr int kEndsAtOwnBrace = 1;
constexpr int kEndsAtParentsBrace = 0;
constexpr int kEndsAtNoBrace = INT_MIN;

bool IsBlockWord(int token) {
  switch (token) {
    case karst::kTokRecord:
    case karst::kTokField:
    case karst::kTokGroup:
    case karst::kTokSubField:
    case karst::kTokCommon:
    case karst::kTokChain: return true;
    default: return false;
  }
}

void SetName(CCell* cell, const char* name, size_t kept) {
  std::memcpy(cell->szName, name, strnlen(name, kept));  // the rest of szName is NUL
}

}  // namespace

CMARCTree::CMARCTree() : walk_(std::make_unique<karst::RecordWalk>(*this, Store())) {}

CMARCTree::~CMARCTree() { FreeAllCellOnTree(); }

int CMARCTree::BuildMARCTree() try {
  m_CellStack.EmptyStack();
  if (!lpCodeBuffer) {
    eprintf("\r\n.flt代码尚未装入... ");
    return -1;
  }
  const StopsHeld held(*this);
  FreeAllCellOnTree();
  built_generation_ = code_generation_;
  try {
    const int result = BuildCells();
    if (IsStop()) DropTree();
    return result;
  } catch (...) {
    DropTree();
    throw;
  }
} catch (const std::bad_alloc&) {
  HaltForMemory();
}

// Half a tree is none: it would run without what the rest of the filter says.
void CMARCTree::DropTree() {
  FreeAllCellOnTree();
  m_CellStack.EmptyStack();
}

int CMARCTree::BuildCells() {
  ResetCodeStartPos();
  nTok = 0;
  DoRoot();
  if (!BeginUnlessStopped()) return 0;
  int record_count = 0;
  bool ended = false;
  do {
    if (IsStop()) return 0;
    GetToken();
    if (nTok == karst::kTokStop) return DoStop(0);
    ActOnBlockWord(record_count, ended);
  } while (!ended && nTok != karst::FINISHED);
  if (m_CellStack.CurStackCell()) halt("花括号{}不配对, { 多于 } !");
  m_bOldStyle = record_count == 0 ? 1 : 0;
  End();
  PrepareChainTarget();
  return 0;
}

int CMARCTree::ActOnBlockWord(int& record_count, bool& ended) {
  switch (nTok) {
    case karst::kTokRecord: ++record_count; return DoRecord();
    case karst::kTokField: return DoField();
    case karst::kTokGroup: return DoGroup();
    case karst::kTokSubField: return DoSubField();
    case karst::kTokCommon: return DoCommon();
    case karst::kTokChain: return DoChain();
    default: ended = DoFinal() == 1; return 0;
  }
}

int CMARCTree::JointToTree(CCell* cell) {
  CCell* parent = m_CellStack.CurStackCell();
  CCell*& first = parent ? parent->pFirstChild : m_pheadcell;
  CCell*& last = parent ? parent->pLastChild : m_ptailcell;
  cell->pParent = parent;
  cell->pPrev = last;
  cell->pNext = nullptr;
  (last ? last->pNext : first) = cell;
  last = cell;
  return 0;
}

int CMARCTree::FreeAllCellOnTree() {
  if (!m_pheadcell) return -1;
  CCell* cell = m_pheadcell;
  while (cell) {
    if (CCell* child = karst::FirstChildInTree(cell)) {
      cell = child;
      continue;
    }
    CCell* const parent = cell->pParent;
    CCell* const behind = cell->pNext ? cell->pNext : parent;
    if (parent) parent->pFirstChild = cell->pNext;
    delete cell;
    cell = behind;
  }
  m_pheadcell = nullptr;
  m_ptailcell = nullptr;
  m_pcurcell = nullptr;
  m_bOldStyle = 0;
  return 0;
}

// Walks backwards from the end of the file, so that the last of several blocks is found. Common blocks are not
// entered.
CCell* CMARCTree::FindCommon(const char* name) {
  CCell* cell = name ? m_ptailcell : nullptr;
  while (cell && !IsStop()) {
    if (cell->nType == karst::kCellCommon) {
      if (std::strcmp(cell->szName, name) == 0) return cell;
    } else if (karst::FirstChildInTree(cell)) {
      cell = cell->pLastChild;
      continue;
    }
    while (cell && !cell->pPrev) cell = cell->pParent;
    if (cell) cell = cell->pPrev;
  }
  return nullptr;
}

int CMARCTree::PrepareChainTarget() {
  for (CCell* cell = m_pheadcell; cell && !IsStop(); cell = karst::NextInTree(cell)) {
    if (cell->nType != karst::kCellChain) continue;
    CCell* common = FindCommon(cell->szName);
    if (!common && IsStop()) return 0;
    if (!common) halt("Common block %s not define...", cell->szName);
    cell->pFirstChild = common;
  }
  return 0;
}

// The block makers.

CCell* CMARCTree::AddCell(CellType type, const char* name, const char* no_memory) {
  CCell* cell = new (std::nothrow) CCell(type);
  if (!cell) HaltForMemory(no_memory);
  SetName(cell, name, sizeof cell->szName - 1);
  JointToTree(cell);
  m_pcurcell = cell;
  return cell;
}

int CMARCTree::ScanPiece(CCell* cell, int bOneBlock) {
  cell->lpCode = lpProg;
  SkipUtilNextCommand(bOneBlock);
  cell->nCodeLen = static_cast<int32_t>(lpProg - cell->lpCode);
  return 0;
}

void CMARCTree::ReadPattern(CCell* cell, size_t kept, const char* refusal) {
  if (GetToken() != karst::STRING) halt("%s", refusal);
  SetName(cell, szToken, kept);
}

void CMARCTree::ReadBlockName(CCell* cell, const char* refusal, const char* too_long) {
  if (GetToken() != karst::STRING) halt("%s", refusal);
  if (std::strlen(szToken) > kLongestBlockName) halt(too_long, szToken);
  SetName(cell, szToken, kLongestBlockName);
}

int CMARCTree::DoRoot() { return ScanPiece(AddCell(karst::kCellStart, "Root", "NewCell error"), 0); }

int CMARCTree::DoRecord() { return ScanPiece(AddCell(karst::kCellRecord, "Recrd", "NewCell error"), 1); }

int CMARCTree::DoField() {
  CCell* cell = AddCell(karst::kCellField, "", "New Cell error");
  ReadPattern(cell, kTagPatternKept, "Field语句后应为字符串常量...");
  return ScanPiece(cell, 1);
}

int CMARCTree::DoGroup() { return ScanPiece(AddCell(karst::kCellGroup, "Group", "New Cell error"), 1); }

int CMARCTree::DoSubField() {
  CCell* cell = AddCell(karst::kCellSubField, "", "New Cell error");
  ReadPattern(cell, kCodeSetKept, "SubField语句后应为字符串常量...");
  return ScanPiece(cell, 1);
}

int CMARCTree::DoCommon() {
  CCell* cell = AddCell(karst::kCellCommon, "", "New Cell error");
  ReadBlockName(cell, "COMMON语句后应为字符串常量...", "Common块的名字%s太长，应当在5字符以内");
  return ScanPiece(cell, 1);
}

int CMARCTree::DoChain() {
  CCell* cell = AddCell(karst::kCellChain, "", "New cell error");
  ReadBlockName(cell, "CHAIN语句后应为字符串常量...", "Chain命令的名字%s太长，应当在5字符以内");
  return 0;
}

int CMARCTree::DoFinal() {
  SkipBlankLine();
  if (IsBlockWord(nTok)) return 0;
  CCell* cell = AddCell(karst::kCellFinal, "Final", "New Cell error");
  cell->lpCode = lpProg;
  SkipToParentCommand();
  cell->nCodeLen = static_cast<int32_t>(lpProg - cell->lpCode);
  return nTok == karst::FINISHED ? 1 : 0;
}

// The scans.

int CMARCTree::SkipUtilNextCommand(int bOneBlock) {
  SkipToBrace(bOneBlock == 1 ? kEndsAtOwnBrace : kEndsAtNoBrace);
  return 0;
}

int CMARCTree::SkipToParentCommand() {
  SkipToBrace(kEndsAtParentsBrace);
  return 0;
}

// Moves to the next block word, or behind the closing brace that takes the depth below `end_depth`.
void CMARCTree::SkipToBrace(int end_depth) {
  int depth = 0;
  for (;;) {
    const int token_class = GetToken();
    if (nTok == karst::FINISHED) return;
    if (token_class != karst::COMMAND) continue;
    if (nTok == karst::kTokBegin) {
      m_CellStack.PushCell(m_pcurcell);
      ++depth;
    } else if (nTok == karst::kTokEnd) {
      if (!m_CellStack.CurStackCell()) halt("}多于{ ...");
      m_pcurcell = m_CellStack.PopCell();
      if (--depth < end_depth) return;
    } else if (IsBlockWord(nTok)) {
      PutBack();
      return;
    }
  }
}

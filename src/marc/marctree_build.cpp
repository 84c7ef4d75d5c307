// CMARCTree: building: the blocks of the loaded code as cells that record spans of it.
//
// m_CellStack holds one entry for each brace that is open: the cell in whose code it stands. A new cell becomes a
// child of the newest entry.
#include <cstring>
#include <new>

#include "marc/blocks.h"
#include "marc/marctree.h"
#include "marc/recordwalk.h"

namespace karst {
namespace {

// What the cells of a type are called, and how their building is refused.
struct CellWords {
  const char* name;  // of those that have no name in the code
  const char* no_memory;
  size_t kept = 0;  // how much of a name in the code a cell keeps
  const char* no_name = nullptr;
  const char* long_name = nullptr;
};

constexpr CellWords WordsOf(CellType type) {
  switch (type) {
    case kCellStart: return {"Root", "NewCell error"};
    case kCellRecord: return {"Recrd", "NewCell error"};
    case kCellGroup: return {"Group", "New Cell error"};
    case kCellField: return {"", "New Cell error", 4, "Field语句后应为字符串常量..."};
    case kCellSubField: return {"", "New Cell error", 3, "SubField语句后应为字符串常量..."};
    case kCellCommon:
      return {"", "New Cell error", kLongestBlockName, "COMMON语句后应为字符串常量...",
              "Common块的名字%s太长，应当在5字符以内"};
    case kCellChain:
      return {"", "New cell error", kLongestBlockName, "CHAIN语句后应为字符串常量...",
              "Chain命令的名字%s太长，应当在5字符以内"};
    default: return {"Final", "New Cell error"};
  }
}

void SetName(CCell* cell, const char* name, size_t kept) {
  std::memcpy(cell->szName, name, strnlen(name, kept));  // the rest of szName is NUL
}

class CellBuilder : public BlockGrammar<CellBuilder, CCell*> {
 public:
  explicit CellBuilder(CMARCTree& tree) : tree_(tree) {}

 private:
  friend BlockGrammar;

  void Read() { tree_.GetToken(); }
  void GiveBack() { tree_.PutBack(); }
  int Class() const { return tree_.nTokenType; }
  int Number() const { return tree_.nTok; }

  CCell* Add(CellType type) {
    const CellWords words = WordsOf(type);
    CCell* cell = new (std::nothrow) CCell(type);
    if (!cell) tree_.HaltForMemory(words.no_memory);
    SetName(cell, words.name, sizeof cell->szName - 1);
    tree_.JointToTree(cell);
    tree_.m_pcurcell = cell;
    return cell;
  }
  void Name(CCell* cell) {
    const CellWords words = WordsOf(static_cast<CellType>(cell->nType));
    if (words.long_name && std::strlen(tree_.szToken) > words.kept) tree_.halt(words.long_name, tree_.szToken);
    SetName(cell, tree_.szToken, words.kept);
  }
  void RefuseName(const CCell* cell) { tree_.halt("%s", WordsOf(static_cast<CellType>(cell->nType)).no_name); }
  void BeginPiece(CCell* cell) { cell->lpCode = tree_.lpProg; }
  void EndPiece(CCell* cell) { cell->nCodeLen = static_cast<int32_t>(tree_.lpProg - cell->lpCode); }

  void OpenBrace() { tree_.m_CellStack.PushCell(tree_.m_pcurcell); }
  bool CloseBrace() {
    if (!tree_.m_CellStack.CurStackCell()) tree_.halt("}多于{ ...");
    tree_.m_pcurcell = tree_.m_CellStack.PopCell();
    return true;
  }

  static void Dropped() {}
  bool IsInterrupted() const { return tree_.IsStop() != 0; }

  CMARCTree& tree_;
};

}  // namespace
}  // namespace karst

using karst::CellBuilder;

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
  CellBuilder builder(*this);
  builder.ReadRoot();
  if (!BeginUnlessStopped()) return 0;
  switch (builder.ReadBlocks()) {
    case karst::BlocksEnd::kInterrupted: return 0;
    case karst::BlocksEnd::kStopWord: return DoStop(0);
    case karst::BlocksEnd::kEndOfCode: break;
  }
  if (m_CellStack.CurStackCell()) halt("花括号{}不配对, { 多于 } !");
  m_bOldStyle = builder.RecordCount() == 0 ? 1 : 0;
  End();
  PrepareChainTarget();
  return 0;
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

int CMARCTree::MakeBlock(karst::CellType type) {
  CellBuilder(*this).ReadBlock(type);
  return 0;
}

int CMARCTree::DoRoot() {
  CellBuilder(*this).ReadRoot();
  return 0;
}

int CMARCTree::DoRecord() { return MakeBlock(karst::kCellRecord); }
int CMARCTree::DoField() { return MakeBlock(karst::kCellField); }
int CMARCTree::DoGroup() { return MakeBlock(karst::kCellGroup); }
int CMARCTree::DoSubField() { return MakeBlock(karst::kCellSubField); }
int CMARCTree::DoCommon() { return MakeBlock(karst::kCellCommon); }
int CMARCTree::DoChain() { return MakeBlock(karst::kCellChain); }
int CMARCTree::DoFinal() { return CellBuilder(*this).ReadFinal() ? 1 : 0; }

// The scans.

int CMARCTree::SkipUtilNextCommand(int bOneBlock) {
  CellBuilder(*this).Skip(bOneBlock == 1 ? karst::kEndsAtOwnBrace : karst::kEndsAtNoBrace);
  return 0;
}

int CMARCTree::SkipToParentCommand() {
  CellBuilder(*this).Skip(karst::kEndsAtParentsBrace);
  return 0;
}

// Diagnostics: the tree and the pieces, on the host's output or in a file.
#include <algorithm>
#include <array>
#include <new>

#include "marc/marctree.h"
#include "platform/files.h"

namespace {

constexpr int kIndentPerLevel = 8;
constexpr int kLongestPieceShown = 4000;
// LIMIT: the indent of a listing's line ends here; the line itself is cut at the limit of a host message.
constexpr int kIndentMemory = 60000;

const char* TypeWord(int32_t type) {
  static constexpr std::array kWords = {"", "Start", "Final", "Field", "SubField", "Common", "Chain", "Root", "Record"};
  return type >= 0 && type < static_cast<int32_t>(kWords.size()) ? kWords[static_cast<size_t>(type)] : "";
}

int LevelOf(const CCell* cell) {
  int level = 0;
  while ((cell = cell->pParent)) ++level;
  return level;
}

}  // namespace

int CMARCTree::DumpMARCTree() {
  MustBeTold(eprintf("\r\n*********** dump MARC Tree ******************"));
  if (!m_pheadcell) {
    eprintf("\r\nMARC TREE not initialized ...");
    return -1;
  }
  const std::unique_ptr<char[]> indent(new (std::nothrow) char[kIndentMemory]);
  if (!indent) {
    eprintf("\r\n malloc(60000) error");
    return -1;
  }
  int count = 0;
  for (const CCell* cell = m_pheadcell; cell && !IsStop(); cell = karst::NextInTree(cell)) {
    const int level = LevelOf(cell);
    const int blanks = std::min(level, (kIndentMemory - 1) / kIndentPerLevel) * kIndentPerLevel;
    indent[static_cast<size_t>(std::fill_n(indent.get(), blanks, ' ') - indent.get())] = 0;
    MustBeTold(
        eprintf("\r\n %s %s \"%s\"                层[%d] ", indent.get(), TypeWord(cell->nType), cell->szName, level));
    MustBeTold(eprintf(" codelen[%d]", cell->nCodeLen));
    ++count;
  }
  MustBeTold(eprintf("\r\n****** end of dump . cell count[%d]********", count));
  return 0;
}

int CMARCTree::DumpPicesCode(CCell* cell) try {
  if (!cell) return -1;
  const CString shown(cell->lpCode, static_cast<size_t>(std::clamp(cell->nCodeLen, 0, kLongestPieceShown)));
  MustBeTold(eprintf("\r\n******** dump pices code begin *******"));
  MustBeTold(eprintf("\r\ncode[%s]", shown.c_str()));
  MustBeTold(eprintf("\r\n******** dump pices code end *******"));
  return 0;
} catch (const std::bad_alloc&) {
  return -1;
}

int CMARCTree::DumpPicesCode(CCell* cell, const char* lpszFileName) try {
  if (!cell || !lpszFileName) return -1;
  if (cell->nCodeLen <= 0) return 0;
  karst::DeleteFile(lpszFileName);
  return DumpCode(lpszFileName, cell->lpCode, cell->nCodeLen);
} catch (const std::bad_alloc&) {
  HaltForMemory(kNoDumpMemory);
}

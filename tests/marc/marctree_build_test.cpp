// The building of a tree: pieces byte by byte, links, Common blocks, and building again.
#include <gtest/gtest.h>

#include "marc/marctree.h"
#include "support/filter_bench.h"
#include "support/readable.h"
#include "support/temp_folder.h"
#include "support/whole_files.h"

namespace karst::testing {
namespace {

std::string PieceOf(const CCell* cell) {
  return cell ? std::string(cell->lpCode, static_cast<size_t>(cell->nCodeLen)) : "none";
}

// The tree with its pieces: "type name [piece](children)"; "?" after a cell whose links do not fit its place.
std::string Describe(const CCell* cell, const CCell* parent = nullptr) {
  std::string text;
  for (const CCell* prev = nullptr; cell; prev = cell, cell = cell->pNext) {
    if (!text.empty()) text += ' ';
    text += std::to_string(cell->nType) + " " + cell->szName;
    if (cell->lpCode) text += " [" + PieceOf(cell) + "]";
    if (const CCell* child = FirstChildInTree(cell)) text += "(" + Describe(child, cell) + ")";
    const bool is_last = cell->pNext || !parent || parent->pLastChild == cell;
    if (cell->pPrev != prev || cell->pParent != parent || cell->nDupCount != 0 || !is_last) text += "?";
  }
  return text;
}

TEST(BuildMARCTree, CutsTheCodeIntoPieces) {
  const struct {
    const char* source;
    const char* tree;
    int old_style;
  } cases[] = {
      {"", "1 Root [] 2 Final []", 1},
      // A block word has been read once when its block is made: it stands in number form, and its blanks are the
      // piece's.
      {"Record", "1 Root [] 8 Recrd [   ]", 0},
      {"Start{ x=1}\nRecord{\n}", "1 Root [`18  { x=1}\n] 8 Recrd [   {\n}] 2 Final []", 0},
      {"Field  \"2**\"{a=1 SubField\t\"a\"{b=2}\n}\n ", "1 Root [] 3 2** [{a=1 ](4 a [{b=2}] 2 Final [}]) 2 Final []",
       1},
      // A word right after a closing brace is read for the first time.
      {"Record{\n}Record{\n}", "1 Root [] 8 Recrd [   {\n}] 8 Recrd [{\n}] 2 Final []", 0},
      // Blank lines make no cells; what follows Final on its line is the piece.
      {"Record{\n}\n\n  \nField \"x\"{\n}\nFinal {\nx=1\n}y=2",
       "1 Root [] 8 Recrd [   {\n}] 3 x [{\n}] 2 Final [`19   {\nx=1\n}y=2]", 0},
      // A Final cell that opens a brace of its own is the parent of a block inside it.
      {"Record{\n}\n{ Field \"x\" {\n}\n}",
       "1 Root [] 8 Recrd [   {\n}] 2 Final [{ ](3 x [ {\n}] 2 Final [}]) 2 Final []", 0},
      // A block without braces ends at the brace of the block around it.
      {"Record{\nField \"x\" a=1\n}", "1 Root [] 8 Recrd [   {\n](3 x [ a=1\n}]) 2 Final []", 0},
      {"Common \"c\"{\n}\nChain \"c\"\nChain \"c\"", "1 Root [] 5 c [{\n}] 6 c 6 c 2 Final []", 1},
      {"Record{\nGroup{\n}\n}", "1 Root [] 8 Recrd [   {\n](9 Group [  {\n}] 2 Final [}]) 2 Final []", 0},
      // The words are known by their numbers too.
      {"`26{\n`20 \"x\"{\n`11\n}", "1 Root [] 8 Recrd [{\n](3 x [{\n`11] 2 Final [}]) 2 Final []", 0},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.source);
    FilterBench bench;
    ASSERT_EQ(bench.Build(each.source), 0);
    const std::string tree = Describe(bench.tree.m_pheadcell);
    EXPECT_EQ(tree, CrLf(each.tree));
    EXPECT_EQ(bench.tree.m_ptailcell->pNext, nullptr);
    EXPECT_EQ(bench.tree.m_bOldStyle, each.old_style);
    // A second building goes over words that all stand in number form.
    ASSERT_EQ(bench.tree.BuildMARCTree(), 0);
    const auto without_blanks = [](std::string text) { return std::erase(text, ' '), text; };
    EXPECT_EQ(without_blanks(Describe(bench.tree.m_pheadcell)), without_blanks(tree));
  }
}

TEST(BuildMARCTree, NeedsCodeAndLeavesNothingBehindWhenItIsRefused) {
  FilterBench bench;
  EXPECT_EQ(bench.tree.BuildMARCTree(), -1);
  EXPECT_EQ(bench.Output(), "\r\n.flt代码尚未装入... ");
  for (const auto call :
       {&CMARCTree::FreeAllCellOnTree, &CMARCTree::ClearAllDupCountOnTree, &CMARCTree::DumpMARCTree}) {
    EXPECT_EQ((bench.tree.*call)(), -1);
  }
  bench.Build("Record {\nField \"200\" {\n}\n}");
  EXPECT_THROW(bench.Build("Field \"200\" {\n{\nChain \"x\"\n"), CError);
  ASSERT_EQ(bench.Build("Field \"300\" {\n}"), 0);
  EXPECT_EQ(Describe(bench.tree.m_pheadcell), "1 Root [] 3 300 [ {\r\n}] 2 Final []");
  EXPECT_EQ(bench.tree.FreeAllCellOnTree(), 0);
  EXPECT_EQ(bench.tree.m_ptailcell, nullptr);
}

TEST(FindCommon, WalksBackwardsAndIntoEverythingButCommonBlocks) {
  FilterBench bench(
      "Common \"top\" {\nCommon \"in\" {\n}\n}\n"
      "Record {\nCommon \"deep\" {\n}\nField \"x\" {\nCommon \"twice\" { a=1\n}\nCommon \"twice\" { a=2\n}\n}\n}\n"
      "Field \"y\" {\nChain \"deep\"\n}\n");
  const std::pair<const char*, const char*> cases[] = {{"top", " {\r\n"},        {"in", "none"},  {"deep", " {\r\n}"},
                                                       {"twice", " { a=2\r\n}"}, {"Top", "none"}, {"to", "none"}};
  for (const auto& [name, piece] : cases) EXPECT_EQ(PieceOf(bench.tree.FindCommon(name)), piece) << name;
  EXPECT_EQ(bench.tree.m_ptailcell->pPrev->pFirstChild->pFirstChild, bench.tree.FindCommon("deep"));
  bench.tree.Stop();
  EXPECT_EQ(bench.tree.FindCommon("top"), nullptr);
}

TEST(RunPicesCode, RefusesPiecesOfCodeThatIsNoLongerLoadedAndTakesTheEndLimitAway) {
  FilterBench bench("a = 1\nRecord {\n}\n");
  EXPECT_THROW(bench.tree.RunPicesCode(bench.tree.m_pheadcell), CError);
  EXPECT_EQ(bench.tree.lpProgEnd, nullptr);
  ASSERT_EQ(bench.Build("Record {\n}\n"), 0);
  bench.Load("int a\n");
  EXPECT_THROW(bench.tree.RunPicesCode(bench.tree.m_pheadcell->pNext), CError);
  ASSERT_EQ(bench.tree.BuildMARCTree(), 0);
  EXPECT_EQ(bench.tree.RunPicesCode(bench.tree.m_pheadcell), 0);
}

TEST(DumpPicesCode, ShowsAPieceAndWritesItInReadableForm) {
  const TempFolder folder;
  FilterBench bench("Record {\nprintf(\"a\\\"b\")\nx = \"\"\n}\n");
  WriteWhole("piece.txt", "something much longer than the piece that is going to take its place here");
  EXPECT_EQ(bench.tree.DumpPicesCode(bench.tree.m_pheadcell->pNext, "piece.txt"), 0);
  EXPECT_EQ(ReadWhole("piece.txt"), "    {\r\nprintf(\"a\"b\")\r\nx = \"\"\r\n}");
  EXPECT_EQ(bench.tree.DumpPicesCode(nullptr, "none.txt"), -1);
  EXPECT_EQ(bench.tree.DumpPicesCode(bench.tree.m_pheadcell), 0);
  EXPECT_EQ(bench.Output(),
            "\r\n******** dump pices code begin *******\r\ncode[]\r\n******** dump pices code end *******");
}

}  // namespace
}  // namespace karst::testing

// The building of a tree: pieces byte by byte, links, Common blocks, and building again.
#include <gtest/gtest.h>

#include <fstream>

#include "marc/marctree.h"
#include "support/filter_bench.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

// The tree with its pieces: "type name [piece](children)".
std::string Describe(const CCell* cell) {
  std::string text;
  for (; cell; cell = cell->pNext) {
    if (!text.empty()) text += ' ';
    text += std::to_string(cell->nType) + " " + cell->szName;
    if (cell->lpCode) text += " [" + std::string(cell->lpCode, static_cast<size_t>(cell->nCodeLen)) + "]";
    if (const CCell* child = FirstChildInTree(cell)) text += "(" + Describe(child) + ")";
  }
  return text;
}

std::string WithoutBlanks(std::string text) {
  std::erase(text, ' ');
  return text;
}

// True if every link of the tree has its counterpart.
bool LinksAgree(const CCell* first, const CCell* last, const CCell* parent) {
  const CCell* prev = nullptr;
  for (const CCell* cell = first; cell; prev = cell, cell = cell->pNext) {
    if (cell->pPrev != prev || cell->pParent != parent || cell->nDupCount != 0) return false;
    if (cell->nType == kCellChain) continue;
    if (!LinksAgree(cell->pFirstChild, cell->pLastChild, cell)) return false;
  }
  return last == prev;
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
      {"Start{ x=1}\nRecord{\n}", "1 Root [`18  { x=1}\r\n] 8 Recrd [   {\r\n}] 2 Final []", 0},
      {"Field  \"2**\"{a=1 SubField\t\"a\"{b=2}\n}\n ", "1 Root [] 3 2** [{a=1 ](4 a [{b=2}] 2 Final [}]) 2 Final []",
       1},
      // A word right behind a closing brace is read for the first time.
      {"Record{\n}Record{\n}", "1 Root [] 8 Recrd [   {\r\n}] 8 Recrd [{\r\n}] 2 Final []", 0},
      // Blank lines make no cells; what follows Final on its line is the piece.
      {"Record{\n}\n\n  \nField \"x\"{\n}\nFinal {\nx=1\n}y=2",
       "1 Root [] 8 Recrd [   {\r\n}] 3 x [{\r\n}] 2 Final [`19   {\r\nx=1\r\n}y=2]", 0},
      // A Final cell that opens a brace of its own is the parent of a block inside it.
      {"Record{\n}\n{ Field \"x\" {\n}\n}",
       "1 Root [] 8 Recrd [   {\r\n}] 2 Final [{ ](3 x [ {\r\n}] 2 Final [}]) 2 Final []", 0},
      // A block without braces ends at the brace of the block around it.
      {"Record{\nField \"x\" a=1\n}", "1 Root [] 8 Recrd [   {\r\n](3 x [ a=1\r\n}]) 2 Final []", 0},
      {"Common \"c\"{\n}\nChain \"c\"\nChain \"c\"", "1 Root [] 5 c [{\r\n}] 6 c 6 c 2 Final []", 1},
      {"Record{\nGroup{\n}\n}", "1 Root [] 8 Recrd [   {\r\n](9 Group [  {\r\n}] 2 Final [}]) 2 Final []", 0},
      // The words are known by their numbers too.
      {"`26{\n`20 \"x\"{\n`11\n}", "1 Root [] 8 Recrd [{\r\n](3 x [{\r\n`11] 2 Final [}]) 2 Final []", 0},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.source);
    FilterBench bench;
    ASSERT_EQ(bench.Build(each.source), 0);
    EXPECT_EQ(Describe(bench.tree.m_pheadcell), each.tree);
    EXPECT_TRUE(LinksAgree(bench.tree.m_pheadcell, bench.tree.m_ptailcell, nullptr));
    EXPECT_EQ(bench.tree.m_bOldStyle, each.old_style);
    // A second building goes over words that all stand in number form.
    const std::string first = Describe(bench.tree.m_pheadcell);
    ASSERT_EQ(bench.tree.BuildMARCTree(), 0);
    EXPECT_TRUE(LinksAgree(bench.tree.m_pheadcell, bench.tree.m_ptailcell, nullptr));
    EXPECT_EQ(WithoutBlanks(Describe(bench.tree.m_pheadcell)), WithoutBlanks(first));
  }
}

TEST(BuildMARCTree, NeedsCode) {
  FilterBench bench;
  EXPECT_EQ(bench.tree.BuildMARCTree(), -1);
  EXPECT_EQ(bench.Output(), "\r\n.flt代码尚未装入... ");
  EXPECT_EQ(bench.tree.FreeAllCellOnTree(), -1);
  EXPECT_EQ(bench.tree.ClearAllDupCountOnTree(), -1);
  EXPECT_EQ(bench.tree.DumpMARCTree(), -1);
}

TEST(BuildMARCTree, LeavesNothingBehindWhenItIsRefused) {
  FilterBench bench("Record {\nField \"200\" {\n}\n}");
  EXPECT_THROW(bench.Build("Field \"200\" {\n{\nChain \"x\"\n"), CError);
  ASSERT_EQ(bench.Build("Field \"300\" {\n}"), 0);
  EXPECT_EQ(Describe(bench.tree.m_pheadcell), "1 Root [] 3 300 [ {\r\n}] 2 Final []");
  EXPECT_EQ(bench.tree.FreeAllCellOnTree(), 0);
  EXPECT_EQ(bench.tree.m_ptailcell, nullptr);
  EXPECT_EQ(bench.tree.m_bOldStyle, 0);
}

TEST(FindCommon, WalksBackwardsAndIntoEverythingButCommonBlocks) {
  FilterBench bench(
      "Common \"top\" {\nCommon \"in\" {\n}\n}\n"
      "Record {\nCommon \"deep\" {\n}\nField \"x\" {\nCommon \"twice\" { a=1\n}\nCommon \"twice\" { a=2\n}\n}\n}\n"
      "Field \"y\" {\nChain \"deep\"\n}\n");
  const auto piece_of = [&](const char* name) {
    const CCell* cell = bench.tree.FindCommon(name);
    return cell ? std::string(cell->lpCode, static_cast<size_t>(cell->nCodeLen)) : "none";
  };
  EXPECT_EQ(piece_of("top"), " {\r\n");
  EXPECT_EQ(piece_of("in"), "none");
  EXPECT_EQ(piece_of("deep"), " {\r\n}");
  EXPECT_EQ(piece_of("twice"), " { a=2\r\n}");
  EXPECT_EQ(piece_of("Top"), "none");
  EXPECT_EQ(piece_of("to"), "none");
  const CCell* chain = bench.tree.m_ptailcell->pPrev->pFirstChild;
  ASSERT_TRUE(IsCell(chain, kCellChain));
  EXPECT_EQ(chain->pFirstChild, bench.tree.FindCommon("deep"));
  bench.tree.Stop();
  EXPECT_EQ(piece_of("top"), "none");
}

TEST(RunPicesCode, RefusesPiecesOfCodeThatIsNoLongerLoaded) {
  const TempFolder folder;
  std::ofstream("a.flt") << "Record {\r\n}\r\n";
  std::ofstream("b.flt") << "int a\r\n";
  FilterBench bench;
  ASSERT_GT(bench.tree.ReadCodeFromFile("a.flt", 0), 0);
  ASSERT_EQ(bench.tree.BuildMARCTree(), 0);
  ASSERT_EQ(bench.tree.RunWholeTree("a.flt"), 0);
  ASSERT_GT(bench.tree.ReadCodeFromFile("b.flt", 0), 0);
  EXPECT_THROW(bench.tree.RunPicesCode(bench.tree.m_pheadcell->pNext), CError);
  ASSERT_EQ(bench.tree.BuildMARCTree(), 0);
  EXPECT_EQ(bench.tree.RunPicesCode(bench.tree.m_pheadcell), 0);
}

TEST(RunPicesCode, TakesTheEndLimitAwayAfterAnError) {
  FilterBench bench("a = 1\nRecord {\n}\n");
  EXPECT_THROW(bench.tree.RunPicesCode(bench.tree.m_pheadcell), CError);
  EXPECT_EQ(bench.tree.lpProgEnd, nullptr);
  EXPECT_EQ(bench.tree.BuildMARCTree(), 0);
}

TEST(DumpPicesCode, ShowsAPieceAndWritesItInReadableForm) {
  const TempFolder folder;
  FilterBench bench("Record {\nprintf(\"a\\\"b\")\nx = \"\"\n}\n");
  CCell* record = bench.tree.m_pheadcell->pNext;
  std::ofstream("piece.txt") << "something much longer than the piece that is going to take its place here";
  EXPECT_EQ(bench.tree.DumpPicesCode(record, "piece.txt"), 0);
  std::ifstream file("piece.txt", std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  EXPECT_EQ(bytes, "    {\r\nprintf(\"a\"b\")\r\nx = \"\"\r\n}");
  EXPECT_EQ(bench.tree.DumpPicesCode(nullptr, "none.txt"), -1);
  EXPECT_EQ(bench.tree.DumpPicesCode(nullptr), -1);
  EXPECT_EQ(bench.tree.DumpPicesCode(bench.tree.m_pheadcell), 0);
  EXPECT_EQ(bench.Output(),
            "\r\n******** dump pices code begin *******\r\ncode[]\r\n******** dump pices code end *******");
}

TEST(DumpMARCTree, CutsALineThatTheIndentMakesTooLong) {
  std::string source;
  for (int i = 0; i < 150; ++i) source += "Field \"" + std::to_string(100 + i) + "\" {\n";
  for (int i = 0; i < 150; ++i) source += "}\n";
  FilterBench bench(source);
  EXPECT_EQ(bench.tree.DumpMARCTree(), 0);
  const std::string output = bench.Output();
  EXPECT_NE(output.find("\r\n " + std::string(8 * 120, ' ') + " Field \"220\""), output.npos);
  // The last of the 150 stands at level 149; 1,024 bytes of its line pass, and that is the indent alone.
  EXPECT_NE(output.find("\r\n" + std::string(1022, ' ') + " codelen["), output.npos);
  EXPECT_EQ(output.find("\"249\""), output.npos);
}

}  // namespace
}  // namespace karst::testing

// The walk over one record as a host sees it: the operations on single texts, long texts, match counts, stop requests.
#include <gtest/gtest.h>

#include "marc/marctree.h"
#include "marc/recordwalk.h"
#include "support/fake_stream.h"
#include "support/filter_bench.h"

namespace karst::testing {
namespace {

int CellCount(const CMARCTree& tree) { return static_cast<int>(tree.m_Cells.size()); }

std::string TextOf(CMARCTree& tree, const char* name) {
  CString text;
  return tree.GetVarString(name, text) == 0 ? std::string(text.view()) : "(none)";
}

TEST(Mymemcmp, ComparesUpToTheFirstDifference) {
  CMARCTree tree;
  EXPECT_EQ(tree.mymemcmp("200", "200", 3), 0);
  EXPECT_EQ(tree.mymemcmp("2*0", "290", 3), 0);
  EXPECT_EQ(tree.mymemcmp("29x", "*9*", 3), 0);
  EXPECT_EQ(tree.mymemcmp("201", "209", 3), -8);
  EXPECT_EQ(tree.mymemcmp("209", "201", 2), 0);
  EXPECT_EQ(tree.mymemcmp("\xB0", "A", 1), static_cast<signed char>(0xB0) - 'A');
}

TEST(EnvironmentFrames, HoldTheirVariablesInOrder) {
  CMARCTree tree;
  tree.m_nRecordCount = 4;
  EXPECT_EQ(tree.InitialRecordVars("rec"), 0);
  EXPECT_EQ(tree.InitialMiddleVars(), 0);
  EXPECT_EQ(tree.InitialFieldVars(), 0);
  EXPECT_EQ(tree.InitialGroupVars(), 0);
  EXPECT_EQ(tree.InitialSubFieldVars(), 0);
  EXPECT_EQ(tree.InitialEnvVars(), 0);
  std::string names;
  for (const CVarCell* cell : tree.m_Cells) {
    names += std::string(cell->name.view()) + (cell->leixing == kInt ? "# " : cell->leixing == kText ? "$ " : " ");
  }
  EXPECT_EQ(names,
            "begin _RECORD$ _RECORDCOUNT# begin _FIELDCOUNT# _PREVFIELDNAME$ _NEXTFIELDNAME$ "
            "begin _FIELD$ _INDICATOR$ _FIELDNAME$ _FIELDDUP# _PREVSUBFIELDNAME$ begin _GROUP$ _GROUPCOUNT# _GROUPDUP# "
            "begin _SUBFIELDNAME$ _SUBFIELD$ _SUBFIELDDUP# _SUBFIELDCOUNT# "
            "begin _FIELD$ _INDICATOR$ _FIELDNAME$ _PREVFIELDNAME$ _NEXTFIELDNAME$ _FIELDDUP# _SUBFIELDNAME$ "
            "_SUBFIELD$ _PREVSUBFIELDNAME$ _SUBFIELDDUP# ");
  EXPECT_EQ(TextOf(tree, "_RECORD"), "rec");
  EXPECT_EQ(tree.SearchVar("_RECORDCOUNT")->lVal, 4);
  EXPECT_EQ(tree.EndEnvVars() + tree.EndSubFieldVars() + tree.EndGroupVars() + tree.EndFieldVars(), 0);
  EXPECT_EQ(tree.EndMiddleVars() + tree.EndRecordVars(), 0);
  EXPECT_EQ(CellCount(tree), 0);
  EXPECT_THROW(tree.EndRecordVars(), CError);
}

// The tree's first Field cell, at top level behind the Root cell.
CCell* FieldCell(FilterBench& bench) { return bench.tree.m_pheadcell->pNext; }

TEST(ProceedAField, TakesTheLengthAtItsWord) {
  FilterBench bench(
      "Field \"***\" {\nprintf(\"%s i[%s] f[%s] <%s >%s.\", _FIELDNAME, _INDICATOR, _FIELD, "
      "_PREVFIELDNAME, _NEXTFIELDNAME)\n}\n");
  char prev[4] = "100";
  bench.tree.InitialMiddleVars();
  EXPECT_EQ(bench.tree.ProceedAField("20012abc", 8, FieldCell(bench), "300", prev), 0);
  EXPECT_STREQ(prev, "200");
  EXPECT_EQ(bench.tree.ProceedAField("20112abc", 2, FieldCell(bench), nullptr, prev), 0);
  EXPECT_EQ(bench.tree.ProceedAField("20212abc", 4, FieldCell(bench), "", prev), 0);
  EXPECT_EQ(bench.tree.ProceedAField("2", 50, FieldCell(bench), "", prev), 0);
  EXPECT_EQ(bench.tree.ProceedAField("00", 50, FieldCell(bench), "", nullptr), 0);
  EXPECT_EQ(bench.Output(),
            "200 i[12] f[abc] <100 >300.201 i[] f[] <200 >300.202 i[] f[] <201 >.2 i[] f[] <202 >.00 i[] f[] < >.");
  EXPECT_EQ(FieldCell(bench)->nDupCount, 5);
  bench.tree.EndMiddleVars();
  EXPECT_EQ(CellCount(bench.tree), 0);
}

TEST(ProceedAField, KeepsTheOldTagOnFailureAndGivesTheNewOneAfterABreak) {
  FilterBench bench("Field \"***\" {\n{\nif _FIELDNAME == \"200\" break\nstop -1\n}\n}\n");
  bench.tree.InitialMiddleVars();
  const int cells = CellCount(bench.tree);
  char prev[4] = "100";
  EXPECT_EQ(bench.tree.ProceedAField("200  x", 6, FieldCell(bench), "", prev), 1);
  EXPECT_STREQ(prev, "200");
  EXPECT_EQ(bench.tree.ProceedAField("300  x", 6, FieldCell(bench), "", prev), -1);
  EXPECT_STREQ(prev, "200");
  EXPECT_EQ(CellCount(bench.tree), cells);
}

TEST(ProceedAField, ClosesWhatAStoppedPieceLeftOpen) {
  FilterBench bench("Field \"200\" {\n{\n{\nfnprintf(\"x\", \"\")\n}\n}\n}\n");
  bench.tree.OnNamedOutput([&](const NamedText&) { return bench.tree.Stop(); });
  bench.tree.InitialMiddleVars();
  const int cells = CellCount(bench.tree);
  bench.tree.ProceedAField("200  x", 6, FieldCell(bench), "", nullptr);
  EXPECT_TRUE(bench.tree.IsStop());
  EXPECT_EQ(CellCount(bench.tree), cells);
}

TEST(ProceedHeader, LeavesTheNextNameWhereNoneIsGiven) {
  FilterBench bench(
      "Field \"hdr\" {\nprintf(\"%s [%s] %d <%s >%s.\", _FIELDNAME, _FIELD, _FIELDDUP, _PREVFIELDNAME, "
      "_NEXTFIELDNAME)\n}\n");
  bench.tree.InitialMiddleVars();
  bench.tree.ChangeVarValue("_NEXTFIELDNAME", "old");
  EXPECT_EQ(bench.tree.ProceedHeader("header", FieldCell(bench), nullptr), 0);
  EXPECT_EQ(bench.tree.ProceedHeader("again", FieldCell(bench), "001"), 0);
  EXPECT_EQ(bench.Output(), "hdr [header] 1 < >old.hdr [again] 2 < >001.");
}

TEST(RecordWalk, RefusesWhatIsNotTheRightKindOfCell) {
  FilterBench bench("Field \"200\" {\n}\n");
  CCell* root = bench.tree.m_pheadcell;
  EXPECT_EQ(bench.tree.RunPicesCode(nullptr), -1);
  EXPECT_EQ(bench.tree.RunMiddleTree("", 0, nullptr), -1);
  EXPECT_EQ(bench.tree.RunMiddleTree("", 0, root), -1);
  EXPECT_EQ(bench.tree.ProceedAllSubfield("", nullptr), -1);
  EXPECT_EQ(bench.tree.ProceedAllSubfield("", root), -1);
  EXPECT_EQ(bench.tree.RunGroup("", nullptr), -1);
  EXPECT_EQ(bench.tree.RunCommonTree("", nullptr), -1);
  EXPECT_EQ(bench.tree.RunRootFinal(nullptr), -1);
  EXPECT_EQ(CellCount(bench.tree), 0);
  EXPECT_EQ(bench.tree.RunMiddleTree(nullptr, 0, FieldCell(bench)), 0);
}

TEST(RecordWalk, TakesFieldsThatAreTooShortForTheirParts) {
  FilterBench bench(
      "Record {\nField \"***\" {\nif _FIELDNAME == \"hdr\" break\n"
      "printf(\"%s i[%s] f[%s].\", _FIELDNAME, _INDICATOR, _FIELD)\n}\n}\n");
  FakeStream stream({Record({"2001", "20012", "200", "00", "", "001", "-0", "20012$a"})});
  EXPECT_EQ(bench.tree.RunMARCTree(&stream), 0);
  EXPECT_EQ(bench.Output(),
            "200 i[] f[].200 i[12] f[].200 i[] f[].00 i[] f[]. i[] f[].001 i[] f[].-0 i[] f[].200 i[12] f[\x1f"
            "a].");
}

TEST(RecordWalk, GivesTheGroupsThatTheLibraryGives) {
  FilterBench bench("Group {\nprintf(\"[%s]\", _GROUP)\n}\n");
  for (const char* text : {"", "no mark",
                           "200  \x1f"
                           "aA\x1f"
                           "bB\x1f"
                           "aC",
                           "\x1f\x1f\x1f"
                           "a",
                           "x\x1f"
                           "aA\x1e"
                           "\x1f"
                           "aB",
                           "\x1f"
                           "bB\x1f"
                           "aA\x1f"
                           "b",
                           "\x1f\xB0\xA1\x1f\xB0\xA2\x1f"
                           "a"}) {
    std::string expected;
    char group[100];
    for (int i = 0; MARC_GetGroup(text, i, group, sizeof group, nullptr) != -1; ++i) {
      expected += "[" + std::string(group) + "]";
    }
    const size_t before = bench.Output().size();
    EXPECT_EQ(bench.tree.RunGroup(text, FieldCell(bench)), 0);
    EXPECT_EQ(bench.Output().substr(before), expected);
    EXPECT_EQ(FieldCell(bench)->nDupCount, 0);
  }
}

TEST(RecordWalk, CutsLongTextsAtAWholeCharacter) {
  const struct {
    size_t ahead;     // single bytes, behind them double-byte characters
    size_t expected;  // bytes of the field that are given
  } cases[] = {{99999 - 5, 99999}, {99999 - 6, 99998}, {99999 - 7, 99999}, {150000, 99999}};
  FilterBench bench("Record {\nField \"200\" {\nfield = _FIELD\nSubField \"a\" {\nsubfield = _SUBFIELD\n}\n}\n}\n");
  bench.tree.CreateNewVar("field", "");
  bench.tree.CreateNewVar("subfield", "");
  for (const auto& each : cases) {
    std::string field = "200  " + std::string(each.ahead, 'x') + "\xB0\xA1\xB0\xA1";
    const std::string given = field.substr(5, each.expected - 5);
    FakeStream plain({Record({field})});
    ASSERT_EQ(bench.tree.RunMARCTree(&plain), 0);
    EXPECT_TRUE(TextOf(bench.tree, "field") == given) << each.ahead;
    field.replace(5, 2, "$a");
    FakeStream marked({Record({field})});
    ASSERT_EQ(bench.tree.RunMARCTree(&marked), 0);
    EXPECT_TRUE(TextOf(bench.tree, "subfield") == given.substr(2)) << each.ahead;
  }
}

// Fields without code take a short way through the walk. The same code behind a pattern that matches everything takes
// the long way, and must see the same.
TEST(RecordWalk, ShowsTheSamePlacesOnTheShortWayAndTheLong) {
  const std::string shown =
      "printf(\"%s %d <%s >%s [%s]\", _FIELDNAME, _FIELDCOUNT, _PREVFIELDNAME, _NEXTFIELDNAME, _FIELD)\n";
  FilterBench short_way("Record {\nField \"3**\" {\n" + shown + "}\n}\n");
  FilterBench long_way("Record {\nField \"***\" {\n}\nField \"3**\" {\n" + shown + "}\n}\n");
  unsigned seed = 7;
  for (int round = 0; round < 200; ++round) {
    std::string record = Record({});
    for (seed = seed * 1664525 + 1013904223; seed % 7 != 0; seed = seed * 1664525 + 1013904223) {
      record.insert(24, std::to_string(1 + seed / 64 % 5) + "0" + std::to_string(seed / 4096 % 10) + "  data\x1e");
    }
    FakeStream first({record, record});
    FakeStream second({record, record});
    short_way.tree.RunMARCTree(&first);
    long_way.tree.RunMARCTree(&second);
  }
  EXPECT_EQ(short_way.Output(), long_way.Output());
  EXPECT_GT(short_way.Output().size(), 1000u);
}

// With the table nearly full a frame for a field is refused, also for a field that no cell matches.
TEST(RecordWalk, RefusesAFrameThatDoesNotFitWhetherOrNotCodeWouldRun) {
  for (const char* pattern : {"200", "300"}) {
    // The record's frame takes 3 cells, its brace 1, the middle frame 4, a field's 6.
    for (int room : {13, 14}) {
      FilterBench bench("Record {\nField \"" + std::string(pattern) + "\" {\n}\n}\n");
      bench.tree.hWnd = nullptr;
      while (CellCount(bench.tree) < CVarArray::kMostCells - room) {
        bench.tree.CreateNewVar(std::to_string(CellCount(bench.tree)).c_str(), 0);
      }
      FakeStream stream({Record({"200  x"})});
      if (room == 14) {
        EXPECT_EQ(bench.tree.RunMARCTree(&stream), 0) << pattern;
      } else {
        EXPECT_THROW(bench.tree.RunMARCTree(&stream), CError) << pattern;
        EXPECT_EQ(bench.tree.strError, "变量溢出");
      }
    }
  }
}

TEST(RecordWalk, BearsItsDeepestNesting) {
  FilterBench bench("int n\nRecord {\nField \"461\" {\nChain \"x\"\n}\n}\nCommon \"x\" {\nn = n + 1\nif n == " +
                    std::to_string(RecordWalk::kMostLevels - 1) +
                    " break\nChain \"x\"\n}\nFinal {\nprintf(\"%d\", n)\n}\n");
  FakeStream stream({Record({"461  $12001 $aA"})});
  EXPECT_EQ(bench.tree.RunMARCTree(&stream), 0);
  EXPECT_EQ(bench.Output(), std::to_string(RecordWalk::kMostLevels - 1));
}

// A run that an error ended leaves frames and counts behind; the next one starts with fresh counts.
TEST(RecordWalk, StartsAfreshAfterAnError) {
  FilterBench bench(
      "int fail\nfail = outer\nRecord {\nField \"200\" {\nSubField \"a\" {\nprintf(\"%d/%d \", _FIELDDUP, "
      "_SUBFIELDDUP)\nif fail == 1\n{\nfail = nothing\n}\n}\n}\n}\n");
  bench.tree.CreateNewVar("outer", 1);
  const std::string record = Record({"200  $aA$aB", "200  $aC"});
  FakeStream failing({record});
  EXPECT_THROW(bench.tree.RunMARCTree(&failing), CError);
  bench.tree.Stop();
  bench.tree.ClearSomeVars(1);
  bench.tree.m_nBeginCount = 0;
  bench.tree.ChangeVarValue("outer", 0);
  const size_t before = bench.Output().size();
  FakeStream stream({record});
  EXPECT_EQ(bench.tree.RunMARCTree(&stream), 0);
  EXPECT_EQ(bench.Output().substr(before), "1/1 1/2 2/1 ");
}

}  // namespace
}  // namespace karst::testing

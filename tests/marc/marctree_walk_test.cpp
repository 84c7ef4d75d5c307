// The walk over one record as a host sees it: the operations on single texts, long texts, match counts.
#include <gtest/gtest.h>

#include <random>

#include "marc/marctree.h"
#include "marc/recordwalk.h"
#include "support/fake_stream.h"
#include "support/filter_bench.h"
#include "support/readable.h"

namespace karst::testing {
namespace {

size_t CellCount(const FilterBench& bench) { return bench.tree.m_Cells.size(); }

// The tree's first Field cell, at top level after the Root cell.
CCell* FieldCell(FilterBench& bench) { return bench.tree.m_pheadcell->pNext; }

void Walk(FilterBench& bench, std::vector<std::string> records) {
  FakeStream stream(std::move(records));
  EXPECT_EQ(bench.tree.RunMARCTree(&stream), 0);
}

TEST(ProceedAField, TakesTheLengthAtItsWord) {
  FilterBench bench(
      "Field \"***\" {\nif _FIELDNAME == \"999\"\n{\nstop -1\n}\n"
      "printf(\"%s i[%s] f[%s] <%s >%s.\", _FIELDNAME, _INDICATOR, _FIELD, _PREVFIELDNAME, _NEXTFIELDNAME)\n"
      "if _FIELDNAME == \"998\" break\n}\n");
  bench.tree.InitialMiddleVars();
  char prev[4] = "100";
  const struct {
    const char* text;
    int length;
    const char* next;
    int result;
    const char* prev;
  } cases[] = {{"20012abc", 8, "300", 0, "200"}, {"20112abc", 2, nullptr, 0, "201"}, {"20212abc", 4, "", 0, "202"},
               {"998  x", 6, "", 1, "998"},      {"999  x", 6, "", -1, "998"},       {"2", 50, "", 0, "2"}};
  for (const auto& each : cases) {
    const size_t cells = CellCount(bench);
    EXPECT_EQ(bench.tree.ProceedAField(each.text, each.length, FieldCell(bench), each.next, prev), each.result);
    EXPECT_STREQ(prev, each.prev) << "the old tag stays on failure, and the new one after a break";
    EXPECT_EQ(CellCount(bench), cells);
  }
  EXPECT_EQ(bench.tree.ProceedAField("00", 50, FieldCell(bench), "", nullptr), 0);
  EXPECT_EQ(bench.Output(),
            "200 i[12] f[abc] <100 >300.201 i[] f[] <200 >300.202 i[] f[] <201 >.998 i[  ] f[x] <202 >."
            "2 i[] f[] <998 >.00 i[] f[] < >.");
  EXPECT_EQ(FieldCell(bench)->nDupCount, 7);
}

TEST(RecordWalk, TakesFieldsThatAreTooShortForTheirParts) {
  FilterBench bench(
      "Record {\nField \"***\" {\nif _FIELDNAME == \"hdr\" break\n"
      "printf(\"%s i[%s] f[%s].\", _FIELDNAME, _INDICATOR, _FIELD)\n}\n}\n");
  Walk(bench, {Record({"2001", "20012", "200", "00", "", "001", "-0", "20012$a"})});
  EXPECT_EQ(Readable(bench.Output()),
            "200 i[] f[].200 i[12] f[].200 i[] f[].00 i[] f[]. i[] f[].001 i[] f[].-0 i[] f[].200 i[12] f[$a].");
}

TEST(RecordWalk, GivesTheGroupsThatTheLibraryGives) {
  FilterBench bench("Group {\nprintf(\"[%s]\", _GROUP)\n}\n");
  for (const char* readable :
       {"", "no mark", "200  $aA$bB$aC", "$$$a", "x$aA^$aB", "$bB$aA$b", "$\xB0\xA1$\xB0\xA2$a"}) {
    const std::string text = Marked(readable);
    std::string expected = bench.Output();
    char group[100];
    for (int i = 0; MARC_GetGroup(text.c_str(), i, group, sizeof group, nullptr) != -1; ++i) {
      expected += "[" + std::string(group) + "]";
    }
    EXPECT_EQ(bench.tree.RunGroup(text.c_str(), FieldCell(bench)), 0);
    EXPECT_EQ(bench.Output(), expected);
  }
}

TEST(RecordWalk, CutsLongTextsAtAWholeCharacter) {
  FilterBench bench("Record {\nField \"200\" {\nfield = _FIELD\nSubField \"a\" {\nsubfield = _SUBFIELD\n}\n}\n}\n");
  for (const char* name : {"field", "subfield"}) bench.tree.CreateNewVar(name, "");
  // Single bytes, with double-byte characters after them; and bytes of the field that are given.
  const std::pair<size_t, size_t> cases[] = {
      {99999 - 5, 99999}, {99999 - 6, 99998}, {99999 - 7, 99999}, {150000, 99999}};
  for (const auto& [single, expected] : cases) {
    std::string field = "200  " + std::string(single, 'x') + "\xB0\xA1\xB0\xA1";
    const std::string given = field.substr(5, expected - 5);
    Walk(bench, {Record({field})});
    EXPECT_TRUE(bench.tree.SearchVar("field")->string->view() == given) << single;
    Walk(bench, {Record({field.replace(5, 2, "$a")})});
    EXPECT_TRUE(bench.tree.SearchVar("subfield")->string->view() == given.substr(2)) << single;
  }
}

// Fields without code take a short way through the walk. The same code after a pattern that matches everything takes
// the long way, and must see the same.
TEST(RecordWalk, ShowsTheSamePlacesOnTheShortWayAndTheLong) {
  const std::string shown =
      "Field \"3**\" {\nprintf(\"%s %d <%s >%s [%s]\", _FIELDNAME, _FIELDCOUNT, _PREVFIELDNAME, _NEXTFIELDNAME, "
      "_FIELD)\n}\n";
  FilterBench short_way("Record {\n" + shown + "}\n"), long_way("Record {\nField \"***\" {\n}\n" + shown + "}\n");
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    std::string record = Record({});
    while (random() % 7 != 0) {
      record.insert(24, std::to_string(1 + random() % 5) + "0" + std::to_string(random() % 10) + "  data\x1e");
    }
    for (FilterBench* bench : {&short_way, &long_way}) Walk(*bench, {record, record});
  }
  EXPECT_EQ(short_way.Output(), long_way.Output());
  EXPECT_GT(short_way.Output().size(), 1000u);
}

// With the table nearly full a frame for a field is refused, also for a field that no cell matches.
TEST(RecordWalk, RefusesAFrameThatDoesNotFitWhetherOrNotCodeWouldRun) {
  for (const char* pattern : {"200", "300"}) {
    // The record's frame takes 3 cells, its brace 1, the middle frame 4, a field's 6.
    for (size_t room : {13u, 14u}) {
      FilterBench bench("Record {\nField \"" + std::string(pattern) + "\" {\n}\n}\n");
      while (CellCount(bench) < CVarArray::kMostCells - room) {
        bench.tree.CreateNewVar(std::to_string(CellCount(bench)).c_str(), 0);
      }
      FakeStream stream({Record({"200  x"})});
      EXPECT_EQ(RefusalOf([&] { bench.tree.RunMARCTree(&stream); }), room == 14 ? "none" : "变量溢出") << pattern;
    }
  }
}

TEST(RecordWalk, BearsItsDeepestNesting) {
  const std::string most = std::to_string(RecordWalk::kMostLevels - 1);
  FilterBench bench("int n\nRecord {\nField \"461\" {\nChain \"x\"\n}\n}\nCommon \"x\" {\nn = n + 1\nif n == " + most +
                    " break\nChain \"x\"\n}\nFinal {\nprintf(\"%d\", n)\n}\n");
  Walk(bench, {Record({"461  $12001 $aA"})});
  EXPECT_EQ(bench.Output(), most);
}

// A run that an error ended leaves frames and counts; the next one starts with fresh counts.
TEST(RecordWalk, StartsAfreshAfterAnError) {
  FilterBench bench(
      "int fail\nfail = outer\nRecord {\nField \"200\" {\nSubField \"a\" {\nprintf(\"%d/%d \", _FIELDDUP, "
      "_SUBFIELDDUP)\nif fail == 1\n{\nfail = nothing\n}\n}\n}\n}\n");
  bench.tree.CreateNewVar("outer", 1);
  FakeStream failing({Record({"200  $aA$aB"})});
  EXPECT_THROW(bench.tree.RunMARCTree(&failing), CError);
  bench.tree.Stop();
  bench.tree.ClearSomeVars(1);
  bench.tree.m_nBeginCount = 0;
  bench.tree.ChangeVarValue("outer", 0);
  Walk(bench, {Record({"200  $aA$aB", "200  $aC"})});
  EXPECT_TRUE(bench.Output().ends_with("end **************1/1 1/2 2/1 ")) << bench.Output();
}

}  // namespace
}  // namespace karst::testing

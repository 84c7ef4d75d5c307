// CVarArray: what a host can do with the table that a script cannot, and what scripts only reach by way of calls.
#include "values/vararray.h"

#include <gtest/gtest.h>

#include "support/readable.h"

namespace karst::testing {
namespace {

// The names, oldest first, with their values.
std::string Table(const CVarArray& table) {
  std::string shown;
  for (const CVarCell* cell : table.m_Cells) {
    if (!shown.empty()) shown += ' ';
    shown += cell->name.c_str();
    if (cell->leixing == kInt) shown += '=' + std::to_string(cell->lVal);
    if (cell->leixing == kInt64) shown += '=' + std::to_string(cell->i64Val) + 'L';
    if (cell->leixing == kText) shown += '=' + std::string(cell->string->c_str());
  }
  return shown;
}

TEST(CVarArray, FindsTheNewestOfANameUntilItsFrameEnds) {
  CVarArray table;
  table.CreateNewVar("a", "outer");
  table.CreateBegin(1);
  table.CreateBegin(2);
  table.CreateNewVar("a", int32_t{2});
  table.CreateNewVar("b", int64_t{3});
  EXPECT_EQ(table.SearchVarPos("a"), 3);
  EXPECT_EQ(table.SearchVarPos("A"), -1);
  EXPECT_EQ(Table(table), "a=outer begin begin a=2 b=3L");
  EXPECT_EQ(table.ClearStackVars(), 0);
  EXPECT_EQ(table.ClearStackVars(), 1) << "a frame shows its flag";
  EXPECT_EQ(table.SearchVarPos("a"), 0);
  EXPECT_EQ(table.SearchVar("b"), nullptr);
  for (const int place : {-1, 1}) EXPECT_EQ(table.ClearSomeVars(place), -1);
  EXPECT_EQ(table.ClearSomeVars(0), 0);
  EXPECT_EQ(Table(table), "");
  EXPECT_EQ(RefusalOf([&] { table.ClearStackVars(); }), " END比BEGIN多!!111");
  ++table.m_nBeginCount;  // a call that is being made
  EXPECT_EQ(RefusalOf([&] { table.ClearStackVars(); }), " 变量表中BEGIN没有找到!!");
}

TEST(CVarArray, WritesThroughAChainOfDuplicates) {
  CVarArray table;
  table.CreateNewVar("text", "old");
  table.CreateNewVar("i", int32_t{1});
  ++table.m_nBeginCount;
  table.CreateNewVarDup("first", "text");
  table.CreateNewVarDup("second", "first");
  EXPECT_EQ(table.ReplaceString("new", table.SearchVar("second")), 0);
  // The other way a duplicate keeps its copy.
  table.ChangeVarValue("text", "newest");
  EXPECT_EQ(Table(table), "text=newest i=1 first=new second=new");
  // The new text may be the one that it replaces a part of.
  CVarCell* second = table.SearchVar("second");
  table.ReplaceString(second->string->view().substr(1), second);
  EXPECT_EQ(Table(table), "text=ew i=1 first=ew second=ew");

  table.CreateNewVarDup("dup", "i");
  CValue text("x", false);
  EXPECT_EQ(RefusalOf([&] { table.ChangeVarValue("dup", &text); }), "赋值语句源和目的类型不同[4][1]...");
  EXPECT_EQ(table.ReplaceString("x", table.SearchVar("dup")), -1);
  table.SearchVar("i")->leixing = kInt64;
  EXPECT_EQ(RefusalOf([&] { table.ChangeVarValue("dup", int32_t{2}); }),
            "ChangeDupVars() error : dup leixing error : this [1] duped[2]");
}

TEST(CVarArray, ReadsAndWritesEachType) {
  CVarArray table;
  table.CreateNewVar("i", int32_t{0});
  table.CreateNewVar("w", int64_t{0});
  for (const char* value : {"one", "two"}) table.SafeSetVar("s", value);
  for (const char* name : {"i", "w"}) EXPECT_EQ(table.ReplaceIntOr64(0x100000005, table.SearchVar(name)), 0);
  EXPECT_EQ(Table(table), "i=5 w=4294967301L s=two") << "in their width";
  EXPECT_EQ(table.ReplaceInt64(1, table.SearchVar("i")), -1);
  EXPECT_EQ(table.ReplaceInt(1, table.SearchVar("w")), -1);
  EXPECT_EQ(RefusalOf([&] { table.SafeSetVar("s", int32_t{1}); }),
            "ChangeVarValue(LPSTR,int)源和目的类型不同[1][4]...");
  const CValue minus(int32_t{-1});
  table.ChangeVarValue("w", &minus);
  EXPECT_EQ(Table(table), "i=5 w=-1L s=two");
  int number = 0;
  CString text;
  EXPECT_EQ(table.GetVarInt("i", number), 0);
  EXPECT_EQ(table.GetVarString("s", text), 0);
  EXPECT_EQ(number, 5);
  EXPECT_EQ(text, "two");
  for (const char* name : {"w", "none"}) EXPECT_EQ(table.GetVarInt(name, number), -1);
  EXPECT_EQ(table.GetVarString("i", text), -1);
}

// Cells come back from a pool; nothing of their former life may show.
TEST(CVarArray, ANewCellHasNothingOfAnOldOne) {
  CVarArray table;
  table.CreateNewVar("a", int64_t{7});
  table.CreateNewVar("b", std::string(100000, 'x').c_str());
  table.ClearVars();
  table.CreateNewVar("c", "");
  table.CreateNewVar("d", int32_t{1});
  for (const CVarCell* cell : table.m_Cells) {
    EXPECT_EQ(cell->i64Val, 0);
    EXPECT_EQ(cell->dwVal, 0u);
    EXPECT_EQ(cell->nDupPos, -1);
  }
  EXPECT_EQ(table.m_Cells[0]->lVal, 0);
  EXPECT_EQ(table.m_Cells[1]->string, nullptr);
  EXPECT_EQ(Table(table), "c= d=1");
}

}  // namespace
}  // namespace karst::testing

// What runs leave in the variable table, and getting rid of it from between the host's variables.
#include <gtest/gtest.h>

#include "values/vararray.h"

namespace {

TEST(DropLeftovers, KeepsTheOthersWithTheirNamesAndDuplicates) {
  CVarArray table;
  table.CreateNewVar("host", int32_t{1});
  table.BeginRun();
  table.CreateBegin(0);
  table.CreateNewVar("host", int32_t{2});
  table.CreateNewVarDup("old", "host");
  ++table.m_nBeginCount;  // a call that was broken off
  table.EndRun();
  table.CreateNewVarDup("later", "old");
  table.BeginRun();
  table.CreateBegin(0);
  table.CreateNewVarDup("new", "later");
  table.EndRun();

  EXPECT_EQ(table.DropLeftovers(CVarArray::Leftovers::kOfOlderRuns), 3);
  EXPECT_EQ(table.m_Cells.size(), 4u);
  EXPECT_EQ(table.m_nBeginCount, 1);
  EXPECT_EQ(table.SearchVarPos("host"), 0);
  EXPECT_EQ(table.SearchVarPos("old"), -1);
  EXPECT_EQ(table.SearchVarPos("later"), 1);
  EXPECT_EQ(table.SearchVarPos("new"), 3);
  // A store still goes up to the duplicate's origin, and ends where that is gone.
  EXPECT_EQ(table.ChangeVarValue("new", int32_t{7}), 0);
  EXPECT_EQ(table.SearchVar("later")->lVal, 7);
  EXPECT_EQ(table.SearchVar("host")->lVal, 1);

  EXPECT_EQ(table.DropLeftovers(CVarArray::Leftovers::kOfAllRuns), 2);
  EXPECT_EQ(table.m_nBeginCount, 0);
  EXPECT_EQ(table.SearchVarPos("later"), 1);
  EXPECT_EQ(table.DropLeftovers(CVarArray::Leftovers::kOfAllRuns), 0);
  // Cells that were given back are the host's when it takes them again.
  table.CreateNewVar("again", "x");
  EXPECT_EQ(table.DropLeftovers(CVarArray::Leftovers::kOfAllRuns), 0);
  EXPECT_EQ(table.m_Cells.size(), 3u);
}

}  // namespace

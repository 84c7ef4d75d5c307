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

  table.DropLeftovers(5);  // up to "later": of the older run
  EXPECT_EQ(table.m_Cells.size(), 4u);
  EXPECT_EQ(table.CountFrameMarks(), 1);
  EXPECT_EQ(table.m_nBeginCount, 2);  // with the call
  const std::pair<const char*, int> places[] = {{"host", 0}, {"old", -1}, {"later", 1}, {"new", 3}};
  for (const auto& [name, place] : places) EXPECT_EQ(table.SearchVarPos(name), place) << name;
  // A store still goes up to the duplicate's origin, and ends where that is gone.
  EXPECT_EQ(table.ChangeVarValue("new", int32_t{7}), 0);
  EXPECT_EQ(table.SearchVar("later")->lVal, 7);
  EXPECT_EQ(table.SearchVar("host")->lVal, 1);

  table.DropLeftovers(4);
  EXPECT_EQ(table.m_nBeginCount, 1);
  EXPECT_EQ(table.SearchVarPos("later"), 1);
  // Cells that were given back are the host's when it takes them again.
  table.CreateNewVar("again", "x");
  table.DropLeftovers(3);
  EXPECT_EQ(table.m_Cells.size(), 3u);
}

TEST(DropLeftovers, FreesTheDuplicatesOfTheVeryFirstVariable) {
  CVarArray table;
  table.BeginRun();
  table.CreateNewVar("first", int32_t{1});
  table.EndRun();
  table.CreateNewVarDup("dup", "first");
  table.DropLeftovers(table.m_Cells.size());
  EXPECT_EQ(table.SearchVar("dup")->nDupPos, -1);
}

}  // namespace

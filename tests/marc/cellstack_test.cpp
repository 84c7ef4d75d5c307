// CCellStack at its limits, and the order in which a tree is walked.
#include "marc/cellstack.h"

#include <gtest/gtest.h>

namespace {

TEST(CCellStack, RefusesTheCellBehindTheLastAndThePopOfNothing) {
  CCell cells[CCellStack::CELL_STACK_NEST];
  CCellStack stack;
  EXPECT_EQ(stack.CurStackCell(), nullptr);
  for (CCell& cell : cells) EXPECT_EQ(stack.PushCell(&cell), 0);
  try {
    stack.PushCell(&cells[0]);
    FAIL() << "a full stack took a cell";
  } catch (const CError& error) {
    EXPECT_STREQ(error.what(), "PushCell Overflow ! CELL_STACK_NEST=200");
  }
  const CCellStack copy = stack;
  EXPECT_EQ(copy.CurStackCell(), &cells[199]);
  for (int i = 199; i >= 0; --i) EXPECT_EQ(stack.PopCell(), &cells[i]);
  try {
    stack.PopCell();
    FAIL() << "an empty stack gave a cell";
  } catch (const CError& error) {
    EXPECT_STREQ(error.what(), "PopCell Reach Bottom !");
  }
  EXPECT_EQ(copy.CurStackCell(), &cells[199]);
}

}  // namespace

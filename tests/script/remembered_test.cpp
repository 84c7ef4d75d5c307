// What is remembered beside the code, where a host changes what a script cannot.
#include "script/remembered.h"

#include <gtest/gtest.h>

#include "script/script.h"
#include "support/builtin_call.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

TEST(Remembered, AConditionWithoutTruthIsRefusedOnEveryPass) {
  const TempFolder folder;
  MakeFile("s.pro", "if w\r\nprintf(\"\")\r\n");
  CScript script;
  script.ReadCodeFromFile("s.pro", 0);
  script.CreateNewVar("w", 0);
  CVarCell* cell = script.SearchVar("w");
  for (int pass = 0; pass < 8; ++pass) {
    if (pass == 4) cell->leixing = kWord;
    SetRememberingForTests(pass < 6);
    script.ResetCodeStartPos();
    try {
      EXPECT_EQ(script.MainLoop(), 0);
      EXPECT_LT(pass, 4);
    } catch (const CError& refused) {
      EXPECT_STREQ(refused.what(), "GetLogicExp() error...");
      EXPECT_EQ(script.lpProg - script.lpCodeBuffer, 6) << "after the line end that ends the condition";
    }
  }
  SetRememberingForTests(true);
  cell->leixing = kInt;
}

}  // namespace
}  // namespace karst::testing

// CCode: what a host does with code by itself.
#include <gtest/gtest.h>

#include <cstring>

#include "script/script.h"
#include "support/temp_folder.h"
#include "support/whole_files.h"

namespace karst::testing {
namespace {

TEST(Code, TheLineOfARefusedLoadIsTheErrorsAlone) {
  CScript script;
  ASSERT_GT(script.LoadCode("int a\r\n", "a.pro"), 0);
  try {
    script.LoadCode("\r\n\r\nstring s = \"open\r\n", "b.pro");
    FAIL();
  } catch (const CError& error) {
    EXPECT_EQ(script.LineOf(error), 3);
  }
  EXPECT_EQ(script.GetCurLineNumber(), 1);
  EXPECT_STREQ(script.szCodeFile, "a.pro");
}

// The literal's stored length is 13, the byte of a CR.
TEST(Code, LinesAreCountedInABufferOfTheHostToo) {
  constexpr std::string_view kSource = "s = \"twelve bytes\"\r\nn = 1";
  CCode code;
  char* buffer = nullptr;
  const int length = code.ChangeCode(kSource.data(), static_cast<int>(kSource.size()), &buffer);
  const std::unique_ptr<char[]> owner(buffer);
  EXPECT_EQ(code.GetLineNumber(buffer + length - 1, buffer), 2);
  EXPECT_EQ(code.GetLineNumber(buffer + 8, buffer), 1);  // within the stored length
}

TEST(Code, ADumpShowsALiteralAsFarAsItIsGiven) {
  const TempFolder folder;
  CCode code;
  ASSERT_EQ(code.LoadCode("s = \"hi\"", ""), 13);
  const std::pair<int, std::string_view> dumps[] = {
      {13, {"s = \"hi\"\0", 9}}, {12, "s = \"hi\""}, {11, "s = \"hi"}, {7, "s = \""}, {5, "s = \""}};
  for (const auto& [length, shown] : dumps) {
    code.DumpCode("dump", code.lpCodeBuffer, length);
    EXPECT_EQ(ReadWhole("dump"), shown) << length;
  }
}

// Also where it has run so often that it is remembered.
TEST(Code, WhatAHostHasWrittenIntoTheCodeIsRun) {
  CScript script;
  script.CreateNewVar("n", int32_t{0});
  ASSERT_GT(script.LoadCode("if 1 == 1\r\nn = 1\r\n", ""), 0);
  for (const char digit : {'1', '2', '3'}) {
    *std::strrchr(script.lpCodeBuffer, digit == '1' ? '1' : digit - 1) = digit;
    if (digit == '3') {
      ASSERT_EQ(script.ChangeCode(&script.lpCodeBuffer, script.nCodeLen), script.nCodeLen);
    }
    for (int i = 0; i < 5; ++i) {
      script.ResetCodeStartPos();
      script.MainLoop();
      EXPECT_EQ(script.SearchVar("n")->lVal, digit - '0');
    }
  }
}

}  // namespace
}  // namespace karst::testing

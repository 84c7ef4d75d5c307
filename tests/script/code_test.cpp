// CCode: what a host does with code by itself.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>

#include "script/script.h"
#include "support/temp_folder.h"

namespace karst {
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
  const testing::TempFolder folder;
  constexpr std::string_view kSource = "s = \"hi\"";
  CCode code;
  ASSERT_EQ(code.LoadCode(kSource, ""), 13);
  const std::pair<int, std::string> dumps[] = {
      {13, std::string("s = \"hi\"\0", 9)}, {12, "s = \"hi\""}, {11, "s = \"hi"}, {7, "s = \""}, {5, "s = \""}};
  for (const auto& [length, shown] : dumps) {
    code.DumpCode("dump", code.lpCodeBuffer, length);
    std::ifstream file("dump", std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), shown) << length;
  }
}

TEST(Code, WhatAHostHasWrittenIntoTheCodeIsRun) {
  CScript script;
  CValue zero(int32_t{0});
  script.CreateNewVar("n", &zero);
  ASSERT_GT(script.LoadCode("if 1 == 1\r\nn = 1\r\n", ""), 0);
  const auto run = [&script] {
    script.MainLoop();
    return script.SearchVar("n")->lVal;
  };
  for (int i = 0; i < 4; ++i) {
    script.ResetCodeStartPos();
    EXPECT_EQ(run(), 1);
  }
  char* digit = std::strrchr(script.lpCodeBuffer, '1');
  *digit = '2';
  script.ResetCodeStartPos();
  EXPECT_EQ(run(), 2);
  for (int i = 0; i < 4; ++i) {
    script.ResetCodeStartPos();
    run();
  }
  *digit = '3';
  ASSERT_EQ(script.ChangeCode(&script.lpCodeBuffer, script.nCodeLen), script.nCodeLen);
  script.lpProg = script.lpCodeBuffer;
  EXPECT_EQ(run(), 3);
}

}  // namespace
}  // namespace karst

// One record at a time: what a host gets of records, errors and variables, and that errors do not add up.
#include "marc/marcfilter.h"

#include <gtest/gtest.h>

#include <fstream>

#include "marc/marcflt.h"
#include "support/filter_bench.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

// Writes a filter whose lines end in LF here.
void WriteFilter(const char* name, std::string_view filter) {
  std::ofstream file(name, std::ios::binary);
  for (char byte : filter) file << (byte == '\n' ? "\r\n" : std::string(1, byte));
}

// The message boxes that come up while the object lives.
class Boxes {
 public:
  Boxes() {
    SetMessageBoxHandler([this](HWND, const char* text, const char*, unsigned) {
      shown.append(text) += '|';
      return 1;
    });
  }
  ~Boxes() { SetMessageBoxHandler({}); }
  std::string shown;
};

const std::string kGood = Record({"001abc", "200  $agood"});
const std::string kBad = Record({"001abc", "999  $abad"});

constexpr std::string_view kTitles =
    "int n = 0\n"
    "Record {\n"
    "Field \"200\" {\nsoutput = _FIELD\n}\n"
    "Field \"999\" {\nstring soutput = \"hidden\"\nn = itos(1, 2, 3, 4)\n}\n"
    "}\n"
    "Final {\nint n = 1\n}\n";

TEST(CMARCFilter, TellsEachErrorWithItsLineAndFile) {
  const TempFolder folder;
  CMARCFilter filter;
  CString error;
  EXPECT_EQ(filter.LoadFilterFile("none.flt", error, 0), -1);
  EXPECT_STREQ(error, ".flt文件[none.flt]打开错误");
  EXPECT_EQ(filter.FilterOneRecord(kGood.c_str(), error), -1);
  EXPECT_STREQ(error, "CMARCTree::RunMARCTree(CMARCStream *) error...");

  WriteFilter("broken.flt", "Record {\nChain \"none\"\n}\n");
  EXPECT_EQ(filter.LoadFilterFile("broken.flt", error, 0), -1);
  const std::string place = " (位于" + (folder.path() / "broken.flt").string() + ")";
  EXPECT_EQ(error.view(), "\r\n第4行: Common block none not define..." + place);

  WriteFilter("f.flt", "Record {\nField \"999\" {\n\nnone = 1\n}\n}\n");
  ASSERT_EQ(filter.LoadFilterFile("f.flt", error, 0), 0) << error;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(filter.FilterOneRecord(kGood.c_str(), error), 0);
    EXPECT_EQ(filter.FilterOneRecord(kBad.c_str(), error), -1);
    const std::string where = " (位于" + (folder.path() / "f.flt").string() + ")";
    EXPECT_TRUE(error.view().starts_with("第4行: ")) << error;
    EXPECT_TRUE(error.view().ends_with(where)) << error;
  }
}

TEST(CMARCFilter, LoadsAnewAfterAnErrorInARecord) {
  const TempFolder folder;
  CMARCFilter filter;
  CString error, output;
  WriteFilter("f.flt", kTitles);
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(filter.LoadFilterFile("f.flt", error, 0), 0) << error;
    filter.SafeSetVar("soutput", "");
    EXPECT_EQ(filter.FilterOneRecord(kBad.c_str(), error), -1);
    EXPECT_EQ(filter.CloseAfterError(), 0);
    EXPECT_EQ(filter.FilterOneRecord(kGood.c_str(), error), 0) << error;
    EXPECT_EQ(filter.GetVarString("soutput", output), 0);
    EXPECT_STREQ(output,
                 "\x1f"
                 "agood");
  }
}

TEST(CMARCFilter, RunsNothingAfterARefusedLoad) {
  const TempFolder folder;
  WriteFilter("good.flt", "soutput = _RECORD\n");
  Boxes boxes;
  CMARCFilter filter;
  CMARCFLT flt;
  CString error, output;
  filter.SafeSetVar("soutput", "");
  for (const char* refused : {"soutput = _RECORD\nRecord {\n", "Record {\nChain \"none\"\n}\n", "Record {\n} stop -1\n",
                              "string s = \"open\n"}) {
    SCOPED_TRACE(refused);
    WriteFilter("refused.flt", refused);
    ASSERT_EQ(filter.LoadFilterFile("good.flt", error, 0), 0);
    ASSERT_EQ(flt.Initial("good.flt"), 0);
    filter.ClearCodeCatch();
    flt.m_pTree->ClearCodeCatch();
    // The second load finds the code of the first.
    for (int load = 0; load < 2; ++load) {
      EXPECT_EQ(filter.LoadFilterFile("refused.flt", error, 0), -1);
      EXPECT_EQ(filter.FilterOneRecord(kGood.c_str(), error), -1);
      EXPECT_STREQ(error, "CMARCTree::RunMARCTree(CMARCStream *) error...");
      try {
        EXPECT_EQ(flt.Initial("refused.flt"), -1);
      } catch (const CError&) {
      }
      EXPECT_EQ(flt.Run(kGood.c_str(), output), -1);
    }
  }
}

TEST(CMARCFilter, MakesHyperFnOnRequestOnly) {
  const TempFolder folder;
  WriteFilter("f.flt", "fnprintf(HyperFn, \"%s\", _RECORD)\n");
  static std::string written;
  written.clear();
  CMARCFilter filter;
  filter.m_hStdOut = 1;
  filter.m_pfnStdOutWrite = [](FileHandle, const char* bytes, int32_t count, uint32_t) {
    written.append(bytes, static_cast<size_t>(count));
    return count;
  };
  CString error;
  ASSERT_EQ(filter.LoadFilterFile("f.flt", error, 2), 0);
  EXPECT_EQ(filter.FilterOneRecord("one", error), -1);
  ASSERT_EQ(filter.LoadFilterFile("f.flt", error, 1), 0);
  EXPECT_EQ(filter.FilterOneRecord("one", error), 0) << error;
  EXPECT_EQ(filter.FilterOneRecord("two", error), 0) << error;
  EXPECT_EQ(written, "onetwo");
}

// The scopes of the error stay open, and names in them known, until they are closed.
TEST(CMARCFilter, KeepsOpenWhatTheErrorLeftUntilTheHostClosesIt) {
  const TempFolder folder;
  WriteFilter("f.flt", kTitles);
  CMARCFilter filter;
  CString error, output;
  ASSERT_EQ(filter.LoadFilterFile("f.flt", error, 0), 0);
  filter.SafeSetVar("soutput", "mine");
  EXPECT_EQ(filter.FilterOneRecord(kBad.c_str(), error), -1);
  const size_t cells = filter.m_Cells.size();
  const int frames = filter.m_nBeginCount;
  EXPECT_GT(frames, 3);
  EXPECT_EQ(filter.GetVarString("soutput", output), 0);
  EXPECT_STREQ(output, "hidden");
  EXPECT_EQ(filter.FilterOneRecord(kGood.c_str(), error), 0) << error;
  EXPECT_EQ(filter.m_Cells.size(), cells);
  EXPECT_EQ(filter.m_nBeginCount, frames);

  filter.SafeSetVar("later", 5);
  EXPECT_EQ(filter.FilterOneRecord(kBad.c_str(), error), -1);
  filter.SafeSetVar("last", 6);
  EXPECT_EQ(filter.CloseAfterError(), 0);
  ASSERT_EQ(filter.m_Cells.size(), 3u);
  EXPECT_EQ(filter.m_nBeginCount, 0);
  EXPECT_EQ(filter.GetVarString("soutput", output), 0);
  EXPECT_STREQ(output, "mine");
  int number = 0;
  EXPECT_EQ(filter.GetVarInt("later", number), 0);
  EXPECT_EQ(number, 5);
  EXPECT_EQ(filter.SearchVarPos("last"), 2);
  EXPECT_EQ(filter.SearchVar("_RECORD"), nullptr);
  // The outermost level is outermost again: a name that the host has taken cannot be declared.
  WriteFilter("g.flt", "int later = 1\nRecord {\n}\n");
  ASSERT_EQ(filter.LoadFilterFile("g.flt", error, 0), 0);
  EXPECT_EQ(filter.FilterOneRecord(kGood.c_str(), error), -1);
  EXPECT_NE(error.view().find("later"), std::string_view::npos) << error;
}

// Errors in all kinds of places: in a call with arguments by reference, in a loop, in the old style, and behind a
// "Continue", whose record closes one scope more than it opened: one that an earlier error left.
TEST(CMARCFilter, DoesNotGrowFromErrorToError) {
  const TempFolder folder;
  constexpr std::string_view kFilters[] = {
      kTitles,
      "string a = \"x\"\nint n\nRecord {\nField \"999\" {\nloop 1 {\nCopyStr(&a, _FIELD, n / 0)\n}\n}\n}\n",
      "string a = _RECORD\nint n\nField \"999\" {\n{\n{\nn = strlen(&a, strlen(none))\n}\n}\n}\n",
      "int n\nRecord {\nContinue\nField \"999\" {\n{\nint b = 1\nb = none\n}\n}\nint c\n}\nFinal {\nint d\n}\n",
      "int n = strlen()\nRecord {\n}\n",
      "Record {\nField \"999\" {\nint n\n{\nstop -1\n}\n}\n}\n",
  };
  for (std::string_view text : kFilters) {
    SCOPED_TRACE(text);
    WriteFilter("f.flt", text);
    CMARCFilter filter;
    CString error;
    ASSERT_EQ(filter.LoadFilterFile("f.flt", error, 1), 0) << error;
    size_t most_cells = 0;
    for (int i = 0; i < 3000; ++i) {
      const bool bad = i % 3 == 2;
      filter.SafeSetVar("soutput", "");
      filter.FilterOneRecord(bad ? kBad.c_str() : kGood.c_str(), error);
      if (i < 30) most_cells = std::max(most_cells, filter.m_Cells.size());
      ASSERT_LE(filter.m_Cells.size(), most_cells) << i;
      ASSERT_GE(filter.m_nBeginCount, filter.CountFrameMarks()) << i;
    }
    filter.CloseAfterError();
    EXPECT_EQ(filter.m_Cells.size(), 2u);
    EXPECT_EQ(filter.m_nBeginCount, 0);
    CString value;
    EXPECT_EQ(filter.GetVarString("HyperFn", value), 0);
    EXPECT_STREQ(value, "stdout");
    EXPECT_EQ(filter.GetVarString("soutput", value), 0);
  }
}

TEST(CMARCFLT, HandsBackSoutputAndShowsErrors) {
  const TempFolder folder;
  Boxes boxes;
  CMARCFLT filter;
  EXPECT_EQ(filter.Initial("none.flt"), -1);
  EXPECT_EQ(boxes.shown, ".flt文件打开错误|");
  boxes.shown.clear();
  WriteFilter("f.flt", kTitles);
  ASSERT_EQ(filter.Initial("f.flt"), 0);
  EXPECT_STREQ(filter.m_strFltFile, "f.flt");
  const std::string plain = Record({"001abc"});
  CString output;
  for (int i = 0; i < 2000; ++i) {
    ASSERT_EQ(filter.Run(kGood.c_str(), output), 0) << i << boxes.shown;
    ASSERT_STREQ(output,
                 "\x1f"
                 "agood");
    ASSERT_EQ(filter.Run(plain.c_str(), output), 0);
    ASSERT_STREQ(output, "");
    output = "kept";
    ASSERT_EQ(filter.Run(kBad.c_str(), output), -1);
    ASSERT_STREQ(output, "kept");
    ASSERT_TRUE(boxes.shown.starts_with("第8行: ") && boxes.shown.ends_with("|error == 1|")) << boxes.shown;
    boxes.shown.clear();
  }
}

// The first filter fills the variable table, the second leaves a variable open that hides the host's.
TEST(CMARCFLT, ServesTheNextRecordWhateverTheErrorLeft) {
  const TempFolder folder;
  Boxes boxes;
  constexpr std::string_view kFilters[] = {
      "Record {\nField \"999\" {\nloop 1\n{\nint x\nendloop\n}\n}\nField \"200\" {\nsoutput = _FIELD\n}\n}\n",
      "Record {\nField \"999\" {\nint soutput\nint n = none\n}\nField \"200\" {\nsoutput = _FIELD\n}\n}\n",
  };
  for (std::string_view text : kFilters) {
    WriteFilter("f.flt", text);
    CMARCFLT filter;
    ASSERT_EQ(filter.Initial("f.flt"), 0);
    CString output;
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(filter.Run(kBad.c_str(), output), -1);
      EXPECT_EQ(filter.Run(kGood.c_str(), output), 0) << boxes.shown;
    }
  }
}

TEST(CMARCFLT, RunsWithHyperFnAndAppendsToThatFile) {
  const TempFolder folder;
  WriteFilter("f.flt", "Record {\nfnprintf(HyperFn, \"<%s>\", _RECORD)\n}\nFinal {\nsoutput = \"none\"\n}\n");
  Boxes boxes;
  CMARCFLT filter;
  ASSERT_EQ(filter.Initial("f.flt"), 0);
  filter.m_pTree->SafeSetVar("soutput", "untouched");
  EXPECT_EQ(filter.Run("one", "a.txt"), 0);
  EXPECT_EQ(filter.Run("two", "b.txt"), 0);
  EXPECT_EQ(filter.Run("three", "a.txt"), 0);
  filter.m_pTree->CloseAllCatchedFileHandle();
  std::ifstream file("a.txt");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "<one><three>");
  EXPECT_EQ(boxes.shown, "");
}

}  // namespace
}  // namespace karst::testing

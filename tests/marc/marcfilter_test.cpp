// One record at a time: what a host gets of records, errors and variables, and that errors do not add up.
#include "marc/marcfilter.h"

#include <gtest/gtest.h>

#include "marc/marcflt.h"
#include "support/filter_bench.h"
#include "support/readable.h"
#include "support/temp_folder.h"
#include "support/whole_files.h"

namespace karst::testing {
namespace {

const std::string kGood = Record({"001abc", "200  $agood"});
const std::string kBad = Record({"001abc", "999  $abad"});
const std::string kTitle = Marked("$agood");

constexpr std::string_view kTitles =
    "int n = 0\nRecord {\nField \"200\" {\nsoutput = _FIELD\n}\n"
    "Field \"999\" {\nstring soutput = \"hidden\"\nn = itos(1, 2, 3, 4)\n}\n}\nFinal {\nint n = 1\n}\n";

class RecordFilter : public ::testing::Test {
 protected:
  RecordFilter() {
    SetMessageBoxHandler(
        [this](HWND, const char* text, const char*, unsigned) { return shown.append(text) += '|', 1; });
  }
  ~RecordFilter() override { SetMessageBoxHandler({}); }
  int Load(std::string_view text, const char* name = "f.flt") {
    WriteWhole(name, CrLf(text));
    filter.ClearCodeCatch();
    return filter.LoadFilterFile(name, error, 0);
  }
  int Filter(const std::string& record) { return filter.FilterOneRecord(record.c_str(), error); }
  std::string Text(const char* name) {
    CString text;
    return filter.GetVarString(name, text) == 0 ? text.c_str() : "(none)";
  }

  const TempFolder folder;
  std::string shown;  // in message boxes
  CMARCFilter filter;
  CString error, output;
};

TEST_F(RecordFilter, ShowsEachErrorWithItsLineAndFile) {
  EXPECT_EQ(filter.LoadFilterFile("none.flt", error, 0), -1);
  EXPECT_STREQ(error, ".flt文件[none.flt]打开错误");
  const std::string place = " (位于" + (folder.path() / "f.flt").string() + ")";
  EXPECT_EQ(Load("Record {\nChain \"none\"\n}\n"), -1);
  EXPECT_EQ(error.view(), "\r\n第4行: Common block none not define..." + place);
  ASSERT_EQ(Load("Record {\nField \"999\" {\n\nnone = 1\n}\n}\n"), 0) << error;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Filter(kGood), 0);
    EXPECT_EQ(Filter(kBad), -1);
    EXPECT_TRUE(error.view().starts_with("第4行: ") && error.view().ends_with(place)) << error;
  }
}

TEST_F(RecordFilter, RunsNothingAfterARefusedLoad) {
  CMARCFLT flt;
  for (const char* refused : {"soutput = _RECORD\nRecord {\n", "Record {\nChain \"none\"\n}\n", "Record {\n} stop -1\n",
                              "string s = \"open\n"}) {
    SCOPED_TRACE(refused);
    ASSERT_EQ(Load("soutput = _RECORD\n"), 0);
    ASSERT_EQ(flt.Initial("f.flt"), 0);
    flt.m_pTree->ClearCodeCatch();
    EXPECT_EQ(Load(refused, "refused.flt"), -1);
    // The next load finds the code of that one.
    for (int load = 0; load < 2; ++load) {
      EXPECT_EQ(filter.LoadFilterFile("refused.flt", error, 0), -1);
      EXPECT_EQ(Filter(kGood), -1);
      EXPECT_STREQ(error, "CMARCTree::RunMARCTree(CMARCStream *) error...");
      RefusalOf([&] { EXPECT_EQ(flt.Initial("refused.flt"), -1); });
      EXPECT_EQ(flt.Run(kGood.c_str(), output), -1);
    }
  }
}

TEST_F(RecordFilter, MakesHyperFnOnRequestOnly) {
  static std::string written;
  filter.m_hStdOut = 1;
  filter.m_pfnStdOutWrite = [](FileHandle, const char* bytes, int32_t count, uint32_t) {
    written.append(bytes, static_cast<size_t>(count));
    return count;
  };
  ASSERT_EQ(Load("fnprintf(HyperFn, \"%s\", _RECORD)\n"), 0);
  EXPECT_EQ(Filter("none"), -1);
  ASSERT_EQ(filter.LoadFilterFile("f.flt", error, 1), 0);
  for (const char* record : {"one", "two"}) EXPECT_EQ(Filter(record), 0) << error;
  EXPECT_EQ(written, "onetwo");
}

// The scopes of the error stay open, and names in them known, until they are closed.
TEST_F(RecordFilter, KeepsOpenWhatTheErrorLeftUntilTheHostClosesIt) {
  ASSERT_EQ(Load(kTitles), 0);
  filter.SafeSetVar("soutput", "mine");
  EXPECT_EQ(Filter(kBad), -1);
  const size_t cells = filter.m_Cells.size();
  const int frames = filter.m_nBeginCount;
  EXPECT_GT(frames, 3);
  EXPECT_EQ(Text("soutput"), "hidden");
  EXPECT_EQ(Filter(kGood), 0) << error;
  EXPECT_EQ(filter.m_Cells.size(), cells);
  EXPECT_EQ(filter.m_nBeginCount, frames);

  filter.SafeSetVar("later", 5);
  EXPECT_EQ(Filter(kBad), -1);
  filter.SafeSetVar("last", 6);
  EXPECT_EQ(filter.CloseAfterError(), 0);
  ASSERT_EQ(filter.m_Cells.size(), 3u);
  EXPECT_EQ(filter.m_nBeginCount, 0);
  EXPECT_EQ(Text("soutput"), "mine");
  EXPECT_EQ(filter.SearchVar("later")->lVal, 5);
  EXPECT_EQ(filter.SearchVarPos("last"), 2);
  EXPECT_EQ(filter.SearchVar("_RECORD"), nullptr);
  EXPECT_EQ(Filter(kGood), 0) << "the filter is loaded still";
  EXPECT_EQ(Text("soutput"), kTitle);
  // The outermost level is outermost again: a name that the host has taken cannot be declared.
  ASSERT_EQ(Load("int later = 1\nRecord {\n}\n"), 0);
  EXPECT_EQ(Filter(kGood), -1);
  EXPECT_NE(error.view().find("later"), std::string_view::npos) << error;
}

// Errors in all kinds of places: in a call with arguments by reference, in a loop, in the old style, and after a
// "Continue", whose record closes one scope more than it opened: one that an earlier error left.
TEST_F(RecordFilter, DoesNotGrowFromErrorToError) {
  for (std::string_view text : {
           kTitles,
           std::string_view(
               "string a = \"x\"\nint n\nRecord {\nField \"999\" {\nloop 1 {\nCopyStr(&a, _FIELD, n / 0)\n}\n}\n}\n"),
           std::string_view(
               "string a = _RECORD\nint n\nField \"999\" {\n{\n{\nn = strlen(&a, strlen(none))\n}\n}\n}\n"),
           std::string_view("int n\nRecord {\nContinue\nField \"999\" {\n{\nint b = 1\nb = none\n}\n}\nint c\n}\nFinal "
                            "{\nint d\n}\n"),
           std::string_view("int n = strlen()\nRecord {\n}\n"),
           std::string_view("Record {\nField \"999\" {\nint n\n{\nstop -1\n}\n}\n}\n"),
       }) {
    SCOPED_TRACE(text);
    filter.ClearVars();
    ASSERT_EQ(Load(text), 0) << error;
    size_t most_cells = 0;
    for (int i = 0; i < 3000; ++i) {
      filter.SafeSetVar("soutput", "");
      Filter(i % 3 == 2 ? kBad : kGood);
      if (i < 30) most_cells = std::max(most_cells, filter.m_Cells.size());
      ASSERT_LE(filter.m_Cells.size(), most_cells) << i;
      ASSERT_GE(filter.m_nBeginCount, filter.CountFrameMarks()) << i;
    }
    filter.CloseAfterError();
    EXPECT_EQ(filter.m_Cells.size(), 1u);
    EXPECT_EQ(filter.m_nBeginCount, 0);
    EXPECT_NE(Text("soutput"), "(none)");
  }
}

TEST_F(RecordFilter, TheOtherClassHandsBackSoutputAndShowsErrors) {
  CMARCFLT flt;
  EXPECT_EQ(flt.Initial("none.flt"), -1);
  EXPECT_EQ(std::exchange(shown, ""), ".flt文件打开错误|");
  Load(kTitles);
  ASSERT_EQ(flt.Initial("f.flt"), 0);
  EXPECT_STREQ(flt.m_strFltFile, "f.flt");
  for (int i = 0; i < 2000; ++i) {
    ASSERT_EQ(flt.Run(kGood.c_str(), output), 0) << i << shown;
    ASSERT_EQ(output.view(), kTitle);
    ASSERT_EQ(flt.Run(Record({"001abc"}).c_str(), output), 0);
    ASSERT_STREQ(output, "");
    output = "kept";
    ASSERT_EQ(flt.Run(kBad.c_str(), output), -1);
    ASSERT_STREQ(output, "kept");
    ASSERT_TRUE(shown.starts_with("第8行: ") && shown.ends_with("|error == 1|")) << shown;
    shown.clear();
  }
  // The first of these fills the variable table, the second leaves a variable open that hides the host's.
  for (const char* error_code : {"loop 1\n{\nint x\nendloop\n}\n", "int soutput\nint n = none\n"}) {
    Load("Record {\nField \"999\" {\n" + std::string(error_code) + "}\nField \"200\" {\nsoutput = _FIELD\n}\n}\n");
    flt.m_pTree->ClearCodeCatch();
    ASSERT_EQ(flt.Initial("f.flt"), 0);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(flt.Run(kBad.c_str(), output), -1);
      EXPECT_EQ(flt.Run(kGood.c_str(), output), 0) << shown;
    }
  }
}

TEST_F(RecordFilter, TheOtherClassAppendsToHyperFn) {
  Load("Record {\nfnprintf(HyperFn, \"<%s>\", _RECORD)\n}\nFinal {\nsoutput = \"none\"\n}\n");
  CMARCFLT flt;
  ASSERT_EQ(flt.Initial("f.flt"), 0);
  flt.m_pTree->SafeSetVar("soutput", "untouched");
  for (const auto& [record, file] :
       {std::pair("one", "a.txt"), std::pair("two", "b.txt"), std::pair("three", "a.txt")}) {
    EXPECT_EQ(flt.Run(record, file), 0);
  }
  flt.m_pTree->CloseAllCatchedFileHandle();
  EXPECT_EQ(ReadWhole("a.txt") + shown, "<one><three>");
}

}  // namespace
}  // namespace karst::testing

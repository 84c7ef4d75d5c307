// What a newcomer meets first must be true: the example scripts, the example records, and the filters on the pages of
// the documentation with the output that they promise.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "cli/base/source_text.h"
#include "marc/marctree.h"
#include "support/case_file.h"
#include "support/case_runner.h"
#include "support/filter_bench.h"
#include "support/places.h"
#include "support/readable.h"
#include "support/temp_folder.h"
#include "support/whole_files.h"
#include "text/charset.h"

namespace karst::testing {
namespace {

std::string Example(const std::string& name) { return SourcePath("examples/" + name); }
std::string Expected(const std::string& name) { return ReadWhole(SourcePath("tests/examples/" + name)); }

// What the program writes to its standard output.
std::string Written(const std::vector<std::string>& arguments) {
  std::string command = std::string("LC_ALL=C.UTF-8 '") + ProgramPath() + "'";
  for (const std::string& argument : arguments) command += " '" + argument + "'";
  EXPECT_EQ(std::system((command + " >written").c_str()), 0) << command;
  return ReadWhole("written");
}
std::string Filtered(const std::string& filter, const std::string& records) {
  return Written({"filter", "--quiet", Example(filter), records});
}

// The program writes UTF-8, while plain literals are GBK here.
std::string Utf8(std::u8string_view text) { return std::string(text.begin(), text.end()); }

class Examples : public ::testing::Test {
 protected:
  // Every fifth book, so that what is expected of them can be read.
  Examples() {
    std::istringstream books(ReadWhole(Example("books.iso")));
    std::string some, book;
    for (int i = 0; std::getline(books, book, kRecordEnd); ++i) {
      if (i % 5 == 0) some += book + kRecordEnd;
    }
    WriteWhole("some.iso", some);
  }
  const TempFolder folder_;
};

TEST_F(Examples, GiveTheirExpectedOutput) {
  for (const std::string name : {"titles", "first", "statistics", "newbooks"}) {
    EXPECT_EQ(Filtered(name + ".flt", "some.iso"), Expected(name + ".txt")) << name;
  }
  for (const std::string name : {"validate", "duplicates"}) {
    EXPECT_EQ(Filtered(name + ".flt", Example("faulty.iso")), Expected(name + ".txt")) << name;
  }
  EXPECT_EQ(Written({"run", Example("multiply.pro")}), Expected("multiply.txt"));
  EXPECT_EQ(Filtered("validate.flt", Example("books.iso")), Utf8(u8"共 32 条记录, 0 处错误\n"));
}

// A host that has read the file itself gives the engine the text.
TEST_F(Examples, RunInAHostOfTheirOwn) {
  FilterBench bench;
  bench.tree.LoadCode(cli::ReadSourceText(ReadWhole(Example("first.flt")), cli::SourceReading::kEvident).gbk,
                      "first.flt");
  EXPECT_STREQ(bench.tree.szCodeFile, "first.flt");
  EXPECT_EQ(bench.tree.BuildMARCTree(), 0);
  EXPECT_EQ(bench.tree.RunWholeTree("some.iso"), 0);
  EXPECT_EQ(GbkToUtf8(bench.Output()), Expected("first.txt"));
}

// The records that a filter has put together itself are whole too, and there is nothing left in them to clean.
TEST_F(Examples, RecordsAreWholeAndCleanedOnesClean) {
  EXPECT_EQ(Filtered("cleanup.flt", "some.iso"), Expected("cleanup.txt"));
  std::filesystem::rename("cleaned.iso", "again.iso");
  EXPECT_EQ(Filtered("cleanup.flt", "again.iso"), Utf8(u8"共 7 条记录, 0 处改动\n"));
  EXPECT_EQ(ReadWhole("cleaned.iso"), ReadWhole("again.iso"));
  const std::pair<std::string, uint64_t> files[] = {
      {Example("books.iso"), 32}, {Example("faulty.iso"), 5}, {"cleaned.iso", 7}};
  for (const auto& [path, count] : files) {
    CMARCFile file;
    CString record;
    ASSERT_EQ(file.Open(path.c_str()), 0);
    while (file.NextRecord(record) == 0) continue;
    EXPECT_EQ(file.RecordCount(), count) << path;
    EXPECT_EQ(file.SkippedCount() + file.RepairedCount(), 0u) << path;
  }
}

struct Block {
  std::string language;  // the word after the fence
  std::string text;
};

std::vector<Block> FencedBlocks(const std::string& page) {
  std::vector<Block> blocks;
  std::istringstream lines(ReadWhole(SourcePath(page)));
  bool inside = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("```")) {
      inside = !inside;
      if (inside) blocks.push_back({line.substr(3), ""});
    } else if (inside) {
      blocks.back().text += line + "\n";
    }
  }
  return blocks;
}

// Each filter on the page runs over the last records above it and gives the output below it, whose lines end in LF.
TEST(Pages, FiltersGiveWhatTheyPromise) {
  CaseText records;
  Case shown;
  int outputs = 0;
  for (const Block& block : FencedBlocks("docs/filters.md")) {
    if (block.language == "karst-records") records.text = block.text;
    if (block.language == "karst-filter") {
      EXPECT_FALSE(shown.filter) << "a filter without an output: " << shown.filter->text;
      shown.filter.emplace().text = block.text;
    }
    if (block.language != "karst-output") continue;
    ASSERT_TRUE(shown.filter) << "an output without a filter: " << block.text;
    SCOPED_TRACE(shown.filter->text);
    shown.records = records;
    shown.stream = CaseText();
    shown.stream.raw = true;
    for (const char byte : block.text) shown.stream.text += byte == '\n' ? "\\n\n" : std::string(1, byte);
    CheckCase(shown);
    shown.filter.reset();
    ++outputs;
  }
  EXPECT_GE(outputs, 7);
}

TEST(Pages, ReadmeShowsTheExamplesAsTheyAre) {
  const std::string list = Filtered("titles.flt", Example("books.iso"));
  std::string filter, sample;
  for (const Block& block : FencedBlocks("README.md")) {
    if (block.language == "karst-filter") filter = block.text;
    if (block.language == "text") sample = block.text;
  }
  EXPECT_EQ(filter, ReadWhole(Example("first.flt")));
  EXPECT_FALSE(sample.empty());
  std::istringstream lines(sample);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_TRUE(line == "..." || list.find(line + "\n") != list.npos) << line;
  }
}

}  // namespace
}  // namespace karst::testing

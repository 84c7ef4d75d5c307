// What a newcomer meets first must be true: the example scripts, the example records, and the filters on the pages of
// the documentation with the output that they promise.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "cli/base/source_text.h"
#include "marc/marctree.h"
#include "records/cartulary.h"
#include "support/case_file.h"
#include "support/case_runner.h"
#include "support/filter_bench.h"
#include "support/places.h"
#include "support/temp_folder.h"
#include "text/charset.h"

namespace karst {
namespace {

const std::string kRoot = karst::testing::SourcePath("");

std::string ReadWhole(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// What the program writes to its standard output, with the working directory in `folder`.
std::string RunProgram(const std::string& arguments, const std::string& folder = kRoot) {
  const std::string command =
      "cd '" + folder + "' && LC_ALL=C.UTF-8 '" + karst::testing::ProgramPath() + "' " + arguments;
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string output;
  std::array<char, 4096> piece;
  while (const size_t count = fread(piece.data(), 1, piece.size(), pipe.get())) output.append(piece.data(), count);
  EXPECT_EQ(pclose(pipe.release()), 0) << command;
  return output;
}

// The program writes UTF-8, while plain literals are GBK here.
std::string Utf8(std::u8string_view text) { return std::string(text.begin(), text.end()); }

struct Block {
  std::string language;  // the word behind the fence
  std::string text;
};

std::vector<Block> FencedBlocks(const std::string& page) {
  std::vector<Block> blocks;
  std::istringstream lines(ReadWhole(kRoot + page));
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

TEST(Examples, GiveTheirExpectedOutput) {
  const std::array<std::array<std::string, 2>, 7> runs = {{
      {"filter --quiet examples/titles.flt examples/books.iso", "titles.txt"},
      {"filter --quiet examples/first.flt examples/books.iso", "first.txt"},
      {"filter --quiet examples/statistics.flt examples/books.iso", "statistics.txt"},
      {"filter --quiet examples/newbooks.flt examples/books.iso", "newbooks.txt"},
      {"filter --quiet examples/validate.flt examples/faulty.iso", "validate.txt"},
      {"filter --quiet examples/duplicates.flt examples/faulty.iso", "duplicates.txt"},
      {"run examples/multiply.pro", "multiply.txt"},
  }};
  for (const auto& [arguments, expected] : runs) {
    EXPECT_EQ(RunProgram(arguments), ReadWhole(kRoot + "tests/examples/" + expected)) << arguments;
  }
}

// No fault is found where there is none.
TEST(Examples, TheBooksAreFreeOfFaults) {
  EXPECT_EQ(RunProgram("filter --quiet examples/validate.flt examples/books.iso"), Utf8(u8"共 32 条记录, 0 处错误\n"));
}

// A host that has read the file itself gives the engine the text.
TEST(Examples, RunInAHostOfTheirOwn) {
  const cli::SourceText source =
      cli::ReadSourceText(ReadWhole(kRoot + "examples/first.flt"), cli::SourceReading::kEvident);
  testing::FilterBench bench;
  EXPECT_EQ(bench.tree.LoadCode(source.gbk, "first.flt"), bench.tree.nCodeLen);
  EXPECT_STREQ(bench.tree.szCodeFile, "first.flt");
  EXPECT_EQ(bench.tree.BuildMARCTree(), 0);
  EXPECT_EQ(bench.tree.RunWholeTree((kRoot + "examples/books.iso").c_str()), 0);
  EXPECT_EQ(GbkToUtf8(bench.Output()), ReadWhole(kRoot + "tests/examples/first.txt"));
}

void ExpectWhole(const std::string& path, uint64_t records) {
  SCOPED_TRACE(path);
  CMARCFile books;
  ASSERT_EQ(books.Open(CString(path.c_str())), 0);
  CString record;
  while (books.NextRecord(record) == 0) {
  }
  EXPECT_EQ(books.RecordCount(), records);
  EXPECT_EQ(books.SkippedCount(), 0u);
  EXPECT_EQ(books.RepairedCount(), 0u);
}

TEST(Examples, RecordsAreWhole) {
  ExpectWhole(kRoot + "examples/books.iso", 32);
  ExpectWhole(kRoot + "examples/faulty.iso", 5);
}

// The records that a filter has put together itself are whole, and there is nothing left in them to clean.
TEST(Examples, CleanedRecordsAreWholeAndClean) {
  const testing::TempFolder folder;
  const std::string cleaned = folder.path() / "cleaned.iso";
  const std::string again = folder.path() / "again.iso";
  const std::string cleanup = "filter --quiet '" + kRoot + "examples/cleanup.flt' ";
  EXPECT_EQ(RunProgram(cleanup + "'" + kRoot + "examples/books.iso'", folder.path()),
            ReadWhole(kRoot + "tests/examples/cleanup.txt"));
  ExpectWhole(cleaned, 32);
  std::filesystem::rename(cleaned, again);
  EXPECT_EQ(RunProgram(cleanup + "again.iso", folder.path()), Utf8(u8"共 32 条记录, 0 处改动\n"));
  EXPECT_EQ(ReadWhole(cleaned), ReadWhole(again));
}

// Lines that end in LF alone.
testing::CaseText RawText(const std::string& text) {
  testing::CaseText raw;
  raw.raw = true;
  for (const char byte : text) raw.text += byte == '\n' ? std::string("\\n\n") : std::string(1, byte);
  return raw;
}

// Each filter on the page runs over the last records above it and gives the output below it.
TEST(Pages, FiltersGiveWhatTheyPromise) {
  testing::CaseText records;
  testing::Case shown;
  int outputs = 0;
  for (const Block& block : FencedBlocks("docs/filters.md")) {
    if (block.language == "karst-records") {
      records.text = block.text;
    } else if (block.language == "karst-filter") {
      EXPECT_FALSE(shown.filter) << "a filter without an output: " << shown.filter->text;
      shown = testing::Case();
      shown.place = "docs/filters.md";
      shown.title = "example " + std::to_string(outputs + 1);
      shown.filter.emplace().text = block.text;
      shown.records = records;
    } else if (block.language == "karst-output") {
      ASSERT_TRUE(shown.filter) << "an output without a filter: " << block.text;
      SCOPED_TRACE(shown.filter->text);
      shown.stream = RawText(block.text);
      testing::CheckCase(shown);
      shown.filter.reset();
      ++outputs;
    }
  }
  EXPECT_GE(outputs, 7);
}

TEST(Pages, ReadmeShowsTheExamplesAsTheyAre) {
  std::string filter;
  std::string sample;
  for (const Block& block : FencedBlocks("README.md")) {
    if (block.language == "karst-filter") filter = block.text;
    if (block.language == "text") sample = block.text;
  }
  EXPECT_EQ(filter, ReadWhole(kRoot + "examples/first.flt"));
  const std::string list = ReadWhole(kRoot + "tests/examples/titles.txt");
  ASSERT_FALSE(sample.empty());
  std::istringstream lines(sample);
  for (std::string line; std::getline(lines, line);) {
    if (line == "...") continue;
    EXPECT_NE(list.find(line + "\n"), std::string::npos) << line;
  }
}

}  // namespace
}  // namespace karst

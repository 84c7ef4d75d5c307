// The verbs around records, as the user calls them.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "support/child_process.h"
#include "support/places.h"
#include "support/record_run.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

class RecordTools : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::copy(SourcePath("examples/books.iso"), "books.iso"); }
  static ChildResult Run(std::vector<std::string> arguments, std::string input = "") {
    return RunProgram({.arguments = std::move(arguments), .input = std::move(input)});
  }
  static std::vector<std::string> Files() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(".")) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }
  const TempFolder folder_;
};

TEST_F(RecordTools, EveryWayRoundGivesTheSameFile) {
  const std::string books = ReadWhole("books.iso");
  const std::vector<std::vector<std::string>> ways = {
      {"a.iso"},
      {"a.internal", "b.mrc"},
      {"a.txt", "b.iso"},
      {"a.xml.gz", "b.iso.gz", "c.iso"},
      {"a.iso", "b.marcxml", "c.lines", "d.internal", "e.iso"},
  };
  for (const auto& way : ways) {
    std::string from = "books.iso";
    for (const std::string& to : way) {
      // Each second step in the other charset.
      const bool xml = to.find("xml") != std::string::npos;
      const bool last = to == way.back();
      const ChildResult result = Run({"convert", "--to-charset", xml || !last ? "utf-8" : "gbk", from, to});
      ASSERT_EQ(result.status, 0) << result.error;
      EXPECT_EQ(result.output, "");
      EXPECT_EQ(ReadWhole(to).starts_with("\x1F\x8B"), to.ends_with(".gz")) << to;
      from = to;
    }
    EXPECT_EQ(ReadWhole(from), books) << way.front();
  }
}

TEST_F(RecordTools, ConvertReadsManyAndStandardFiles) {
  const std::string books = ReadWhole("books.iso");
  ASSERT_EQ(Run({"convert", "books.iso", "lines.txt"}).status, 0);
  const ChildResult piped = Run({"convert", "-", "-", "--to", "lines"}, books);
  EXPECT_EQ(piped.status, 0) << piped.error;
  EXPECT_EQ(piped.output, ReadWhole("lines.txt"));
  EXPECT_EQ(Run({"convert", "--to", "iso2709", "lines.txt"}).output, books);
  EXPECT_EQ(Run({"convert", "books.iso", "lines.txt", "-o", "both.iso"}).status, 0);
  EXPECT_EQ(ReadWhole("both.iso"), books + books);
}

TEST_F(RecordTools, CharactersWithoutAPlaceAreCountedAndComeBack) {
  const std::string record = IsoBytes({{"001", "x"},
                                       {"200",
                                        "1 \x1F"
                                        "a\xC2\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80 &#169;"}});
  WriteWhole("u.iso", record);
  const ChildResult there = Run({"convert", "--from-charset", "utf-8", "--to-charset", "gbk", "u.iso", "g.iso"});
  EXPECT_EQ(there.status, 0);
  EXPECT_NE(there.error.find("2 characters that GBK has no place for"), std::string::npos) << there.error;
  EXPECT_NE(ReadWhole("g.iso").find("&#169;\xD6\xD0&#128512; &#38;#169;"), std::string::npos);
  ASSERT_EQ(Run({"convert", "--from-charset", "gbk", "--to-charset", "utf-8", "g.iso", "back.iso"}).status, 0);
  EXPECT_EQ(ReadWhole("back.iso"), record);
}

TEST_F(RecordTools, WhatIsNoRecordOrDoesNotFitIsToldAndKept) {
  const std::string good = IsoBytes({{"001", "good"}});
  WriteWhole("mixed.iso", good + "junk" + good);
  const ChildResult passed = Run({"convert", "--rejects", "rest", "mixed.iso", "out.xml"});
  EXPECT_EQ(passed.status, 1);
  EXPECT_NE(passed.error.find("mixed.iso: 2 records, 1 passed over (4 bytes)"), std::string::npos) << passed.error;
  EXPECT_NE(passed.error.find("at byte " + std::to_string(good.size())), std::string::npos) << passed.error;
  EXPECT_EQ(ReadWhole("rest"), "junk");

  const std::string long_field =
      InternalText("00000nam0 2200000   450 ", {{"001", "7"}, {"330", std::string(9999, 'x')}});
  std::vector<IsoField> many(12, {"300", std::string(9000, 'x')});
  const std::string long_record = InternalText("00000nam0 2200000   450 ", many);
  WriteWhole("long.internal", long_field + good + long_record);
  const ChildResult refused = Run({"convert", "--rejects", "rest", "long.internal", "out.iso"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(ReadWhole("out.iso"), good);
  EXPECT_EQ(ReadWhole("rest"), long_field + long_record);
  // "field 330 has 10000 bytes" of the record with the number 7, in UTF-8.
  EXPECT_NE(refused.error.find("\xEF\xBC\x88"
                               "7\xEF\xBC\x89"),
            std::string::npos)
      << refused.error;
  EXPECT_NE(refused.error.find("330"), std::string::npos);
  EXPECT_NE(refused.error.find("10000"), std::string::npos);
  EXPECT_EQ(Run({"convert", "long.internal", "out.xml"}).status, 0);
}

TEST_F(RecordTools, NothingHalfWrittenIsLeft) {
  const std::string books = ReadWhole("books.iso");
  WriteWhole("old.xml", "old");
  std::filesystem::permissions("old.xml", std::filesystem::perms(0640));
  const struct {
    std::vector<std::string> arguments;
    int status;
  } kCases[] = {
      {{"convert", "books.iso", "books.iso"}, 2},
      {{"convert", "books.iso", "./../" + std::filesystem::current_path().filename().string() + "/books.iso"}, 2},
      {{"convert", "none.iso", "old.xml"}, 1},
      {{"convert", "books.iso", "no/such/folder.xml"}, 74},
      {{"convert", "books.iso", "."}, 74},
      {{"convert", "books.iso", "/dev/full"}, 74},
      {{"convert", "--rejects", "old.xml", "books.iso", "old.xml"}, 2},
      {{"convert", "--rejects", "books.iso", "books.iso", "new.xml"}, 2},
      {{"convert", "--rejects", "-", "books.iso", "new.xml"}, 2},
      {{"split", "--every", "0", "books.iso"}, 2},
      {{"convert", "--to", "pdf", "books.iso", "x"}, 2},
      {{"convert", "books.iso", "new.json"}, 2},
      {{"convert", "books.iso", "-o", "new.gz"}, 2},
      {{"convert", "--to-charset", "gbk", "books.iso", "old.xml"}, 2},
  };
  for (const auto& one : kCases) {
    const ChildResult result = Run(one.arguments);
    EXPECT_EQ(result.status, one.status) << one.arguments.back() << result.error;
    EXPECT_NE(result.error, "");
    EXPECT_EQ(Files(), (std::vector<std::string>{"books.iso", "old.xml"})) << one.arguments.back();
    EXPECT_EQ(ReadWhole("books.iso"), books);
    EXPECT_EQ(ReadWhole("old.xml"), "old");
  }
  std::filesystem::create_symlink("old.xml", "link.xml");
  ASSERT_EQ(Run({"convert", "books.iso", "link.xml"}).status, 0);
  EXPECT_TRUE(std::filesystem::is_symlink("link.xml"));
  EXPECT_EQ(std::filesystem::status("old.xml").permissions(), std::filesystem::perms(0640));
  EXPECT_TRUE(ReadWhole("old.xml").starts_with("<?xml"));
  WriteWhole("x", "{");
  const std::vector<std::string> ended_early[] = {
      {"convert", "-q", "books.iso", "-", "--to", "lines"}, {"show", "books.iso"}, {"check", "x"}};
  for (const auto& arguments : ended_early) {
    const ChildResult gone = RunProgram({.arguments = arguments, .output_closed = true});
    EXPECT_EQ(gone.status, 141) << arguments[0];
    EXPECT_EQ(gone.error, "") << arguments[0];
  }
}

TEST_F(RecordTools, WhatIsOnlyAPartIsCalledSo) {
  const std::string books = ReadWhole("books.iso");
  ASSERT_EQ(Run({"convert", "--gzip", "books.iso", "whole.mrc"}).status, 0);
  WriteWhole("broken.mrc", ReadWhole("whole.mrc").substr(0, std::filesystem::file_size("whole.mrc") - 1000));
  WriteWhole("old.iso", "old");
  WriteWhole("broken-0001.mrc", "old");
  const ChildResult converted = Run({"convert", "broken.mrc", "old.iso"});
  EXPECT_EQ(converted.status, 1);
  EXPECT_NE(converted.error.find("what could be read is kept as old.iso.partial, and old.iso is not written"),
            std::string::npos)
      << converted.error;
  EXPECT_EQ(Run({"split", "--every", "1000", "broken.mrc"}).status, 1);
  for (const std::string name : {"old.iso", "broken-0001.mrc"}) {
    EXPECT_EQ(ReadWhole(name), "old");
    EXPECT_TRUE(ReadWhole(name + ".partial").size() > 500 && books.starts_with(ReadWhole(name + ".partial"))) << name;
  }
  EXPECT_EQ(Run({"convert", "books.iso", "none.iso", "-o", "new.iso"}).status, 1);
  EXPECT_EQ(ReadWhole("new.iso.partial"), books);
  EXPECT_FALSE(std::filesystem::exists("new.iso"));
}

TEST_F(RecordTools, SplitGivesWholeRecordsByteByByte) {
  const std::string books = ReadWhole("books.iso");
  ASSERT_EQ(Run({"split", "--every", "10", "books.iso"}).status, 0);
  EXPECT_EQ(ReadWhole("books-0001.iso") + ReadWhole("books-0002.iso") + ReadWhole("books-0003.iso") +
                ReadWhole("books-0004.iso"),
            books);
  EXPECT_FALSE(std::filesystem::exists("books-0005.iso"));
  for (const std::string name : {"books.xml.gz", "books.txt"}) {
    ASSERT_EQ(Run({"convert", "books.iso", name}).status, 0);
    ASSERT_EQ(Run({"split", "--every", "16", "--prefix", "part", name}).status, 0);
    const std::string ending = name.substr(5, 4);
    const ChildResult joined =
        Run({"convert", "--to", "iso2709", "--to-charset", "gbk", "part0001" + ending, "part0002" + ending, "-"});
    EXPECT_EQ(joined.output, books) << joined.error;
  }
  // A part has an ending that stands for its format.
  std::filesystem::copy("books.iso", "new.2024");
  ASSERT_EQ(Run({"split", "--every", "99", "new.2024"}).status, 0);
  EXPECT_EQ(ReadWhole("new.2024-0001.iso"), books);
  // The next part would be the file itself.
  std::filesystem::rename("books.iso", "x0001.iso");
  EXPECT_EQ(Run({"split", "--every", "5", "--prefix", "x", "x0001.iso"}).status, 2);
  EXPECT_EQ(ReadWhole("x0001.iso"), books);
}

TEST_F(RecordTools, CountGivesALineForEachFileAndTheSum) {
  const std::string good = IsoBytes({{"001", "good"}});
  std::string repairable = good;
  repairable[4] = '0';
  WriteWhole("mixed.iso", good + "junk" + repairable);
  const ChildResult result = Run({"count", "books.iso", "mixed.iso", "-"}, good);
  EXPECT_EQ(result.output,
            "32  books.iso\n2  mixed.iso, 1 repaired, 1 passed over (4 bytes)\n1  -\n"
            "35  together, 1 repaired, 1 passed over (4 bytes)\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(Run({"count", "books.iso"}).output, "32  books.iso\n");
  // A file that is not there has no number of records.
  const ChildResult missing = Run({"count", "none.iso", "books.iso"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.output, "32  books.iso\n32  together\n");
}

TEST_F(RecordTools, NumbersOfRecordsAreWholeAndFromOne) {
  for (const std::string text : {"0", "-1", "1.5", "0x2", "", "x", "99999999999999999999"}) {
    for (const auto& verb : {std::vector<std::string>{"show", "--limit"}, {"split", "--every"}}) {
      const ChildResult result = Run({verb[0], verb[1], text, "books.iso"});
      EXPECT_EQ(result.status, 2) << verb[0] << " " << text;
      EXPECT_NE(result.error.find(verb[1] + ": " + text + " is no number from 1\n"), std::string::npos) << result.error;
    }
  }
}

TEST_F(RecordTools, ShowAlignsAndHidesWhatATerminalWouldObey) {
  const std::string record = IsoBytes({{"001", "no 1"},
                                       {"200",
                                        "1 \x1F"
                                        "a\xCA\xE9\x1F"
                                        "b\x1B[31m"},
                                       {"300", "  \x1F"}});
  WriteWhole("two.iso", record + record);
  const std::string plain =
      "no 1  [1]\n"
      "001    no 1\n"
      "200 1  $a \xE4\xB9\xA6 $b \\x1B[31m\n"
      "\n";
  EXPECT_EQ(Run({"show", "--limit", "1", "--field", "200", "--field", "0**", "two.iso"}).output, plain);
  const std::string coloured = Run({"show", "--limit", "1", "--field", "200", "--color", "always", "two.iso"}).output;
  EXPECT_NE(coloured.find("\x1B[36m200\x1B[0m 1  \x1B[33m$a\x1B[0m \xE4\xB9\xA6"), std::string::npos) << coloured;
  const std::string whole = Run({"show", "two.iso", "--encoding", "gbk"}).output;
  EXPECT_NE(whole.find("no 1  [2]\nLDR    "), std::string::npos) << whole;
  EXPECT_NE(whole.find("$a \xCA\xE9 "), std::string::npos) << whole;
}

}  // namespace
}  // namespace karst::testing

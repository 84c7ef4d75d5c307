// Record files of every kind under a filter, and the charset of what it writes. Narrow literals are GBK, u8 literals
// UTF-8.
#include <gtest/gtest.h>
#include <zlib.h>

#include "support/child_process.h"
#include "support/record_run.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

std::string Utf8(std::u8string_view text) { return {reinterpret_cast<const char*>(text.data()), text.size()}; }

std::string Lines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::string Gzip(const std::string& bytes) {
  const std::string path = "packed.tmp";
  const gzFile file = gzopen(path.c_str(), "wb");
  gzwrite(file, bytes.data(), static_cast<unsigned>(bytes.size()));
  gzclose(file);
  return ReadWhole(path);
}

std::string Book(const std::string& number, const std::string& title, const std::string& author) {
  return IsoBytes({{"001", number},
                   {"200",
                    "1 \x1F"
                    "a" +
                        title +
                        "\x1F"
                        "f" +
                        author}});
}

std::string GbkBooks() {
  return Book("1", "红楼梦", "曹雪芹著") + Book("2", "plain", "x") + Book("3", "呐喊", "鲁迅著");
}

std::string Utf8Books() {
  return Book("1", Utf8(u8"红楼梦"), Utf8(u8"曹雪芹著")) + Book("2", "plain", "x") +
         Book("3", Utf8(u8"呐喊"), Utf8(u8"鲁迅著"));
}

std::string XmlBooks() {
  std::u8string text =
      u8"<?xml version='1.0' encoding='UTF-8'?>\n<collection xmlns='http://www.loc.gov/MARC21/slim'>\n";
  const std::u8string_view books[][3] = {
      {u8"1", u8"红楼梦", u8"曹雪芹著"}, {u8"2", u8"plain", u8"x"}, {u8"3", u8"呐喊", u8"鲁迅著"}};
  for (const auto& [number, title, author] : books) {
    ((text += u8"<record><leader>00000nam  2200000   450 </leader><controlfield tag='001'>") += number) +=
        u8"</controlfield><datafield tag='200' ind1='1' ind2=' '><subfield code='a'>";
    ((text += title) += u8"</subfield><subfield code='f'>") += author;
    text += u8"</subfield></datafield></record>\n";
  }
  return Utf8(text + u8"</collection>\n");
}

class Inputs : public ::testing::Test {
 protected:
  ChildResult Filter(const std::vector<std::string>& lines, std::vector<std::string> options,
                     const std::string& records = "records", const std::string& input = {}) {
    WriteWhole("f.flt", Lines(lines));
    options.insert(options.begin(), "filter");
    options.insert(options.end(), {"f.flt", records});
    return RunProgram({.arguments = options, .input = input});
  }

  TempFolder folder_;
};

const std::vector<std::string> kTitles = {"Record",
                                          "{",
                                          "Field \"200\"",
                                          "{",
                                          "SubField \"af\"",
                                          "{",
                                          "fnprintf(\"stdout\", \"%d %s \", _RECORDCOUNT, _SUBFIELD)",
                                          "FnCat(\"named\", _SUBFIELD)",
                                          "}",
                                          "}",
                                          "}"};

TEST_F(Inputs, EveryKindOfFileGivesTheSameRecords) {
  const std::string titles = "0 红楼梦 0 曹雪芹著 1 plain 1 x 2 呐喊 2 鲁迅著 ";
  const std::pair<const char*, std::string> files[] = {
      {"GBK", GbkBooks()},
      {"UTF-8", Utf8Books()},
      {"MARCXML", XmlBooks()},
      {"GBK packed", Gzip(GbkBooks())},
      {"UTF-8 packed", Gzip(Utf8Books())},
      {"MARCXML packed", Gzip(XmlBooks())},
      {"GBK and UTF-8", GbkBooks().substr(0, Book("1", "红楼梦", "曹雪芹著").size()) +
                            Utf8Books().substr(Book("1", Utf8(u8"红楼梦"), Utf8(u8"曹雪芹著")).size())},
  };
  for (const auto& [kind, bytes] : files) {
    WriteWhole("records", bytes);
    for (const std::string jobs : {"1", "2"}) {
      const std::vector<std::string> options{"--encoding", "gbk", "--jobs", jobs};
      for (const ChildResult& result : {Filter(kTitles, options), Filter(kTitles, options, "-", bytes)}) {
        EXPECT_EQ(result.status, 0) << kind << result.error;
        EXPECT_EQ(result.output, titles) << kind;
        EXPECT_TRUE(Contains(result.error, ": 3 records, 0 passed over\n")) << kind << result.error;
      }
    }
  }
  // Nothing was asked for: what is written by name stays GBK.
  EXPECT_TRUE(ReadWhole("named").starts_with("红楼梦曹雪芹著plainx呐喊鲁迅著"));
}

TEST_F(Inputs, WhatGbkLacksComesBackUnchanged) {
  const std::string title = Utf8(u8"红楼梦 Ünïcödé 😀 & &#128512; &#38; 한국어");
  WriteWhole("records", Book("1", title, "&") + Book("2", Utf8(u8"&#12345"), Utf8(u8"鲁迅著")));
  // The second writing is cut into pieces of one byte, with the other stream in between.
  const std::vector<std::string> copy = {"Record",
                                         "{",
                                         "Field \"200\"",
                                         "{",
                                         "SubField \"*\"",
                                         "{",
                                         "string piece",
                                         "int at",
                                         "fnprintf(\"whole\", \"%s|\", _SUBFIELD)",
                                         "FnCat(\"stdout\", _SUBFIELD)",
                                         "FnCat(\"stdout\", \"|\")",
                                         "loop at < StrLen(_SUBFIELD)",
                                         "CopyStr(_SUBFIELD, at, 1, &piece)",
                                         "FnCat(\"pieces\", piece)",
                                         "at = at + 1",
                                         "endloop",
                                         "}",
                                         "}",
                                         "}"};
  const std::string expected = title + "|&|" + Utf8(u8"&#12345|鲁迅著|");
  std::string joined = expected;
  std::erase(joined, '|');
  for (const std::string jobs : {"1", "3"}) {
    for (const std::string name : {"whole", "pieces"}) WriteWhole(name, "");
    const ChildResult result = Filter(copy, {"--output-charset", "utf-8", "--encoding", "gbk", "--jobs", jobs});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, expected) << jobs;
    EXPECT_EQ(ReadWhole("whole"), expected) << jobs;
    EXPECT_EQ(ReadWhole("pieces"), joined) << jobs;
  }
}

TEST_F(Inputs, TheCharsetOfTheOutputIsThatOfTheOption) {
  WriteWhole("records", Book("1", "红", "x"));
  const std::vector<std::string> both = {"printf(\"文\")",
                                         "fnprintf(\"stdout\", \"字&\")",
                                         "printf(\"文\")",
                                         "fnprintf(\"stdout\", \"#65;\")",
                                         "bmprintf(\"named\", \"utf-16le\", \"A\")",
                                         "fnprintf(\"named\", \"字\xD6\")",
                                         "Record",
                                         "{",
                                         "}"};
  struct {
    std::vector<std::string> options;
    std::string output, named;
  } const cases[] = {
      {{"--encoding", "utf-8"}, Utf8(u8"文字&文#65;"), std::string("A\0字\xD6", 5)},
      {{"--encoding", "utf-8", "--output-charset", "gbk"},
       Utf8(u8"文") + "字&" + Utf8(u8"文") + "#65;",
       std::string("A\0字\xD6", 5)},
      {{"--encoding", "gbk", "--output-charset", "UTF-8"},
       "文" + Utf8(u8"字&") + "文#65;",
       std::string("A\0", 2) + Utf8(u8"字&#56790;")},
  };
  for (const auto& test : cases) {
    WriteWhole("named", "");
    const ChildResult result = Filter(both, test.options);
    EXPECT_EQ(result.output, test.output) << ::testing::PrintToString(test.options);
    EXPECT_EQ(ReadWhole("named"), test.named) << ::testing::PrintToString(test.options);
  }
}

// Too little text to tell: only the user knows.
TEST_F(Inputs, TheUserKnowsTheCharsetBest) {
  WriteWhole("records", Book("1", Utf8(u8"é"), "x"));
  const std::vector<std::string> options{"--output-charset", "utf-8"};
  const std::pair<std::string, std::string> cases[] = {
      {"auto", Utf8(u8"茅")}, {"gbk", Utf8(u8"茅")}, {"utf-8", Utf8(u8"é")}, {"UTF-8", Utf8(u8"é")}};
  for (const auto& [charset, shown] : cases) {
    const ChildResult result = Filter(kTitles, {"--output-charset", "utf-8", "--records-charset", charset});
    EXPECT_EQ(result.output, "0 " + shown + " 0 x ") << charset;
  }
  EXPECT_EQ(Filter(kTitles, {"--records-charset", "big5"}).status, 2);
}

TEST_F(Inputs, AFileThatBreaksOffIsAFailureBehindItsRecords) {
  std::string books;
  for (int i = 0; i < 2000; ++i) books += Book(std::to_string(i * 7919), Utf8(u8"红楼梦"), std::to_string(i * i));
  const std::string packed = Gzip(books);
  WriteWhole("records", packed.substr(0, packed.size() - 2000));
  const std::vector<std::string> count = {"Record", "{", "fnprintf(\"stdout\", \"%s\", _RECORD)", "}",
                                          "fnprintf(\"stdout\", \"closing\")"};
  const ChildResult one = Filter(count, {});
  const ChildResult four = Filter(count, {"--jobs", "4"});
  EXPECT_EQ(one.status, 255);
  EXPECT_TRUE(Contains(one.error, "cannot read records: ")) << one.error;
  EXPECT_GT(one.output.size(), 1000u);
  EXPECT_TRUE(one.output.ends_with("closing"));
  // What the reader meets behind the end of the run is no failure of it.
  const std::vector<std::string> early = {"Record", "{", "Field \"001\"", "{", "if _RECORDCOUNT == 3", "stop -1",
                                          "}",      "}"};
  EXPECT_EQ(Filter(early, {"--jobs", "4"}).status, 0);
  EXPECT_EQ(four.status, one.status);
  EXPECT_EQ(four.error, one.error);
  EXPECT_TRUE(four.output == one.output);
}

TEST_F(Inputs, AFileInNoFormatIsPassedOverAsAWhole) {
  const std::string page = "<html><body>not found</body></html>\n";
  WriteWhole("records", page);
  for (const std::string jobs : {"1", "2"}) {
    const ChildResult result = Filter(kTitles, {"--rejects", "rejects", "--jobs", jobs});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(Contains(result.error, "cannot read records: it has no record in any format")) << result.error;
    EXPECT_EQ(ReadWhole("rejects"), page);
  }
}

TEST_F(Inputs, RejectsOfAPackedFileAreItsUnpackedBytes) {
  WriteWhole("records", Gzip(Book("1", Utf8(u8"红楼梦"), "x") + "no record" + Book("2", "a", "b")));
  for (const std::string jobs : {"1", "2"}) {
    const ChildResult result = Filter(kTitles, {"--rejects", "rejects", "--jobs", jobs});
    EXPECT_TRUE(Contains(result.error, "records: 2 records, 1 passed over (9 bytes)\n")) << result.error;
    EXPECT_EQ(ReadWhole("rejects"), "no record");
  }
}

TEST_F(Inputs, DatabasesAreReadLikeRecordFiles) {
  WriteWhole("records", Book("3", "x", "y"));
  const std::vector<std::string> look = {"Record",
                                         "{",
                                         "string found",
                                         "string title",
                                         "ZebGetRcd(\"books\", \"200$f=鲁迅著\", &found)",
                                         "GetSubFld(found, \"a\", 0, &title)",
                                         "GetFld(found, \"001\", 0, &title)",
                                         "fnprintf(\"stdout\", title)",
                                         "}"};
  for (const std::string& bytes : {GbkBooks(), Gzip(Utf8Books()), XmlBooks()}) {
    WriteWhole("books", bytes);
    EXPECT_EQ(Filter(look, {"--database", "books=books"}).output, "0013");
  }
  WriteWhole("script.pro", Lines({"string found", "printf(\"%d\", ZebGetRcd(\"books\", \"001=2\", &found))"}));
  EXPECT_EQ(RunProgram({.arguments = {"run", "--records-charset", "utf-8", "--database", "books=books", "script.pro"}})
                .output,
            "0");
}

}  // namespace
}  // namespace karst::testing

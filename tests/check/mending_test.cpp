// Mending of line ends and charset, in memory and by the program on files.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "cli/check/check.h"
#include "cli/check/fix.h"
#include "support/child_process.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

using namespace cli::check;
using cli::CharsetOf;
using cli::SourceCharset;

// Literals here are GBK; what is UTF-8 is written as its bytes.
constexpr const char* kZhongUtf8 = "\xE4\xB8\xAD";
constexpr const char* kChengUtf8 = "\xE8\xAA\xA0";  // its second byte in GBK is a backslash
constexpr const char* kMark = "\xEF\xBB\xBF";

struct Row {
  std::string before;
  std::string after;
  size_t line_ends;
  bool converted;
};

TEST(Mending, ChangesLineEndsAndCharsetAlone) {
  const std::string zhong = kZhongUtf8;
  const Row rows[] = {
      {"", "", 0, false},
      {"int a\r\n", "int a\r\n", 0, false},
      {"int a\nint b\r\nint c", "int a\r\nint b\r\nint c", 1, false},
      {"a\rb\r\r\nc\r\r\rd", "a\r\nb\r\nc\r\n\r\n\r\nd", 5, false},
      // Where all lines end in LF, so do those that a literal reaches over: that is how the program reads the file.
      {"s = \"a\nb\"\n", "s = \"a\r\nb\"\r\n", 2, false},
      // Among several kinds, line ends of a literal are its text, but for those that continue it.
      {"s = \"a\nb\rc\\\nd\"\nt", "s = \"a\nb\rc\\\r\nd\"\r\nt", 2, false},
      {"s = \"\\\\\n\"\n\r\n", "s = \"\\\\\n\"\r\n\r\n", 1, false},
      // A comment ends at its line's end, whatever quotes it holds.
      {"# it's \"\ns = \"\n\"\n\r\n", "# it's \"\r\ns = \"\n\"\r\n\r\n", 2, false},
      {"s = \"中\n\"\n\r\n", "s = \"中\n\"\r\n\r\n", 1, false},
      // The trail byte of the last character is a backslash to loading, and the quote behind it is escaped.
      {"s = \"誠\" \n\"\n\r\n", "s = \"誠\" \n\"\r\n\r\n", 1, false},
      {"s = \"" + zhong + "\"\r\n", "s = \"中\"\r\n", 0, true},
      {"s = \"" + std::string(kChengUtf8) + "\" # " + kChengUtf8 + "\n", "s = \"誠\\\" # 誠\r\n", 1, true},
      {kMark + zhong + "\r\n", kMark + zhong + "\r\n", 0, false},
      {kMark + zhong + "\n", kMark + zhong + "\r\n", 1, false},
  };
  for (const Row& row : rows) {
    const MendedSource mended = Mend(row.before);
    EXPECT_FALSE(mended.Refused()) << row.before;
    EXPECT_EQ(mended.bytes, row.after) << row.before;
    EXPECT_EQ(mended.line_ends, row.line_ends) << row.before;
    EXPECT_EQ(mended.converted, row.converted) << row.before;
    const MendedSource again = Mend(mended.bytes);
    EXPECT_FALSE(again.Changed()) << row.before;
  }
}

TEST(Mending, RefusesWhatItCouldSpoil) {
  EXPECT_TRUE(Mend("s = \"a\nb\n").open_literal);
  const MendedSource mended = Mend(std::string(kZhongUtf8) + "\xF0\x9F\x98\x80\n");
  EXPECT_TRUE(mended.Refused());
  EXPECT_EQ(mended.findings.Sorted().front().rule, Rule::kNotInGbk);
}

TEST(Mending, TellsTheCharset) {
  EXPECT_EQ(CharsetOf("plain"), SourceCharset::kGbk);
  EXPECT_EQ(CharsetOf("\"中文\""), SourceCharset::kGbk);
  EXPECT_EQ(CharsetOf(std::string("\"") + kZhongUtf8), SourceCharset::kUtf8);
  EXPECT_EQ(CharsetOf(kMark), SourceCharset::kMarkedUtf8);
  EXPECT_EQ(CharsetOf("\xC4\xA3"), SourceCharset::kGbk);          // a Chinese character, and a Latin one in UTF-8
  EXPECT_EQ(CharsetOf("\xC3\xA9\xC3\x20"), SourceCharset::kGbk);  // neither
}

class CheckProgram : public ::testing::Test {
 protected:
  ChildResult Check(std::vector<std::string> arguments, std::vector<std::string> environment = {}) {
    arguments.insert(arguments.begin(), "check");
    return RunProgram({.arguments = std::move(arguments), .environment = std::move(environment)});
  }
  TempFolder folder_;
};

TEST_F(CheckProgram, StatusAndChannels) {
  WriteWhole("good.pro", "int a = 1\r\n");
  WriteWhole("warned.pro", "int a = 1 2\r\n");
  WriteWhole("bad.flt", "Field \"200\"\r\n{\r\na = \"中\"\r\n}\r\n");
  EXPECT_EQ(Check({"good.pro"}).status, 0);
  EXPECT_EQ(Check({"warned.pro"}).status, 0);
  EXPECT_EQ(Check({"--werror", "warned.pro"}).status, 1);
  EXPECT_EQ(Check({"-q", "warned.pro"}).output, "");
  EXPECT_EQ(Check({}).status, 2);
  EXPECT_EQ(Check({"--lang", "fr", "good.pro"}).status, 2);
  const ChildResult result = Check({"none.pro", "bad.flt", "good.pro"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.output, "bad.flt:3:1: error: the variable a is not declared [undeclared]\n");
  EXPECT_EQ(result.error,
            "karst: cannot read none.pro: No such file or directory\nkarst: 3 files checked: 1 error, 0 warnings\n");
  EXPECT_EQ(Check({"bad.flt"}).status, 1);
}

TEST_F(CheckProgram, SpeaksTheLanguageOfTheLocale) {
  WriteWhole("a.pro", "goto a\r\n");
  const std::string chinese = "a.pro:1:6: 错误: 没有标号 a [no-label]\n";  // GBK, as the option asks
  EXPECT_EQ(Check({"--encoding", "gbk", "a.pro"}, {"LC_ALL=zh_CN.UTF-8"}).output, chinese);
  EXPECT_EQ(Check({"--encoding", "gbk", "a.pro"}, {"LANG=zh_CN", "LC_MESSAGES=zh_CN"}).output, chinese);
  EXPECT_EQ(Check({"--encoding", "gbk", "--lang", "zh", "a.pro"}, {"LC_ALL=C"}).output, chinese);
  EXPECT_EQ(Check({"a.pro"}, {"LC_MESSAGES=C", "LANG=zh_CN.UTF-8"}).output.substr(0, 15), "a.pro:1:6: erro");
}

TEST_F(CheckProgram, FixMendsAndKeepsTheMode) {
  WriteWhole("a.pro", "int a\nprintf(\"" + std::string(kZhongUtf8) + "\")\n");
  ASSERT_EQ(chmod("a.pro", 0640), 0);
  ASSERT_EQ(symlink("a.pro", "link.pro"), 0);
  const ChildResult result = Check({"--fix", "link.pro"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.error,
            "karst: link.pro: 2 line ends mended\nkarst: link.pro: converted from UTF-8 to GBK\n"
            "karst: 1 file checked: 0 errors, 0 warnings\n");
  EXPECT_EQ(ReadWhole("a.pro"), "int a\r\nprintf(\"中\")\r\n");
  struct stat status;
  ASSERT_EQ(lstat("a.pro", &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640u);
  ASSERT_EQ(lstat("link.pro", &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(".")) ++files;
  EXPECT_EQ(files, 2u);
}

TEST_F(CheckProgram, FixLeavesWhatItShould) {
  WriteWhole("good.pro", "int a\r\n");
  struct stat before;
  struct stat after;
  ASSERT_EQ(stat("good.pro", &before), 0);
  EXPECT_EQ(Check({"--fix", "good.pro"}).status, 0);
  ASSERT_EQ(stat("good.pro", &after), 0);
  EXPECT_EQ(before.st_ino, after.st_ino);
  EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
  const std::string smile = std::string(kZhongUtf8) + "\xF0\x9F\x98\x80";
  const std::string missing = "int a\n# " + smile + "\n";
  const std::string open = "int a\nprintf(\"x)\n";
  WriteWhole("missing.pro", missing);
  WriteWhole("open.pro", open);
  const ChildResult result = Check({"--fix", "missing.pro", "open.pro", "--encoding", "utf-8"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output.substr(0, result.output.find('\n')),
            "missing.pro:2:4: error: GBK has no character \xF0\x9F\x98\x80 [not-in-gbk]");
  EXPECT_NE(result.output.find("open.pro:2:8: error"), std::string::npos);
  EXPECT_EQ(ReadWhole("missing.pro"), missing);
  EXPECT_EQ(ReadWhole("open.pro"), open);
}

TEST_F(CheckProgram, FixNamesAFileThatCannotBeReadToItsEnd) {
  const ChildResult result = Check({"--fix", "/proc/self/mem"});
  EXPECT_EQ(result.status, 2);
  EXPECT_TRUE(result.error.starts_with("karst: cannot read /proc/self/mem: Input/output error\n")) << result.error;
}

TEST_F(CheckProgram, RunsNothingAndWritesNothing) {
  WriteWhole("a.flt", "Open(\"made.txt\", \"c\")\r\nField \"200\"\r\n{\r\n} stop Open(\"made.txt\", \"c\")\r\n");
  WriteWhole("b.pro", "int a = $\r\n");
  Check({"a.flt", "b.pro"});
  size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(".")) ++files;
  EXPECT_EQ(files, 2u);
}

}  // namespace
}  // namespace karst::testing

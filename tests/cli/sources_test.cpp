// Scripts and filters as editors write them: charsets and line ends, and what is told of them. GBK bytes are written as
// escapes here and UTF-8 as u8 literals.
#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

std::string Utf8(std::u8string_view text) { return {text.begin(), text.end()}; }

class Sources : public ::testing::Test {
 protected:
  ChildResult Run(std::string_view source, std::vector<std::string> options = {}) {
    WriteWhole("a.pro", source);
    options.insert(options.begin(), "run");
    options.push_back("a.pro");
    return RunProgram({.arguments = std::move(options)});
  }
  TempFolder folder_;
};

TEST_F(Sources, AreReadAsWhatTheyEvidentlyAre) {
  const std::string zhong = "\xD6\xD0";
  const struct {
    std::string source;
    std::u8string_view output;
  } rows[] = {
      {"int n = 5\nprintf(\"%d\", n)\n", u8"5"},
      {"printf(\"" + zhong + "\")\nprintf(\"b\")\n", u8"中b"},
      {Utf8(u8"printf(\"中文\")\r\n"), u8"中文"},
      {Utf8(u8"\uFEFFprintf(\"中\")\nprintf(\"b\")\n"), u8"中b"},
      // Its second byte in GBK is a backslash, which a literal would lose.
      {Utf8(u8"printf(\"誠信\")\n"), u8"誠信"},
      // A line end in a literal is one as in the file of another editor.
      {"int n = StrLen(\"a\nb\")\nprintf(\"%d\", n)\n", u8"4"},
      {"printf(\"" + zhong + "\")\r\n", u8"中"},
  };
  for (const auto& row : rows) {
    const ChildResult result = Run(row.source);
    EXPECT_EQ(result.output, Utf8(row.output)) << row.source;
    EXPECT_EQ(result.error, "") << row.source;
  }
  const ChildResult as_is = Run(rows[2].source, {"--source", "as-is", "--encoding", "gbk"});
  EXPECT_EQ(as_is.output, Utf8(u8"中文"));  // the bytes of the file
}

TEST_F(Sources, ErrorsAreShownWhereTheyStandInTheFile) {
  const ChildResult fault = Run(Utf8(u8"# 中文\nstring s\n  s = \"誠\" + $\n"));
  EXPECT_TRUE(fault.error.ends_with(Utf8(u8"\n  3 |   s = \"誠\" + $\n    |              ^\n"))) << fault.error;
  EXPECT_TRUE(fault.error.starts_with("a.pro:3: ")) << fault.error;
  const ChildResult missing = Run(Utf8(u8"# 中文\nprintf(\"誠\U0001F600\")\n"));
  EXPECT_EQ(missing.status, 255);
  EXPECT_EQ(missing.error, "a.pro:2:10: GBK has no character U+1F600\n");
  const ChildResult reserved = Run("string call\n");
  EXPECT_TRUE(reserved.error.ends_with("  note: call is a reserved word, which cannot name a variable\n"));
}

TEST_F(Sources, ThatAreDoubtfulAreWarnedOf) {
  const std::pair<std::string, std::string> rows[] = {
      {"int n\r\nprintf(\"a\")\nn = 1\r\n",
       "karst: a.pro:2:12: warning: line ends of several kinds; karst check --fix"},
      {"printf(\"\xFFz\")\r\n", "karst: a.pro:1:9: warning: the file is neither GBK nor UTF-8, see byte 0xFF"},
      {"printf(\"\xE8\x91\x97z\")\r\n", "karst: a.pro: warning: the file could be UTF-8 as well as GBK"},
      {"printf(\"\xD6\xD0\")\r\n", ""},
      {"# a\r\nstring s = \"a\nb\"\r\n", ""},  // a line end in a literal is its text
  };
  for (const auto& [source, warning] : rows) {
    const ChildResult result = Run(source);
    EXPECT_EQ(result.error.substr(0, warning.size()), warning);
    EXPECT_EQ(result.error.empty(), warning.empty()) << result.error;
    EXPECT_EQ(Run(source, {"--source", "as-is"}).error, "");
  }
}

// The message is the program's; the output control gets none of its own.
TEST_F(Sources, ThatCannotBeReadAreToldOnce) {
  const std::vector<std::string> calls[] = {{"run", "none"}, {"tree", "none"}, {"filter", "none", "records"}};
  for (const auto& arguments : calls) {
    const ChildResult result = RunProgram({.arguments = arguments});
    EXPECT_EQ(result.status, 255);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "karst: cannot read none: No such file or directory\n");
  }
}

TEST_F(Sources, WordsThatAreNotKnownGetTheNearest) {
  const std::pair<std::vector<std::string>, std::string> rows[] = {
      {{"conver", "a", "b"}, "karst: conver is no verb; did you mean convert?\n"},
      {{"check", "--fxi", "a"}, "karst: --fxi is no option of check; did you mean --fix?\n"},
      {{"xyzzy"}, "karst: xyzzy is no verb\n"},
  };
  for (const auto& [arguments, told] : rows) {
    const ChildResult result = RunProgram({.arguments = arguments});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error.substr(0, told.size()), told);
  }
}

}  // namespace
}  // namespace karst::testing

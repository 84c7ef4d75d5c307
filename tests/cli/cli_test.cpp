// The program as its user meets it: exit statuses, what goes where and in which bytes, errors shown, files kept whole.
// GBK bytes are written as escapes here and UTF-8 as u8 literals, so that it shows which is which.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "support/child_process.h"
#include "support/places.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

std::string Utf8(std::u8string_view text) { return {reinterpret_cast<const char*>(text.data()), text.size()}; }

// Lines as the language wants them.
std::string Lines(std::initializer_list<std::string_view> lines) {
  std::string text;
  for (const std::string_view line : lines) (text += line) += "\r\n";
  return text;
}

class CommandLine : public ::testing::Test {
 protected:
  ChildResult Karst(std::vector<std::string> arguments, std::string input = {}) {
    return RunProgram({.arguments = std::move(arguments), .input = std::move(input)});
  }

  ChildResult RunText(std::string_view script, std::vector<std::string> options = {}) {
    WriteWhole("script.pro", script);
    options.insert(options.begin(), "run");
    options.push_back("script.pro");
    return Karst(std::move(options));
  }

  TempFolder folder_;
};

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// A record of ISO 2709 with one field.
std::string Record(const std::string& title) {
  const std::string field =
      "10\x1F"
      "a" +
      title + "\x1E";
  char header[64];
  std::snprintf(header, sizeof header, "%05zunam  2200037   450 200%04zu00000\x1E", 37 + field.size() + 1,
                field.size());
  return header + field + "\x1D";
}

const std::string kCopyFilter = Lines({"Record", "{", "fnprintf(\"stdout\",\"%s\",_RECORD)", "}"});
const std::string kTitleFilter =
    Lines({"Record", "{", "Field \"200\"", "{", "fnprintf(\"stdout\",\"%d %s\\n\",_RECORDCOUNT,_FIELD)", "}", "}"});
const std::string kOldStyleFilter = Lines({"fnprintf(\"stdout\",\"%d\\n\",_RECORDCOUNT)"});

// --- Usage

TEST_F(CommandLine, WrongUsageIs2WithHelpOnStandardError) {
  const std::vector<std::vector<std::string>> wrong = {
      {},
      {"walk"},
      {"run"},
      {"run", "a.pro", "b.pro"},
      {"run", "--rejects", "x", "a.pro"},
      {"run", "--encoding", "big5", "a.pro"},
      {"filter", "a.flt"},
      {"filter", "--progress", "sometimes", "a.flt", "r"},
      {"tree"},
  };
  for (const auto& arguments : wrong) {
    const ChildResult result = Karst(arguments);
    const std::string shown = ::testing::PrintToString(arguments);
    EXPECT_EQ(result.status, 2) << shown;
    EXPECT_EQ(result.output, "") << shown;
    EXPECT_TRUE(Contains(result.error, "karst: ") && Contains(result.error, "Example")) << shown << result.error;
  }
}

TEST_F(CommandLine, HelpAndVersionGoToStandardOutput) {
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"--help"}, "karst tree titles.flt"}, {{"run", "--help"}, "karst run --messages"},
      {{"filter", "--help"}, "--rejects"},   {{"tree", "--help"}, "karst tree titles.flt"},
      {{"--version"}, "karst 0."},
  };
  for (const auto& [arguments, part] : cases) {
    const ChildResult result = Karst(arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_TRUE(Contains(result.output, part)) << result.output;
  }
  const ChildResult full = RunProgram({.arguments = {"--help"}, .output_path = "/dev/full"});
  EXPECT_EQ(full.status, 74);
  EXPECT_EQ(full.error, "karst: cannot write standard output: No space left on device\n");
}

TEST_F(CommandLine, VerbsAreNamesOfFilesToo) {
  WriteWhole("run", "stop 5");
  EXPECT_EQ(Karst({"run", "run"}).status, 5);
  WriteWhole("-odd", "stop 6");
  EXPECT_EQ(Karst({"run", "--", "-odd"}).status, 6);
}

// --- Results

TEST_F(CommandLine, ExitStatusIsTheLowByteOfTheResult) {
  const std::pair<std::string, int> cases[] = {
      {"", 0}, {"# nothing", 0}, {"stop 3", 3}, {"stop 263", 7}, {"stop 256", 0}, {"stop -1", 255}, {"stop -2", 254},
  };
  for (const auto& [script, status] : cases) {
    const ChildResult result = RunText(script);
    EXPECT_EQ(result.status, status) << script;
    EXPECT_EQ(result.output, "") << script;
    EXPECT_EQ(result.error.empty(), status != 255) << script << ": " << result.error;
  }
}

TEST_F(CommandLine, EveryFailureLeavesItsReasonOnStandardError) {
  WriteWhole("good.flt", kTitleFilter);
  WriteWhole("old.flt", kOldStyleFilter);
  WriteWhole("stops.flt", Lines({"stop -1"}));
  WriteWhole("records", Record("a"));
  std::filesystem::create_directory("folder");
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"run", "none.pro"}, "none.pro: No such file"},
      {{"run", "folder"}, "folder: Is a directory"},
      {{"tree", "none.flt"}, "none.flt: No such file"},
      {{"filter", "none.flt", "records"}, "none.flt: No such file"},
      {{"filter", "good.flt", "none"}, "none: No such file"},
      {{"filter", "good.flt", "folder"}, "folder: Is a directory"},
      {{"filter", "old.flt", "none"}, "none: No such file"},
      {{"filter", "stops.flt", "records"}, "result -1"},
  };
  for (const auto& [arguments, reason] : cases) {
    const ChildResult result = Karst(arguments);
    EXPECT_EQ(result.status, 255) << ::testing::PrintToString(arguments);
    EXPECT_TRUE(Contains(result.error, reason)) << result.error;
  }
}

// --- Output

constexpr std::string_view kTwoStreams =
    "printf(\"a\")\r\nfnprintf(\"stdout\",\"1\\n\")\r\nprintf(\"b\\r\\n\")\r\nfnprintf(\"STDOUT\",\"2\")\r\n";

TEST_F(CommandLine, StandardOutputHoldsBothStreamsInTheirOrder) {
  const ChildResult result = RunText(kTwoStreams);
  EXPECT_EQ(result.output, "a1\nb\r\n2");
  EXPECT_EQ(result.error, "");
}

TEST_F(CommandLine, MessagesGoWhereTheyAreSent) {
  const ChildResult to_error = RunText(kTwoStreams, {"--messages", "stderr"});
  EXPECT_EQ(to_error.output, "1\n2");
  EXPECT_EQ(to_error.error, "ab\r\n");
  WriteWhole("messages", "what was there before is gone");
  const ChildResult to_file = RunText(kTwoStreams, {"--messages", "messages"});
  EXPECT_EQ(to_file.output, "1\n2");
  EXPECT_EQ(to_file.error, "");
  EXPECT_EQ(ReadWhole("messages"), "ab\r\n");
}

TEST_F(CommandLine, MuchOutputKeepsItsOrder) {
  const ChildResult result = RunText(Lines(
      {"int i", "loop i < 20000", "printf(\"%d,\",i)", "fnprintf(\"stdout\",\"%d;\",i)", "i = i + 1", "endloop"}));
  std::string expected;
  for (int i = 0; i < 20000; ++i) expected += std::to_string(i) + "," + std::to_string(i) + ";";
  EXPECT_TRUE(result.output == expected);
}

TEST_F(CommandLine, TextIsConvertedAsAStream) {
  struct {
    std::string script;
    std::u8string_view shown;
  } const cases[] = {
      {"printf(\"\xD6\xD0\xCE\xC4\")", u8"中文"},
      // Cut by two writes, and by two streams.
      {"printf(\"\xD6\")\r\nprintf(\"\xD0\xCE\")\r\nprintf(\"\xC4\")", u8"中文"},
      {"printf(\"\xD6\")\r\nfnprintf(\"stdout\",\"\xD0\")", u8"中"},
      // No GBK: a byte that leads nothing, a lead byte ahead of ASCII and at the end, a pair without a character.
      {"printf(\"a\xFF\xD6\xD0\")", u8"a\\xFF中"},
      {"printf(\"\xD6 \xD6\xD0\")", u8"\\xD6 中"},
      {"printf(\"\xD6\xD0\xD6\")", u8"中\\xD6"},
      {"printf(\"\xAA\xA1\xD6\xD0\")", u8"\\xAA\\xA1中"},
      // A trail byte that is an ASCII letter.
      {"printf(\"\x81\x41\x41\")", u8"丄A"},
  };
  for (const auto& [script, shown] : cases) {
    EXPECT_EQ(RunText(script, {"--encoding", "utf-8"}).output, Utf8(shown));
  }
}

TEST_F(CommandLine, GbkPassesUnchanged) {
  EXPECT_EQ(RunText("printf(\"\xD6\xD0\xFF\xD6\")", {"--encoding", "gbk"}).output, "\xD6\xD0\xFF\xD6");
}

TEST_F(CommandLine, TheLocaleGivesTheEncoding) {
  WriteWhole("script.pro", "printf(\"\xD6\xD0\")");
  const std::string utf8 = Utf8(u8"中");
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{}, utf8},
      {{"LANG=zh_CN.UTF-8"}, utf8},
      {{"LANG=C"}, utf8},
      {{"LANG=zh_CN.GBK"}, "\xD6\xD0"},
      {{"LANG=zh_CN.gb18030@x"}, "\xD6\xD0"},
      {{"LANG=zh_CN.GBK", "LC_ALL=en_US.UTF-8"}, utf8},
      {{"LANG=en_US.UTF-8", "LC_CTYPE=zh_CN.gb2312", "LC_ALL="}, "\xD6\xD0"},
  };
  for (const auto& [environment, output] : cases) {
    const ChildResult result = RunProgram({.arguments = {"run", "script.pro"}, .environment = environment});
    EXPECT_EQ(result.output, output) << ::testing::PrintToString(environment);
  }
}

TEST_F(CommandLine, LostOutputEndsTheRun) {
  WriteWhole("endless.pro", Lines({"int i", "loop 1 > 0", "printf(\"%d\",i)", "i = i + 1", "endloop"}));
  const ChildResult full = RunProgram({.arguments = {"run", "endless.pro"}, .output_path = "/dev/full"});
  EXPECT_EQ(full.status, 74);
  EXPECT_TRUE(Contains(full.error, "standard output: No space left")) << full.error;
  const ChildResult gone = RunProgram({.arguments = {"run", "endless.pro"}, .output_closed = true});
  EXPECT_EQ(gone.status, 141);
  EXPECT_EQ(gone.error, "");
  // A file that the early end leaves incomplete.
  WriteWhole("endless.pro", "fnprintf(\"list\", \"x\")\r\n" + ReadWhole("endless.pro"));
  const ChildResult listed = RunProgram({.arguments = {"run", "endless.pro"}, .output_closed = true});
  EXPECT_EQ(listed.status, 74);
  EXPECT_TRUE(Contains(listed.error, "its reader is gone")) << listed.error;
  // What is written last of all counts as well.
  WriteWhole("short.pro", "printf(\"x\")");
  EXPECT_EQ(RunProgram({.arguments = {"run", "short.pro"}, .output_path = "/dev/full"}).status, 74);
  EXPECT_EQ(Karst({"run", "--messages", "/dev/full", "short.pro"}).status, 74);
}

TEST_F(CommandLine, NamedFilesThatLoseSomethingAreToldOnce) {
  const std::string twice = Lines({"FnCat(\"none/file\", \"x\")", "fnprintf(\"/dev/full\", \"x\")",
                                   "fnprintf(\"/dev/full\", \"x\")", "bmprintf(\"none/b\", \"\", \"x\")"});
  WriteWhole("script.pro", twice);
  WriteWhole("fails.pro", twice + "stop 5");
  WriteWhole("filter.flt", "Record\r\n{\r\n" + twice + "}\r\n");
  WriteWhole("records", Record("a") + Record("b"));
  const std::pair<std::vector<std::string>, int> cases[] = {
      {{"run", "script.pro"}, 74},
      {{"run", "fails.pro"}, 5},
      {{"filter", "-q", "filter.flt", "records", "records"}, 74},
      {{"filter", "-q", "--jobs", "2", "filter.flt", "records"}, 74},
      {{"filter", "-q", "--output-charset", "utf-8", "filter.flt", "records"}, 74},
  };
  for (const auto& [arguments, status] : cases) {
    const ChildResult result = Karst(arguments);
    EXPECT_EQ(result.status, status) << ::testing::PrintToString(arguments);
    EXPECT_EQ(result.error,
              "karst: cannot write none/file: No such file or directory\n"
              "karst: cannot write /dev/full: No space left on device\n"
              "karst: cannot write none/b: No such file or directory\n");
  }
}

TEST_F(CommandLine, AFileThatIsReadIsNotWrittenOver) {
  WriteWhole("filter.flt", kTitleFilter);
  WriteWhole("records", Record("a"));
  for (const std::string option : {"--rejects", "--messages"}) {
    EXPECT_EQ(Karst({"filter", option, "records", "filter.flt", "records"}).status, 2);
    EXPECT_EQ(Karst({"filter", option, "./filter.flt", "filter.flt", "records"}).status, 2);
  }
  EXPECT_EQ(ReadWhole("records"), Record("a"));
  EXPECT_EQ(ReadWhole("filter.flt"), kTitleFilter);
}

// --- Names

TEST_F(CommandLine, FileNamesHaveTheEncodingOfTheOption) {
  WriteWhole(Utf8(u8"中.pro"), "stop 4");
  EXPECT_EQ(Karst({"run", "--encoding", "utf-8", Utf8(u8"中.pro")}).status, 4);
  EXPECT_EQ(Karst({"run", "--encoding", "gbk", "\xD6\xD0.pro"}).status, 4);
  const ChildResult written = RunText("printf(\"x\")", {"--encoding", "gbk", "--messages", "\xCE\xC4"});
  EXPECT_EQ(written.status, 0);
  EXPECT_EQ(ReadWhole(Utf8(u8"文")), "x");
}

TEST_F(CommandLine, NamesThatGbkLacksWorkAsWell) {
  const std::string smile = Utf8(u8"\U0001F600");
  WriteWhole(smile + ".pro", Lines({"int i", "i = $"}));
  const ChildResult script = Karst({"run", smile + ".pro"});
  EXPECT_TRUE(Contains(script.error, smile + ".pro:2: ") && Contains(script.error, "  2 | i = $\n")) << script.error;
  WriteWhole("filter.flt", kTitleFilter);
  WriteWhole(smile, Record("a") + Record("b"));
  EXPECT_EQ(Karst({"filter", "filter.flt", smile}).output,
            "0 \x1F"
            "aa\n1 \x1F"
            "ab\n");
  EXPECT_TRUE(Contains(Karst({"filter", "filter.flt", smile + "?"}).error, smile + "?: No such file"));
}

// --- Errors shown

struct ErrorCase {
  std::string script;
  std::string reported;      // "LINE: " as the engine says it
  std::u8string_view place;  // what stands below the message
};

TEST_F(CommandLine, AScriptErrorIsShownInItsSource) {
  const ErrorCase cases[] = {
      {Lines({"int i", "i = $"}), ":2: ", u8"  2 | i = $\n    |     ^\n"},
      {Lines({"int i", "\ti = i+$"}), ":2: ", u8"  2 | \ti = i+$\n    | \t      ^\n"},
      // The left side of an assignment is what an undeclared name is blamed on.
      {Lines({"int i", "i = 1", "second = 2", "i = 3"}), ":3: ", u8"  3 | second = 2\n    | ^~~~~~\n"},
      // Literals, escapes, wide characters and comments ahead of the place; the line is as it was written.
      {Lines({"# \xD6\xD0", "string s", "s = \"\\t\xD6\xD0\\\"\" $ # \xCE\xC4"}),
       ":3: ", u8"  3 | s = \"\\t中\\\"\" $ # 文\n    |              ^\n"},
      // The second line of a continued one counts as the first for the engine.
      {Lines({"int i", "i = 1 + \\", "    $", "i = 2"}), ":2: ", u8"  3 |     $\n    |     ^\n"},
      // The end of the line was read before the fault was seen.
      {Lines({"int i", "i = 1 / 0", "i = 2"}), ":3: ", u8"  2 | i = 1 / 0\n    |         ^\n"},
      {Lines({"int i", "i = 1 / 0   # why not", "i = 2"}), ":3: ", u8"  2 | i = 1 / 0   # why not\n    |         ^\n"},
      {"int i\r\ni = 1 / 0", ":2: ", u8"  2 | i = 1 / 0\n    |         ^\n"},
      // A source in UTF-8 is shown as well, and a raw line end in a literal does not move what is shown.
      {Utf8(u8"\uFEFFint i\r\nprintf(\"中\\n\")\r\ni = $\r\n"), ":3: ", u8"  3 | i = $\n    |     ^\n"},
      {Lines({"printf(\"a", "b\")", "int i", "i = $"}), ":3: ", u8"  4 | i = $\n    |     ^\n"},
  };
  for (const ErrorCase& test : cases) {
    const ChildResult result = RunText(test.script, {"--messages", "messages"});
    EXPECT_EQ(result.status, 255);
    const size_t line_end = result.error.find('\n');
    ASSERT_NE(line_end, std::string::npos) << test.script;
    EXPECT_TRUE(result.error.starts_with("script.pro" + test.reported)) << result.error;
    EXPECT_EQ(result.error.substr(line_end + 1), Utf8(test.place)) << test.script;
    // The same message, with the same line, stands on the output control.
    const std::string message = result.error.substr(0, line_end).substr(("script.pro" + test.reported).size());
    const std::string number = test.reported.substr(1, test.reported.size() - 3);
    EXPECT_TRUE(Contains(ReadWhole("messages"), Utf8(u8"\r\n第") + number + Utf8(u8"行: "))) << test.script;
    EXPECT_TRUE(Contains(ReadWhole("messages"), message)) << message;
  }
}

// Such a source is refused before there is any code, and so any position in it.
TEST_F(CommandLine, ALiteralThatIsNeverClosedIsMarkedWhereItOpens) {
  const ChildResult result = RunText(Lines({"int i", "printf(\"#\\\"\")  # \"", "  s = \"abc", "i = \\"}));
  EXPECT_EQ(result.status, 255);
  EXPECT_TRUE(result.error.ends_with("\n  3 |   s = \"abc\n    |       ^~~~\n")) << result.error;
}

TEST_F(CommandLine, AnErrorInGbkIsMarkedByItsColumns) {
  const ChildResult result = RunText(Lines({"string s", "s = \"\xD6\xD0\" $"}), {"--encoding", "gbk"});
  EXPECT_TRUE(result.error.ends_with("  2 | s = \"\xD6\xD0\" $\n    |          ^\n")) << result.error;
}

TEST_F(CommandLine, ASourceThatChangedIsShownAsItRan) {
  const ChildResult result =
      RunText(Lines({"Open(\"script.pro\",\"d\")", "fnprintf(\"script.pro\",\"another text\")", "int i", "i = $"}));
  EXPECT_EQ(result.status, 255);
  EXPECT_TRUE(Contains(result.error, "script.pro:4: ")) << result.error;
  EXPECT_TRUE(Contains(result.error, "  4 | i = $\n")) << result.error;
}

TEST_F(CommandLine, AnErrorInAFilterIsShownToo) {
  WriteWhole("filter.flt", Lines({"Record", "{", "Field \"200\"", "{", "none = 1", "}", "}"}));
  WriteWhole("records", Record("a"));
  const ChildResult result = Karst({"filter", "filter.flt", "records"});
  EXPECT_EQ(result.status, 255);
  EXPECT_TRUE(Contains(result.error, "filter.flt:5: ")) << result.error;
  EXPECT_TRUE(Contains(result.error, "  5 | none = 1\n    | ^~~~\n")) << result.error;
}

// --- Filters

TEST_F(CommandLine, RunAndRejectsAreTheWholeFile) {
  WriteWhole("copy.flt", kCopyFilter);
  std::string records;
  std::string good;
  std::string bad;
  for (int i = 0; i < 200; ++i) {
    const std::string record = Record("title " + std::to_string(i));
    const std::string noise = i % 20 == 7 ? "no record, number " + std::to_string(i) + "\xFF\x1D" : "";
    records += record + noise;
    good += std::to_string(i) +
            " \x1F"
            "atitle " +
            std::to_string(i) + "\n";
    bad += noise;
  }
  WriteWhole("records", records);
  WriteWhole("titles.flt", kTitleFilter);
  const ChildResult result = Karst({"filter", "--rejects", "rejects", "titles.flt", "records"});
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(result.output == good) << result.output.substr(0, 200);
  EXPECT_EQ(ReadWhole("rejects"), bad);
  EXPECT_TRUE(Contains(result.error,
                       "karst: records: 200 records, 10 passed over (" + std::to_string(bad.size()) + " bytes)\n"))
      << result.error;
  EXPECT_TRUE(Contains(result.error, "and 5 more")) << result.error;
}

TEST_F(CommandLine, RejectsOfSeveralFilesComeTogetherAndCleanFilesLeaveAnEmptyOne) {
  WriteWhole("titles.flt", kTitleFilter);
  WriteWhole("one", Record("a") + "junk one" + Record("b"));
  WriteWhole("two", "junk two" + Record("c"));
  const ChildResult result = Karst({"filter", "--rejects", "rejects", "titles.flt", "one", "two"});
  EXPECT_EQ(ReadWhole("rejects"), "junk onejunk two");
  EXPECT_EQ(result.output,
            "0 \x1F"
            "aa\n1 \x1F"
            "ab\n0 \x1F"
            "ac\n");
  EXPECT_TRUE(Contains(result.error, "karst: together: 3 records, 2 passed over (16 bytes) in 2 files\n"));
  WriteWhole("clean", Record("a"));
  Karst({"filter", "--rejects", "rejects", "titles.flt", "clean"});
  EXPECT_EQ(ReadWhole("rejects"), "");
  const ChildResult full = Karst({"filter", "--rejects", "/dev/full", "titles.flt", "one"});
  EXPECT_EQ(full.status, 74);
  EXPECT_TRUE(Contains(full.error, "cannot write /dev/full: No space left")) << full.error;
}

TEST_F(CommandLine, AFailingFileDoesNotKeepTheOthersFromRunning) {
  WriteWhole("titles.flt", kTitleFilter);
  WriteWhole("one", Record("a"));
  WriteWhole("two", Record("b"));
  const ChildResult result = Karst({"filter", "titles.flt", "one", "none", "two"});
  EXPECT_EQ(result.status, 255);
  EXPECT_EQ(result.output,
            "0 \x1F"
            "aa\n0 \x1F"
            "ab\n");
  EXPECT_TRUE(Contains(result.error, "none: No such file")) << result.error;
}

TEST_F(CommandLine, AFilterThatCannotBeBuiltIsReportedOnce) {
  WriteWhole("broken.flt", Lines({"Record", "{"}));
  WriteWhole("one", Record("a"));
  const ChildResult result = Karst({"filter", "broken.flt", "one", "one"});
  EXPECT_EQ(result.status, 255);
  EXPECT_EQ(result.error.find("broken.flt:"), result.error.rfind("broken.flt:")) << result.error;
}

TEST_F(CommandLine, StandardInputIsARecordFile) {
  WriteWhole("titles.flt", kTitleFilter);
  WriteWhole("one", Record("x"));
  const ChildResult result = Karst({"filter", "titles.flt", "one", "-"}, Record("a") + Record("b"));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output,
            "0 \x1F"
            "ax\n0 \x1F"
            "aa\n1 \x1F"
            "ab\n");
  EXPECT_TRUE(Contains(result.error, "karst: standard input: 2 records, 0 passed over\n")) << result.error;
}

// What was read of it already is gone, also where standard input is a file and could be opened from its start.
TEST_F(CommandLine, StandardInputIsReadFromWhereItStands) {
  WriteWhole("titles.flt", kTitleFilter);
  const std::string first = Record("a");
  WriteWhole("two", first + Record("b"));
  const std::string command = "{ dd bs=" + std::to_string(first.size()) + " count=1 of=/dev/null status=none; " +
                              ProgramPath() + " filter -q titles.flt - > out; } < two";
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(ReadWhole("out"),
            "0 \x1F"
            "ab\n");
}

TEST_F(CommandLine, ProgressAndSummaryAppearAsAsked) {
  WriteWhole("titles.flt", kTitleFilter);
  WriteWhole("one", Record("x"));
  EXPECT_EQ(Karst({"filter", "-q", "titles.flt", "one"}).error, "");
  EXPECT_EQ(Karst({"filter", "titles.flt", "one"}).error, "karst: one: 1 record, 0 passed over\n");
  EXPECT_TRUE(Contains(Karst({"filter", "--progress", "always", "titles.flt", "one"}).error, "0.0%  0 records"));
  EXPECT_EQ(Karst({"filter", "--strict", "titles.flt", "one"}).status, 0);
  WriteWhole("mixed", Record("x") + "junk");
  const ChildResult warned = Karst({"filter", "-q", "titles.flt", "mixed", "one"});
  EXPECT_EQ(warned.status, 0);
  EXPECT_TRUE(warned.error.starts_with("karst: mixed: 1 record, 1 passed over (4 bytes)\n  at byte ")) << warned.error;
  EXPECT_EQ(Karst({"filter", "-q", "--strict", "titles.flt", "mixed", "one"}).status, 1);
  // Pieces that are shown as one are not told again.
  WriteWhole("pieces", "<record><record>");
  EXPECT_FALSE(Contains(Karst({"filter", "titles.flt", "pieces"}).error, "more"));
}

TEST_F(CommandLine, AnEarlyEndIsTold) {
  WriteWhole("early.flt", Lines({"Record", "{", "Field \"200\"", "{", "stop -1", "}", "}"}));
  WriteWhole("one", Record("a") + Record("b"));
  const ChildResult result = Karst({"filter", "early.flt", "one"});
  const std::string size = std::to_string(Record("a").size());
  EXPECT_TRUE(Contains(result.error, "1 record, 0 passed over; read up to byte " + size + " of ")) << result.error;
}

TEST_F(CommandLine, TreeShowsTheBlocks) {
  WriteWhole("titles.flt", kTitleFilter);
  const ChildResult result = Karst({"tree", "titles.flt"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_TRUE(result.output.starts_with("\r\n*********** dump MARC Tree ******************\r\n")) << result.output;
  EXPECT_TRUE(Contains(result.output, "Field \"200\"")) << result.output;
}

// --- Signals

// Waits until the child has written to a file, so that it is at work.
void WaitForFile(const std::string& path) {
  constexpr useconds_t kPause = 5000;
  for (int i = 0; i < 2000; ++i) {
    std::error_code none;
    if (std::filesystem::exists(path) && std::filesystem::file_size(path, none) > 0 && !none) return;
    usleep(kPause);
  }
  ADD_FAILURE() << "the program wrote nothing to " << path;
}

ChildResult Interrupt(const std::vector<std::string>& arguments, int signal, useconds_t delay = 0) {
  return RunProgram({.arguments = arguments}, [signal, delay](pid_t child) {
    WaitForFile("work");
    usleep(delay);
    kill(child, signal);
  });
}

void ExpectWholeLines(const std::string& text) {
  ASSERT_FALSE(text.empty());
  size_t begin = 0;
  for (int number = 0; begin < text.size(); ++number) {
    const std::string line = "line " + std::to_string(number) + "\n";
    ASSERT_EQ(text.substr(begin, line.size()), line);
    begin += line.size();
  }
}

TEST_F(CommandLine, CtrlCEndsAScriptInOrder) {
  WriteWhole("endless.pro", Lines({"int i", "loop 1 > 0", "fnprintf(\"work\",\"line %d\\n\",i)",
                                   "fnprintf(\"stdout\",\"line %d\\n\",i)", "i = i + 1", "endloop"}));
  for (const auto& [signal, status] : {std::pair(SIGINT, 130), std::pair(SIGTERM, 143)}) {
    std::filesystem::remove("work");
    const ChildResult result = Interrupt({"run", "endless.pro"}, signal);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.error, "karst: interrupted\n");
    ExpectWholeLines(result.output);
    // The stop falls between two statements, perhaps between the two that write the same line.
    const std::string work = ReadWhole("work");
    ExpectWholeLines(work);
    EXPECT_TRUE(work.starts_with(result.output));
  }
}

// At several moments of the walk: wherever it is, it ends soon, and no other file is begun.
TEST_F(CommandLine, CtrlCEndsAFilterAndTheFilesBehindIt) {
  WriteWhole("long.flt", Lines({"Record", "{", "Field \"200\"", "{", "SubField \"a\"", "{", "fnprintf(\"work\",\".\")",
                                "}", "}", "}"}));
  std::string records;
  const std::string record = Record("a");
  for (int i = 0; i < 200000; ++i) records += record;
  WriteWhole("many", records);
  for (int attempt = 0; attempt < 8; ++attempt) {
    std::filesystem::remove("work");
    const ChildResult result = Interrupt({"filter", "long.flt", "many", "many"}, SIGINT, 997 * attempt);
    EXPECT_EQ(result.status, 130);
    EXPECT_LT(ReadWhole("work").size(), 200000u);
    EXPECT_TRUE(Contains(result.error, "read up to byte")) << result.error;
  }
}

}  // namespace
}  // namespace karst::testing

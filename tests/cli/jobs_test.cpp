// Filters whose records are shared out among threads: whatever is seen from outside has to be what one engine gives.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>

#include "support/child_process.h"
#include "support/places.h"
#include "support/record_run.h"
#include "support/temp_folder.h"
#include "text/charset.h"

namespace karst::testing {
namespace {

constexpr int kRecords = 3000;

std::string Lines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Records with a 001 that counts them, among them some that need a repair and much that is none.
std::string DamagedRecords() {
  const std::string books = ReadWhole(SourcePath("examples/books.iso"));
  const std::string faulty = ReadWhole(SourcePath("examples/faulty.iso"));
  std::string records;
  for (int i = 0; i < kRecords; ++i) {
    records += IsoBytes({{"001", "N" + std::to_string(i)},
                         {"200",
                          "1 \x1F"
                          "a题名\x1F"
                          "f作者" +
                              std::to_string(i)}});
    if (i % 500 == 250) records += books + faulty;
    if (i % 700 == 3) records += "no record " + std::to_string(i) + "\x1D";
    if (i % 900 == 5) records.erase(records.size() - 2, 1);
  }
  return records + "the end breaks off";
}

// All that a run leaves behind.
struct Traces {
  int status;
  std::string output, error;
  std::map<std::string, std::string> files;
  bool operator==(const Traces&) const = default;
};

class Jobs : public ::testing::Test {
 protected:
  Jobs() { WriteWhole("records", DamagedRecords()); }

  Traces Run(const std::string& filter, const std::string& jobs, std::vector<std::string> options = {}) {
    WriteWhole("f.flt", filter);
    options.insert(options.begin(), {"filter", "--jobs", jobs});
    options.insert(options.end(), {"f.flt", "records"});
    const ChildResult result = RunProgram({.arguments = options});
    Traces traces{result.status, result.output, result.error, {}};
    for (const std::string name : {"one.out", "two.out", "messages", "rejects"}) {
      if (std::filesystem::exists(name)) traces.files[name] = ReadWhole(name);
      std::filesystem::remove(name);
    }
    return traces;
  }

  void ExpectSame(const std::string& filter, const std::vector<std::string>& options, const std::string& what) {
    const Traces one = Run(filter, "1", options);
    const Traces four = Run(filter, "4", options);
    EXPECT_EQ(one.status, four.status) << what;
    EXPECT_TRUE(one.output == four.output) << what << "\n" << four.output.substr(0, 2000);
    EXPECT_EQ(one.error, four.error) << what;
    EXPECT_TRUE(one.files == four.files) << what;
  }

  TempFolder folder_;
};

// --- The same as one engine

struct Case {
  const char* name;
  std::vector<std::string> lines;
};

// Records that take longer than those behind them make the engines overtake each other.
const std::string kUneven =
    "int wait\r\nint most = (_RECORDCOUNT * 7919) % 613\r\nloop wait < most\r\nwait = wait + 1\r\nendloop";

const Case kCases[] = {
    {"both streams, half a character, and the count",
     {"string s = \"常量\"", "printf(\"start %s\\n\", s)", "Record", "{", kUneven, "printf(\"p%d \", _RECORDCOUNT)",
      "fnprintf(\"stdout\", \"\xD6\")", "fnprintf(\"STDOUT\", \"\xD0 %d\\n\", _RECORDCOUNT)", "}", "Final", "{",
      "printf(\"end\\n\")", "}"}},
    {"named files, also written ahead of the records and behind them",
     {"Open(\"one.out\", \"d\")", "fnprintf(\"one.out\", \"head\\n\")", "string line",
      "int file = Open(\"one.out\", \"\")", "ReadLine(file, &line, 4)", "Close(file)", "printf(\"%s\\n\", line)",
      "Record", "{", kUneven, "int told = fnprintf(\"one.out\", \"%d\\n\", _RECORDCOUNT)", "printf(\"%d,\", told)",
      "FnCat(\"two.out\", _RECORD)", "if _RECORDCOUNT % 50 == 0",
      "printf(\"%d;\", bmprintf(\"two.out\", \"utf-8\", \"题名\"))", "FnCat(\"one.out\", \"\")", "}",
      "FnCat(\"one.out\", \"foot\")"}},
    {"bmprintf to a file that is open, and to one that other records have open",
     {"Close(Open(\"one.out\", \"c\"))", "Record", "{", "int file = Open(\"one.out\", \"\")",
      "printf(\"%d \", bmprintf(\"./one.out\", \"\", \"x\"))", "Close(file)", kUneven,
      "printf(\"%d\\n\", bmprintf(\"one.out\", \"utf-8\", \"题名%d\\n\", _RECORDCOUNT))", "}"}},
    {"an error in a record",
     {"Record", "{", kUneven, "fnprintf(\"stdout\", \"%d\", _RECORDCOUNT)",
      "fnprintf(\"one.out\", \"%d\", _RECORDCOUNT)", "Field \"200\"", "{", "printf(\"field\")",
      "printf(\"%d\", 1 / (_RECORDCOUNT - 1500))", "}", "fnprintf(\"stdout\", \"\\n\")", "}",
      "printf(\"closing code\")"}},
    {"an error in the first record", {"Record", "{", "printf(\"%d\", nothing)", "}", "printf(\"closing code\")"}},
    {"stop -1 ends the records",
     {"Record", "{", kUneven, "Field \"001\"", "{", "printf(\"%s \", _FIELD)", "if _FIELD == \"N1234\"", "stop -1", "}",
      "}", "printf(\"closing code\")"}},
    {"break and Continue",
     {"Record", "{", kUneven, "if _RECORDCOUNT % 3 == 0", "break", "Field \"200\"", "{", "SubField \"*\"", "{",
      "printf(\"%s\", _SUBFIELD)", "if _RECORDCOUNT % 2 == 0", "break", "}", "printf(\"\\n\")", "}", "}"}},
    {"a Record block that ends the walk at once", {"Record", "{", "Group", "{", "}", "}", "printf(\"closing\")"}},
    {"two Record blocks, and one that is never reached",
     {"Record", "{", "printf(\"a%d \", _RECORDCOUNT)", "}", "Record", "{", kUneven, "printf(\"b%d \", _RECORDCOUNT)",
      "}", "Common \"c\"", "{", "}", "Record", "{", "printf(\"never\")", "}"}},
    {"the old style",
     {"int x = _RECORDCOUNT", "printf(\"%d \", x)", "Field \"001\"", "{", "printf(\"%s\\n\", _FIELD)", "}"}},
    {"the old style with stop -1", {"printf(\"%d \", _RECORDCOUNT)", "if _RECORDCOUNT == 777", "stop -1"}},
    {"the old style with an error", {"printf(\"%d \", _RECORDCOUNT)", "printf(\"%d\", 1 / (_RECORDCOUNT - 777))"}},
    {"an error ahead of the records", {"printf(\"start\")", "int x = 1 / 0", "Record", "{", "}"}},
    {"stop -1 ahead of the records", {"printf(\"start\")", "stop -1", "Record", "{", "printf(\"r\")", "}"}},
    {"message boxes between the other texts",
     {"MsgBox(\"start\")", "Record", "{", kUneven, "printf(\"%d\\n\", _RECORDCOUNT)", "if _RECORDCOUNT % 400 == 1",
      "printf(\"%d\", MsgBox(_RECORD))", "}"}},
    {"look-ups, found and refused",
     {"Record", "{", "string found", "if ZebGetRcd(\"books\", (\"001=N\" + _RECORDCOUNT), &found) == 0",
      "printf(\"%d: %s\\n\", _RECORDCOUNT, found)", "if _RECORDCOUNT == 2000",
      "printf(\"%d\", ZebGetRcd(\"none\", \"001=1\", &found))", "if _RECORDCOUNT > 2500",
      "ZebGetRcd(\"books\", (\"N\" + _RECORDCOUNT), &found)", "}"}},
    {"tables that only the code ahead of the records fills",
     {"int names = DBCreate(1)", "string last", "int number", "DBWrite(names, \"作者\", 0, 5, \"x\")", "Record", "{",
      "string text", "int n", "DBSearch(names, \"作者\", 0, &n, &text)", "printf(\"%d%s\", n, text)", "}",
      "int m = DBRead(names, 0, &last, 0, &number)", "printf(\"%d%s\", m, last)"}},
};

TEST_F(Jobs, LeaveWhatOneEngineLeaves) {
  for (const Case& test : kCases) {
    ExpectSame(Lines(test.lines), {"--rejects", "rejects", "--database", "books=records"}, test.name);
    ExpectSame(Lines(test.lines), {"--messages", "messages", "--encoding", "gbk"}, test.name);
  }
}

// The examples, without what ties their records together: the totals of their closing code.
TEST_F(Jobs, ExamplesGiveTheSame) {
  const struct {
    std::string file;
    std::vector<std::pair<std::string, std::string>> changes;
    std::string closing;
  } examples[] = {
      {"first", {{"count = count + 1", ""}}, "Final"},
      {"titles", {{"records = records + 1", "int records = _RECORDCOUNT + 1"}}, "Final"},
      {"validate", {}, GbkToUtf8("fnprintf(\"stdout\", \"共 %d")},
      {"newbooks", {}, "fnprintf(\"stdout\", \"</ol>"},
      {"cleanup", {}, GbkToUtf8("fnprintf(\"stdout\", \"共 %d")},
  };
  for (const auto& example : examples) {
    std::string text = ReadWhole(SourcePath("examples/" + example.file + ".flt"));
    for (const auto& [from, to] : example.changes) {
      ASSERT_TRUE(Contains(text, from)) << example.file;
      text.replace(text.find(from), from.size(), to);
    }
    const size_t closing = text.find(example.closing);
    ASSERT_NE(closing, std::string::npos) << example.file;
    // Common blocks stand behind the closing code.
    text.erase(closing, example.closing == "Final" ? text.npos : text.find('\n', closing) + 1 - closing);
    WriteWhole("f.flt", text);
    std::vector<std::string> outputs;
    for (const std::string jobs : {"1", "4"}) {
      const ChildResult result = RunProgram({.arguments = {"filter", "-j", jobs, "f.flt", "records"}});
      EXPECT_EQ(result.status, 0) << example.file << result.error;
      outputs.push_back(result.output + (example.file == "cleanup" ? ReadWhole("cleaned.iso") : ""));
    }
    EXPECT_GT(outputs[0].size(), 500u) << example.file;
    EXPECT_TRUE(outputs[0] == outputs[1]) << example.file;
  }
}

TEST_F(Jobs, SeveralFilesAndStandardInputAreRunsOfTheirOwn) {
  WriteWhole("f.flt", Lines({"Record", "{", "printf(\"%d \", _RECORDCOUNT)", "}", "printf(\"end\\n\")"}));
  const std::string records = ReadWhole("records");
  std::vector<ChildResult> results;
  for (const std::string jobs : {"1", "auto", "3"}) {
    results.push_back(RunProgram(
        {.arguments = {"filter", "-j", jobs, "f.flt", "records", "none", "-"}, .input = records.substr(0, 40000)}));
    EXPECT_EQ(results.back().status, 255);
    EXPECT_EQ(results.back().output, results.front().output) << jobs;
    EXPECT_EQ(results.back().error, results.front().error) << jobs;
  }
}

// --- Several processes

// The command of the documents, with small blocks.
TEST_F(Jobs, ProcessesUnderParallelGiveTheSame) {
  const std::string filter =
      Lines({"Record", "{", "Field \"001\"", "{", "fnprintf(\"stdout\", \"%s\\n\", _FIELD)", "}", "}"});
  const Traces one = Run(filter, "1");
  WriteWhole("count.flt", Lines({"int n", "Record", "{", "n = n + 1", "}", "fnprintf(\"stdout\", \"%d\\n\", n)"}));
  const auto parallel = [](const std::string& name) {
    const std::string command = "bash -c \"parallel -j 2 -k --pipe --recend $'\\x1d' --block 60k '" +
                                std::string(ProgramPath()) + "' filter -q " + name + " - < records\"";
    FILE* const pipe = popen(command.c_str(), "r");
    std::string output;
    char buffer[4096];
    for (size_t count; (count = fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, count);
    EXPECT_EQ(pclose(pipe), 0);
    return output;
  };
  EXPECT_TRUE(parallel("f.flt") == one.output);
  // There were several processes, each with closing code of its own.
  const std::string counts = parallel("count.flt");
  EXPECT_GT(std::count(counts.begin(), counts.end(), '\n'), 3);
}

// --- What threads cannot give

TEST_F(Jobs, WhatRecordsLeaveBehindIsWarnedOf) {
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"int n", "string s", "Record", "{", "n = n + 1", "s = \"x\"", "}", "printf(\"%d\", n)"},
       "records change n, s;"},
      {{"int t = DBCreate(1)", "Record", "{", "DBWrite(t, _RECORD, 0, 1)", "}"}, "records change table 1;"},
      {{"int64 a = 1", "string s = \"x\"", "Record", "{", "int64 n = a", "}"}, ""},
  };
  for (const auto& [lines, warning] : cases) {
    const Traces traces = Run(Lines(lines), "4", {"-q"});
    EXPECT_EQ(traces.status, 0);
    EXPECT_EQ(Contains(traces.error, "records change"), !warning.empty()) << traces.error;
    EXPECT_TRUE(Contains(traces.error, warning)) << traces.error;
  }
}

TEST_F(Jobs, AFilterThatCanBeReadOnceServesAllThreads) {
  const std::string filter = Lines({"Record", "{", "printf(\"%d \", _RECORDCOUNT)", "}"});
  const std::vector<std::string> arguments = {"filter", "-j", "2", "/dev/stdin", "records"};
  const ChildResult result = RunProgram({.arguments = arguments, .input = filter});
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_TRUE(result.output.starts_with("0 1 2 3 ")) << result.output.substr(0, 20);
}

// --- Ends

// One engine would never come to the records that go on for ever.
TEST_F(Jobs, RecordsBehindTheEndAreGivenUp) {
  for (const std::string fault : {"printf(\"%d\", 1 / 0)", "stop -1"}) {
    const std::string filter =
        Lines({"Record", "{", "Field \"001\"", "{", "printf(\"%d \", _RECORDCOUNT)", "if _RECORDCOUNT == 4", "{", fault,
               "}", "loop _RECORDCOUNT > 4", "endloop", "}", "}", "printf(\"closing\")"});
    ExpectSame(filter, {}, fault);
  }
}

TEST_F(Jobs, LostOutputEndsTheRun) {
  const std::string filter =
      Lines({"Record", "{", "int i", "loop i < 1000", "printf(\"%d\", i)", "i = i + 1", "endloop", "}"});
  WriteWhole("f.flt", filter);
  for (const std::string jobs : {"1", "4"}) {
    const ChildResult gone =
        RunProgram({.arguments = {"filter", "-q", "-j", jobs, "f.flt", "records"}, .output_closed = true});
    EXPECT_EQ(gone.status, 141);
    EXPECT_FALSE(Contains(gone.error, "cannot write")) << gone.error;
  }
}

TEST_F(Jobs, CtrlCLeavesTheRecordsUpToSomePlace) {
  WriteWhole("f.flt", Lines({"Record", "{", "fnprintf(\"stdout\", \"%d\\n\", _RECORDCOUNT)", "if _RECORDCOUNT == 2000",
                             "Open(\"reached\", \"c\")", "loop _RECORDCOUNT == 2000", "endloop", "}",
                             "fnprintf(\"stdout\", \"closing\")"}));
  const ChildResult result = RunProgram({.arguments = {"filter", "-j", "3", "f.flt", "records"}}, [](pid_t child) {
    for (int i = 0; i < 6000 && !std::filesystem::exists("reached"); ++i) usleep(10'000);
    kill(child, SIGINT);
  });
  EXPECT_EQ(result.status, 130);
  // The other threads may have been at records before that one.
  const std::string& output = result.output;
  std::string expected;
  for (int i = 0; i <= 2000; ++i) expected += std::to_string(i) + "\n";
  EXPECT_TRUE(expected.starts_with(output)) << output.substr(output.size() > 60 ? output.size() - 60 : 0);
  EXPECT_TRUE(output.starts_with("0\n1\n2\n") && output.ends_with("\n")) << result.error;
}

TEST_F(Jobs, NumbersOfThreads) {
  for (const std::string jobs : {"0", "-1", "65", "two", "2x", ""}) {
    EXPECT_EQ(RunProgram({.arguments = {"filter", "--jobs", jobs, "f.flt", "records"}}).status, 2) << jobs;
  }
  for (const std::string jobs : {"1", "64", "auto"}) {
    EXPECT_EQ(Run(Lines({"Record", "{", "}"}), jobs).status, 0) << jobs;
  }
}

}  // namespace
}  // namespace karst::testing

// The program's answers to a script that asks its host: records by name and query, and message boxes. The texts of
// scripts and records are ASCII here, or GBK bytes written as escapes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "support/child_process.h"
#include "support/places.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;  // tag, text

// A subfield mark ahead of each code: "$" here, so that a test shows it.
std::string Marked(std::string text) {
  std::replace(text.begin(), text.end(), '$', '\x1F');
  return text;
}

// The internal form of a record behind its header.
std::string Body(const Fields& fields) {
  std::string body;
  for (const auto& [tag, text] : fields) body += tag + Marked(text) + "\x1E";
  return body + "\x1D";
}

// The same record in ISO 2709.
std::string Record(const Fields& fields) {
  std::string directory;
  std::string data;
  for (const auto& [tag, text] : fields) {
    char entry[32];
    std::snprintf(entry, sizeof entry, "%04zu%05zu", text.size() + 1, data.size());
    directory += tag + entry;
    data += Marked(text) + "\x1E";
  }
  const size_t base = 24 + directory.size() + 1;
  char header[64];
  std::snprintf(header, sizeof header, "%05zunam0 22%05zu   450 ", base + data.size() + 1, base);
  return header + directory + "\x1E" + data + "\x1D";
}

std::string Lines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

size_t Count(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

// A script that asks each query (database, query) in turn and puts result and variable, without the header of a record,
// on standard output. The variable holds a text of the length of a header and "kept" before each call.
std::string Asking(const Fields& questions) {
  std::vector<std::string> lines = {"string found", "int result"};
  for (const auto& [database, query] : questions) {
    lines.push_back("found = \"123456789012345678901234kept\"");
    lines.push_back("result = ZebGetRcd(\"" + database + "\", \"" + query + "\", &found)");
    lines.push_back("CopyStr(found, 24, 100000, &found)");
    lines.push_back("fnprintf(\"stdout\", \"%d %s|\", result, found)");
  }
  return Lines(lines);
}

class HostAnswers : public ::testing::Test {
 protected:
  ChildResult Karst(std::vector<std::string> arguments, std::string input = {}) {
    return RunProgram({.arguments = std::move(arguments), .input = std::move(input)});
  }

  ChildResult Ask(const Fields& questions, std::vector<std::string> options) {
    WriteWhole("ask.pro", Asking(questions));
    options.insert(options.begin(), {"run", "--encoding", "gbk"});
    options.push_back("ask.pro");
    return Karst(std::move(options));
  }

  TempFolder folder_;
};

const Fields kFirst = {{"001", "A1 "}, {"200", "1 $aRed$bx$aGreen"}, {"606", "  $aRed"}};
const Fields kSecond = {{"001", "A2"}, {"200", "1 $a Blue\t$b$=9"}, {"-01", "B1"}, {"701", "00"}};
const Fields kThird = {{"001", "A2"}, {"200", "1 $aRed"}, {"300", "  \xD6\xD0 $a\xD6\xD0\xCE\xC4"}};

// --- Look-ups

TEST_F(HostAnswers, TheFirstMatchingRecordComesBack) {
  const Fields noise = {{"001", "A9"}};
  WriteWhole("books", Record(kFirst) + "\r\n" + Record(kSecond) + Record(kThird));
  WriteWhole("other", Record(noise));
  const std::string none = "-1 kept|";
  const std::string first = "0 " + Body(kFirst) + "|";
  const std::string second = "0 " + Body(kSecond) + "|";
  const std::string third = "0 " + Body(kThird) + "|";
  const std::pair<std::string, std::string> cases[] = {
      {"001=A1", first},
      {" 001 =  A1 ", first},
      {"001=A2", second},  // the third has it too
      {"001=a1", none},
      {"001=A", none},
      {"001=", none},
      {"001=A9", none},  // of the other file
      {"0*1=A1", none},
      {"002=A1", none},
      {"-01=B1", second},
      {"701=", second},  // nothing behind the indicators
      {"200$a=Red", first},
      {"200$a=Green", first},  // not the first of its code
      {"200$a=Blue", second},
      {"200$b=", second},
      {"200$==9", second},
      {"200$a=x", none},
      {"200$A=Red", none},
      {"606$a=Red", first},
      {"200=\x1F"
       "aRed",
       third},  // the whole data
      {"200=1 \x1F"
       "aRed",
       none},  // the indicators are no data
      {"300=\xD6\xD0 \x1F"
       "a\xD6\xD0\xCE\xC4",
       third},
      {"300$a=\xD6\xD0\xCE\xC4", third},
      {"300$a=\xD6\xD0", none},
  };
  Fields questions;
  std::string expected;
  for (const auto& [query, answer] : cases) {
    questions.emplace_back("books", query);
    expected += answer;
  }
  const ChildResult result = Ask(questions, {"--database", "books=books", "--database", "o=other"});
  EXPECT_EQ(result.output, expected);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(Count(result.error, "\n"), 1u) << result.error;  // only "0*1" is no tag
}

TEST_F(HostAnswers, WhatCannotBeAskedIsToldOnce) {
  WriteWhole("books", Record(kFirst));
  const std::vector<std::string> unreadable = {"",        "001",    "A1",       "=A1",      "01=A1",
                                               "0011=A1", "200$=x", "200$ab=x", "200a=Red", "200$\xD6\xD0=x"};
  Fields questions = {{"none", "001=A1"}, {"none", "001=A1"}, {"BOOKS", "001=A1"}, {"", "001=A1"}};
  for (const std::string& query : unreadable) questions.emplace_back("books", query);
  questions.emplace_back("books", "001=A1");
  const ChildResult result = Ask(questions, {"--database", "books=books"});
  EXPECT_EQ(Count(result.output, "-1 kept|"), questions.size() - 1) << result.output;
  EXPECT_TRUE(result.output.ends_with("0 " + Body(kFirst) + "|")) << result.output;
  EXPECT_EQ(result.status, 0);
  for (const char* told : {"none: unknown", "BOOKS: unknown", "database : unknown", "books: \"\" is no TAG=text"}) {
    EXPECT_EQ(Count(result.error, told), 1u) << told << "\n" << result.error;
  }
  EXPECT_EQ(Count(result.error, "\n"), 4u) << result.error;
}

TEST_F(HostAnswers, WithoutADatabaseTheScriptGoesOn) {
  const ChildResult result = Ask({{"a", "001=A1"}, {"a", "001=A1"}}, {});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "-1 kept|-1 kept|");
  EXPECT_EQ(Count(result.error, "karst: database a: unknown"), 1u) << result.error;
}

TEST_F(HostAnswers, DamageIsPassedOverAndTold) {
  WriteWhole("books", Record(kFirst) + "no record\x1D" + Record(kSecond));
  const ChildResult result = Ask({{"b", "001=A2"}, {"b", "200$a=Red"}}, {"--database", "b=books"});
  EXPECT_EQ(result.output, "0 " + Body(kSecond) + "|0 " + Body(kFirst) + "|");
  EXPECT_EQ(result.error, "karst: database b: records read: 2, passed over: 1, bytes in these: 10\n");
}

TEST_F(HostAnswers, RecordsThatCannotBeKeptAreToldOnce) {
  WriteWhole("books", Record(kFirst));
  WriteWhole("ask.pro", Asking({{"b", "001=A1"}, {"b", "001=A1"}}));
  const ChildResult result =
      RunProgram({.arguments = {"run", "--database", "b=books", "ask.pro"}, .environment = {"TMPDIR=/none/at/all"}});
  EXPECT_EQ(result.output, "-1 kept|-1 kept|");
  EXPECT_EQ(Count(result.error, "karst: database b: temporary file: "), 1u) << result.error;
  EXPECT_EQ(Count(result.error, "\n"), 1u) << result.error;
  EXPECT_EQ(result.status, 1);
}

TEST_F(HostAnswers, AFileThatBreaksOffIsNoSuccess) {
  WriteWhole("books", "<collection>");
  const ChildResult result = Ask({{"b", "001=A2"}}, {"--database", "b=books"});
  EXPECT_EQ(Count(result.error, "karst: database b: books cannot be read behind byte "), 1u) << result.error;
  EXPECT_EQ(result.status, 1);
}

// A record that is larger than the room which the engine offers.
TEST_F(HostAnswers, AnyLengthOfRecord) {
  Fields large = {{"001", "L"}};
  for (int i = 0; i < 20; ++i) large.emplace_back("300", "  $a" + std::string(9000, 'x'));
  WriteWhole("empty", "");
  const std::string internal = Record(kFirst).substr(0, 24) + Body(large);
  WriteWhole("books", internal + Record(kFirst));
  WriteWhole("length.pro", Lines({"string found", "int result", "result = ZebGetRcd(\"b\", \"001=L\", &found)",
                                  "fnprintf(\"stdout\", \"%d %d\", result, StrLen(found))",
                                  "stop ZebGetRcd(\"e\", \"001=L\", &found)"}));
  const ChildResult result = Karst({"run", "--database", "b=books", "--database", "e=empty", "length.pro"});
  EXPECT_EQ(result.output, "0 " + std::to_string(internal.size()));
  EXPECT_EQ(result.status, 255);
}

// The filter asks for each record; the look-ups of all its files share one reading of the database.
TEST_F(HostAnswers, AFilterLooksUpEachRecord) {
  constexpr int kRecords = 20000;
  std::string records;
  for (int i = 0; i < kRecords; ++i) records += Record({{"001", std::to_string(i)}, {"200", "1 $aT"}});
  WriteWhole("books", records);
  WriteWhole("check.flt", Lines({"int missing", "string found", "Record", "{", "Field \"001\"", "{",
                                 "sprintf(&found, \"001=%s\", _FIELD)",
                                 "if ZebGetRcd(\"b\", found, &found) < 0 missing = missing + 1", "}", "}",
                                 "fnprintf(\"stdout\", \"%d\\n\", missing)"}));
  std::filesystem::create_directory("temporary");
  const ChildResult result =
      RunProgram({.arguments = {"filter", "-q", "--database", "b=/dev/stdin", "check.flt", "books", "books"},
                  .input = records,  // a pipe: it can be read only once
                  .environment = {"TMPDIR=" + (folder_.path() / "temporary").string()}});
  EXPECT_EQ(result.output, "0\n0\n");
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(std::filesystem::is_empty("temporary"));
}

TEST_F(HostAnswers, WrongDatabasesAreWrongUsage) {
  WriteWhole("books", Record(kFirst));
  WriteWhole("ask.pro", "stop 9");
  WriteWhole("kept", "as it was");
  std::filesystem::create_directory("folder");
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"--database", "books"}, "NAME=FILE"},
      {{"--database", "=books"}, "NAME=FILE"},
      {{"--database", "b="}, "NAME=FILE"},
      {{"--database", "b=none"}, "cannot read none: No such file"},
      {{"--messages", "kept", "--database", "b=folder"}, "cannot read folder: Is a directory"},
      {{"--database", "b=books", "--database", "b=kept"}, "twice"},
      {{"--database", "\xF0\x9F\x98\x80=books"}, "GBK"},
      {{"--messages", "books", "--database", "b=books"}, "books is read by this run"},
  };
  for (const auto& [options, reason] : cases) {
    std::vector<std::string> arguments = options;
    arguments.insert(arguments.begin(), "run");
    arguments.push_back("ask.pro");
    const ChildResult result = Karst(arguments);
    EXPECT_EQ(result.status, 2) << reason;
    EXPECT_EQ(Count(result.error, reason) > 0, true) << reason << ": " << result.error;
  }
  EXPECT_EQ(ReadWhole("kept"), "as it was");
  EXPECT_EQ(ReadWhole("books"), Record(kFirst));
  EXPECT_EQ(Karst({"run", "--database", "b=books", "ask.pro"}).status, 9);
}

// --- Message boxes

// A box in Chinese, then its result on standard output.
const std::string kBox =
    Lines({"int answer", "answer = MsgBox(\"\xD6\xD0\")", "fnprintf(\"stdout\", \"answer %d\\n\", answer)"});

TEST_F(HostAnswers, WithoutATerminalABoxIsAnsweredAtOnce) {
  WriteWhole("box.pro", kBox);
  const ChildResult result = Karst({"run", "box.pro"}, "not read");
  EXPECT_EQ(result.output, "answer 1\n");
  EXPECT_EQ(result.error, "\xE4\xB8\xAD\n");
  EXPECT_EQ(result.status, 0);
}

// A child at a terminal of its own, with standard output in the file "out".
class AtTerminal {
 public:
  AtTerminal() {
    const int output = open("out", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
    if (child_ == 0) {
      dup2(output, STDOUT_FILENO);
      execl(ProgramPath(), ProgramPath(), "run", "--encoding", "utf-8", "box.pro", nullptr);
      _exit(127);
    }
    close(output);
  }
  AtTerminal(const AtTerminal&) = delete;
  AtTerminal& operator=(const AtTerminal&) = delete;
  ~AtTerminal() { close(terminal_); }

  // What the terminal shows until `part` has come, or nothing more for ten seconds.
  std::string ShownUntil(const std::string& part) {
    while (Count(shown_, part) == 0) {
      pollfd wanted{terminal_, POLLIN, 0};
      char bytes[256];
      const ssize_t count = poll(&wanted, 1, 10000) > 0 ? read(terminal_, bytes, sizeof bytes) : 0;
      if (count <= 0) break;
      shown_.append(bytes, static_cast<size_t>(count));
    }
    return shown_;
  }
  // True if the child still runs after a while in which it could have ended.
  bool Waits() {
    usleep(300'000);
    return waitpid(child_, &state_, WNOHANG) == 0;
  }
  void Type(const std::string& keys) {
    ASSERT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }
  int Status() {
    waitpid(child_, &state_, 0);
    return WIFEXITED(state_) ? WEXITSTATUS(state_) : -WTERMSIG(state_);
  }

 private:
  int terminal_ = -1;
  pid_t child_ = -1;
  int state_ = 0;
  std::string shown_;
};

TEST_F(HostAnswers, AtATerminalABoxWaitsForEnter) {
  WriteWhole("box.pro", kBox);
  AtTerminal terminal;
  EXPECT_EQ(terminal.ShownUntil("[Enter]").substr(0, 5), "\xE4\xB8\xAD\r\n");
  EXPECT_TRUE(terminal.Waits());
  EXPECT_EQ(ReadWhole("out"), "");
  terminal.Type("yes\n");
  EXPECT_EQ(terminal.Status(), 0);
  EXPECT_EQ(ReadWhole("out"), "answer 1\n");
}

TEST_F(HostAnswers, CtrlCAndTheEndOfInputEndTheWait) {
  WriteWhole("box.pro", kBox);
  for (const auto& [key, status] : {std::pair("\x03", 130), std::pair("\x04", 0)}) {
    AtTerminal terminal;
    terminal.ShownUntil("[Enter] ");
    terminal.Type(key);
    EXPECT_EQ(terminal.Status(), status);
  }
}

}  // namespace
}  // namespace karst::testing

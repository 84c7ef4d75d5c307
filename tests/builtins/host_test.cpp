// What the built-ins owe to a host and to the system, which no script can show.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "helpers/zebutil.h"
#include "support/builtin_call.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

class HostBuiltins : public ::testing::Test {
 protected:
  HostBuiltins() { caller.Declare("text", "old"); }

  // A result and the variable's text.
  using Answer = std::pair<int, std::string>;
  Answer ReadInto(const char* name, int32_t file, int32_t most) {
    const int result = caller.Call(name, {file, Ref{"text"}, most});
    return {result, caller.Text("text")};
  }
  Answer ReadLine(int32_t file, int32_t most) { return ReadInto("ReadLine", file, most); }

  TempFolder folder;
  BuiltinCaller caller;
};

// The same lines whatever the limit, and at every length around the sizes in which a file is read.
TEST_F(HostBuiltins, ReadLineFindsALineEndAtAnyPlace) {
  for (const int length : {1022, 1023, 1024, 1025, 3070, 3071, 3072, 3073, 7167, 7168, 7169, 100'000}) {
    for (const std::string end : {"\r\n", "\r"}) {
      const std::string line(length, 'x');
      MakeFile("f", line + end + "next" + end);
      for (const int most : {length + 1, length + 2, INT32_MAX}) {
        const int32_t file = caller.Call("Open", {"f", "r"});
        EXPECT_EQ(ReadLine(file, most), Answer(length, line)) << length;
        EXPECT_EQ(ReadLine(file, most), Answer(4, "next")) << length;
        EXPECT_EQ(ReadLine(file, most), Answer(-1, "")) << length;
        caller.Call("Close", {file});
      }
    }
  }
}

TEST_F(HostBuiltins, ReadLineLosesNothingOfAPipe) {
  ASSERT_EQ(mkfifo("p", 0600), 0);
  const int keeper = open("p", O_RDWR);  // keeps the pipe open at both ends
  const int32_t file = caller.Call("Open", {"p", ""});
  ASSERT_EQ(write(keeper, "a\r\nb", 4), 4);
  EXPECT_EQ(ReadLine(file, 4), Answer(-1, "")) << "a pipe cannot be set back to the end of a line";
  EXPECT_EQ(ReadInto("Read", file, 4), Answer(4, "a\r\nb"));
  close(keeper);
}

// What reached the host's stream: each call's bytes, and the last parameter.
struct Stream {
  static int32_t Take(FileHandle handle, const char* bytes, int32_t count, uint32_t param) {
    pieces.emplace_back(bytes, static_cast<size_t>(count));
    EXPECT_EQ(handle, 77);
    EXPECT_EQ(param, 0xFFFFFFF0u);
    return 1000 + static_cast<int32_t>(pieces.size());
  }
  static inline std::vector<std::string> pieces;
};

TEST_F(HostBuiltins, TheNameStdoutIsTheHostsStream) {
  using Pieces = std::vector<std::string>;
  Stream::pieces.clear();
  CFuncArray& self = caller.self;
  self.m_pfnStdOutWrite = Stream::Take;
  self.m_lStdOutParam = 0xFFFFFFF0u;
  EXPECT_EQ(caller.Call("FnCat", {"stdout", "x"}), -1) << "no stream";
  self.m_hStdOut = 77;
  EXPECT_EQ(caller.Call("FnCat", {"stdout", "text"}), 1001);
  EXPECT_EQ(caller.Call("fnprintf", {"STDOUT", "%d", 5}), 1002);
  EXPECT_EQ(caller.Call("FnCat", {"StdOut", ""}), 1003) << "an empty text is a call as well";
  EXPECT_EQ(Stream::pieces, (Pieces{"text", "5", ""}));

  Stream::pieces.clear();
  self.m_nStdOutChunked = 1;
  EXPECT_EQ(caller.Call("FnCat", {"stdout", "abcdefghijklmnopqrstuvwxyz"}), 1002);
  EXPECT_EQ(caller.Call("fnprintf", {"stdout", "%s", ""}), 0);
  EXPECT_EQ(caller.Call("fnprintf", {"stdout", "%5d", 1}), 1005);
  EXPECT_EQ(Stream::pieces, (Pieces{"1A\r\n", "abcdefghijklmnopqrstuvwxyz", "\r\n", "5\r\n", "    1", "\r\n"}));

  Stream::pieces.clear();
  self.m_nStdOutChunked = 2;
  EXPECT_EQ(caller.Call("FnCat", {"stdout", "whole"}), 1001) << "only 1 asks for chunks";
  self.m_pfnStdOutWrite = nullptr;
  EXPECT_EQ(caller.Call("FnCat", {"stdout", "x"}), -1) << "a stream that cannot be written is none";
  EXPECT_EQ(Stream::pieces, Pieces{"whole"});
  EXPECT_TRUE(self.m_mapCatchedFile.empty());
  EXPECT_EQ(FileBytes("stdout"), "(none)");
  EXPECT_EQ(caller.Call("FnCat", {"stdout1", "x"}), 1);
}

TEST_F(HostBuiltins, TheInterpreterClosesItsNamedFilesButNoHandleOfAScript) {
  FileHandle named, opened;
  {
    BuiltinCaller other;
    other.Call("FnCat", {"f", "x"});
    named = other.self.GetFileHandleForAppend("f");
    opened = other.Call("Open", {"g", "wc"});
  }
  EXPECT_EQ(CloseFile(named), -1);
  EXPECT_EQ(CloseFile(opened), 0);
}

TEST_F(HostBuiltins, BmprintfSharesItsFileWithNobody) {
  std::vector<std::pair<std::string, int>> failures;
  caller.self.OnNamedOutputFailure([&](std::string_view file, int error) { failures.emplace_back(file, error); });
  const auto write = [&](const char* name) { return caller.Call("bmprintf", {name, "", "x"}); };
  EXPECT_EQ(write("f"), 1);
  std::filesystem::create_hard_link("f", "same");
  for (const char* mode : {"r", "w"}) {
    const int32_t file = caller.Call("Open", {"f", mode});
    EXPECT_EQ(write("same"), -1) << mode;
    caller.Call("Close", {file});
    EXPECT_EQ(write("same"), 1) << mode;
  }
  caller.Call("FnCat", {"f", "y"});
  EXPECT_EQ(write("./f"), -1);
  caller.self.CloseAllCatchedFileHandle();
  EXPECT_EQ(write("./f"), 1);
  EXPECT_EQ(FileBytes("f"), "xxxyx");
  EXPECT_EQ(failures, (decltype(failures){{"same", EBUSY}, {"same", EBUSY}, {"./f", EBUSY}}));
}

// A host may take what goes to named files, keep it, and have it written later; the stream "stdout" is not among it.
TEST_F(HostBuiltins, AHostCanTakeTheNamedOutputAndWriteItLater) {
  std::vector<std::pair<std::string, std::string>> taken;
  std::vector<bool> converted;
  caller.self.OnNamedOutput([&](const NamedText& text) {
    taken.emplace_back(text.file, text.bytes);
    converted.push_back(text.converted);
    return text.bytes == "no" ? -1 : 7;
  });
  EXPECT_EQ(caller.Call("fnprintf", {"a", "x%d", 1}), 7);
  EXPECT_EQ(caller.Call("FnCat", {"no/such/folder", "no"}), -1);
  EXPECT_EQ(caller.Call("bmprintf", {"b", "utf-8", "中"}), 7);
  EXPECT_EQ(caller.Call("FnCat", {"StdOut", "x"}), -1) << "there is no stream";
  EXPECT_FALSE(std::filesystem::exists("a"));
  EXPECT_EQ(taken, (decltype(taken){{"a", "x1"}, {"no/such/folder", "no"}, {"b", "\xE4\xB8\xAD"}}));
  EXPECT_EQ(converted, (std::vector<bool>{false, false, true}));
  caller.self.OnNamedOutput(nullptr);
  for (size_t i = 0; i < taken.size(); ++i) {
    const int32_t expected = taken[i].second == "no" ? -1 : static_cast<int32_t>(taken[i].second.size());
    EXPECT_EQ(caller.self.AppendToFile({taken[i].first, taken[i].second, converted[i]}), expected);
  }
  EXPECT_EQ(caller.Call("fnprintf", {"a", "y"}), 1);
  EXPECT_EQ(FileBytes("a"), "x1y");
  EXPECT_EQ(FileBytes("b"), "\xE4\xB8\xAD");
}

TEST_F(HostBuiltins, MsgBoxAsksTheHostAndPrintfNeedsNoWindow) {
  EXPECT_EQ(caller.Call("printf", {"%s", "nowhere"}), 7);
  caller.Output();
  std::string shown;
  SetMessageBoxHandler([&](HWND owner, const char* text, const char* title, unsigned style) {
    EXPECT_EQ(owner, caller.self.hWnd);
    shown = std::string(title) + ": " + text + " " + std::to_string(style);
    return 7;
  });
  EXPECT_EQ(caller.Call("MsgBox", {"完成"}), 7);
  SetMessageBoxHandler({});
  EXPECT_EQ(shown, "Karst: 完成 8256");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(caller.Call("MsgBox", {"nobody there"}), 1);
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("nobody there"), std::string::npos);
}

TEST_F(HostBuiltins, AHostAssignsNoInt64ToAVariableOfAnotherType) {
  EXPECT_THROW(caller.self.ChangeVarValue("text", int64_t{1}), CError);
  EXPECT_EQ(caller.Text("text"), "old");
}

// A host that gives the record that it is set to give.
struct RecordHost {
  static int32_t Fetch(const char* first, const char* second, std::vector<char>* record, uint32_t zero, CString* text) {
    EXPECT_EQ(record->size(), 100000u);
    EXPECT_EQ((*record)[0], 0);
    EXPECT_EQ(zero, 0u);
    EXPECT_EQ(*text, "");
    asked = std::string(first) + "|" + second;
    record->assign(given.begin(), given.end());
    *text = "not looked at";
    return answer;
  }
  static inline std::string asked;
  static inline std::string given;
  static inline int32_t answer;
};

TEST_F(HostBuiltins, ZebGetRcd) {
  const std::vector<Argument> arguments = {"a", "", Ref{"text"}};
  caller.self.GetRcdCallBack = RecordHost::Fetch;
  const std::string larger(250'000, 'r');
  const struct {
    std::string given;
    int32_t answer;
    std::string target;
  } cases[] = {{std::string("rec\0ord", 8), 0, "rec"},
               {"lost", -1, "old"},
               {"kept", -2, "kept"},
               {"", 5, ""},  // no bytes at all
               {"no NUL", 1, "no NUL"},
               {larger, 1, larger}};  // the host made room
  for (const auto& c : cases) {
    caller.self.ChangeVarValue("text", "old");
    RecordHost::given = c.given;
    RecordHost::answer = c.answer;
    EXPECT_EQ(caller.Call("ZebGetRcd", arguments), c.answer);
    EXPECT_EQ(RecordHost::asked, "a|");
    EXPECT_EQ(caller.Text("text"), c.target);
  }
}

}  // namespace
}  // namespace karst::testing

// The file built-ins: handles, lines, and the two caches behind file names.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/builtin_call.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

using std::string_literals::operator""s;

class FileBuiltins : public ::testing::Test {
 protected:
  FileBuiltins() { caller.Declare("text", "old"); }

  int32_t Open(const char* name, const char* mode) { return caller.Call("Open", {name, mode}); }
  int32_t OpenHolding(const std::string& bytes) {
    MakeFile("f", bytes);
    return Open("f", "r");
  }
  // A result and the variable's text.
  using Answer = std::pair<int, std::string>;
  Answer ReadLine(int32_t file, const Argument& most) {
    const int result = caller.Call("ReadLine", {file, Ref{"text"}, most});
    return {result, caller.Text("text")};
  }
  Answer Read(int32_t file, const Argument& count) {
    const int result = caller.Call("Read", {file, Ref{"text"}, count});
    return {result, caller.Text("text")};
  }

  TempFolder folder;
  BuiltinCaller caller;
};

TEST_F(FileBuiltins, OpenReadsItsModeLetterByLetter) {
  const struct {
    const char* mode;
    bool exists_before;
    bool opens;
    const char* bytes_after_write;  // the file, once "Z" was tried to be written
  } cases[] = {
      {"", true, true, "abc"},  {"", false, false, "(none)"},  {"r", true, true, "abc"},
      {"w", true, true, "Zbc"}, {"w", false, false, "(none)"}, {"rw", true, true, "Zbc"},
      {"wc", true, true, "Z"},  {"wc", false, true, "Z"},      {"c", false, true, "Z"},
      {"cw", true, true, "Z"},  {"W", true, true, "abc"},      {"xyz+", true, true, "abc"},
  };
  for (const auto& c : cases) {
    std::filesystem::remove("f");
    if (c.exists_before) MakeFile("f", "abc");
    const int32_t file = Open("f", c.mode);
    EXPECT_EQ(file > 0, c.opens) << c.mode;
    if (c.opens) caller.Call("Write", {file, "Z", 1});
    EXPECT_EQ(FileBytes("f"), c.bytes_after_write) << c.mode;
    EXPECT_EQ(caller.Call("Close", {file}), c.opens ? 0 : -1) << c.mode;
  }
  EXPECT_EQ(Open("", "wc"), -1);
  EXPECT_EQ(Open(".", ""), -1);
}

TEST_F(FileBuiltins, OpenTestsForExistenceAndDeletes) {
  MakeFile("f", "abc");
  EXPECT_EQ(Open("f", "e"), 1);
  EXPECT_EQ(Open("g", "e"), -1);
  EXPECT_EQ(Open("f", "wcd"), 1) << "d counts, whatever stands beside it";
  EXPECT_EQ(FileBytes("f"), "(none)");
  EXPECT_EQ(Open("f", "d"), 1) << "a missing file too";
}

TEST_F(FileBuiltins, DeletingANameInUseEmptiesItsFile) {
  caller.Call("fnprintf", {"f", "first text"});
  const int32_t file = Open("f", "d");
  EXPECT_EQ(file, caller.self.m_mapCatchedFile.at("f"));
  EXPECT_EQ(FileBytes("f"), "");
  caller.Call("FnCat", {"f", "next"});
  EXPECT_EQ(FileBytes("f"), "next") << "written from the start, with no hole ahead of it";
  EXPECT_EQ(Open("./f", "d"), 1) << "another spelling is another name";
  EXPECT_EQ(FileBytes("f"), "(none)");
}

TEST_F(FileBuiltins, HandlesThatNameNothing) {
  for (const int32_t bad : {-1, 12345678, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(caller.Call("Close", {bad}), -1) << bad;
    EXPECT_EQ(caller.Call("Seek", {bad, 0, 0}), -1) << bad;
    EXPECT_EQ(caller.Call("Write", {bad, "x", 1}), -1) << bad;
    caller.self.ChangeVarValue("text", "old");
    EXPECT_EQ(Read(bad, 5), Answer(-1, "")) << bad;
    EXPECT_EQ(Read(bad, 0), Answer(-1, "")) << bad;
    caller.self.ChangeVarValue("text", "old");
    EXPECT_EQ(ReadLine(bad, 5), Answer(-1, "")) << bad;
  }
  EXPECT_EQ(caller.Call("Close", {0}), -1);
  EXPECT_EQ(caller.Call("Seek", {0, 0, 0}), -1);
  EXPECT_EQ(caller.Refusal("Read", {0, 1, 1}), " NULL file handle");
  EXPECT_EQ(caller.Refusal("ReadLine", {0, 1, 1}), "NULL file handle");
  EXPECT_EQ(caller.Refusal("Write", {0, 1, 1}), "NULL file handle");
  const int32_t file = OpenHolding("abc");
  EXPECT_EQ(caller.Call("Close", {file}), 0);
  EXPECT_EQ(caller.Call("Close", {file}), -1);
}

TEST_F(FileBuiltins, SeekTakesItsOriginFromTheLowByte) {
  const int32_t file = OpenHolding("0123456789");
  const struct {
    int32_t offset;
    int32_t origin;
    int32_t position;
  } cases[] = {{4, 's', 4}, {2, 'c', 6}, {-1, 'C', 5},        {0, 'e', 10},  {-3, 'E', 7}, {-8, 'c', -1}, {0, 'c', 7},
               {3, 0, 3},   {1, -1, 1},  {1, 0x100 + 'c', 2}, {-1, 's', -1}, {0, 'c', 2},  {5, 'e', 15}};
  for (const auto& c : cases) {
    EXPECT_EQ(caller.Call("Seek", {file, c.offset, c.origin}), c.position) << c.offset << " from " << c.origin;
  }
  EXPECT_EQ(Read(file, 1), Answer(0, "")) << "behind the end";
}

TEST_F(FileBuiltins, SeekPastTheIntRangeIsNoFailure) {
  const int32_t file = OpenHolding("x");
  EXPECT_EQ(caller.Call("Seek", {file, INT32_MAX, 's'}), INT32_MAX);
  EXPECT_EQ(caller.Call("Seek", {file, INT32_MAX, 'c'}), INT32_MAX);
  EXPECT_EQ(caller.Call("Seek", {file, -INT32_MAX, 'c'}), INT32_MAX);
  EXPECT_EQ(caller.Call("Seek", {file, -INT32_MAX, 'c'}), 0) << "the true position was kept all along";
}

TEST_F(FileBuiltins, Read) {
  const int32_t file = OpenHolding("ab\0cd"s + std::string(300'000, 'x') + "end");
  EXPECT_EQ(Read(file, 0), Answer(0, ""));
  EXPECT_EQ(Read(file, 1), Answer(1, "a"));
  EXPECT_EQ(Read(file, 4), Answer(4, "b")) << "the text ends at the NUL, the bytes count";
  EXPECT_EQ(Read(file, -1), Answer(-1, ""));
  EXPECT_EQ(Read(file, 200'000), Answer(200'000, std::string(200'000, 'x')));
  EXPECT_EQ(Read(file, INT32_MAX), Answer(100'003, std::string(100'000, 'x') + "end")) << "memory follows the file";
  EXPECT_EQ(Read(file, 10), Answer(0, ""));
  MakeFile("w", "abc");
  EXPECT_EQ(Read(Open("w", "w"), 3), Answer(-1, "")) << "open for writing only";
}

TEST_F(FileBuiltins, WriteStopsAtTheTextsNul) {
  const struct {
    Argument count;
    std::string bytes;
  } cases[] = {{0, ""},
               {2, "ab"},
               {3, "abc"},
               {4, "abc\0"s},
               {100, "abc\0"s},
               {-1, "abc\0"s},
               {INT32_MIN, "abc\0"s},
               {int64_t{1} << 32 | 2, "ab"}};
  for (const auto& c : cases) {
    const int32_t file = Open("f", "wc");
    EXPECT_EQ(caller.Call("Write", {file, "abc", c.count}), static_cast<int>(c.bytes.size()));
    EXPECT_EQ(FileBytes("f"), c.bytes);
  }
  EXPECT_EQ(caller.Call("Write", {OpenHolding("x"), "abc", 3}), -1) << "open for reading only";
  EXPECT_EQ(FileBytes("f"), "x");
}

TEST_F(FileBuiltins, ReadLineTakesAFileApart) {
  const struct {
    std::string bytes;
    int most;
    std::vector<std::string> lines;
  } cases[] = {
      {"", 100, {}},
      {"a\r\nb\rc", 100, {"a", "b", "c"}},
      {"a\r\n\r\n\r\rb\r\n", 100, {"a", "", "", "", "b"}},
      {"a\nb\r\nc\n", 100, {"a\nb", "c\n"}},
      {"abcdef\r\n", 3, {"abc", "def", ""}},
      {"abcdef\r\n", 7, {"abcdef"}},  // the CR is the last byte of a piece
      {"abcdef\rg", 7, {"abcdef", "g"}},
      {"abcdef\r\rg", 7, {"abcdef", "", "g"}},
      {"abcdef\r\n", 6, {"abcdef", ""}},
      {"abc\r", 100, {"abc"}},
      {"abc\r", 4, {"abc"}},
      {"a\0b\r\nc"s, 100, {"a", "c"}},  // a NUL ends the text, not the line
      {"a\0"s, 100, {"a"}},
      {"\0\r\nb"s, 100, {"", "b"}},
      {"\xC4\r\n\xC4\xE3\r\nx", 100, {"\xC4", "\xC4\xE3", "x"}},  // half a character does not swallow a line end
      {"x\xC4\xE3\r\ny", 2, {"x\xC4", "\xE3", "y"}},
  };
  for (const auto& c : cases) {
    const int32_t file = OpenHolding(c.bytes);
    for (const std::string& line : c.lines) {
      EXPECT_EQ(ReadLine(file, c.most), Answer(line.size(), line)) << ::testing::PrintToString(c.bytes) << c.most;
    }
    EXPECT_EQ(ReadLine(file, c.most), Answer(-1, "")) << ::testing::PrintToString(c.bytes) << c.most;
    caller.Call("Close", {file});
  }
}

// The same lines whatever the limit, and at every length around the sizes in which a file is read.
TEST_F(FileBuiltins, ReadLineFindsALineEndAtAnyPlace) {
  for (const int length : {1022, 1023, 1024, 1025, 3070, 3071, 3072, 3073, 7167, 7168, 7169, 100'000}) {
    for (const std::string end : {"\r\n", "\r"}) {
      const std::string line(length, 'x');
      const int32_t file = OpenHolding(line + end + "next" + end);
      for (const int most : {length + 1, length + 2, INT32_MAX}) {
        caller.Call("Seek", {file, 0, 's'});
        EXPECT_EQ(ReadLine(file, most), Answer(length, line)) << length;
        EXPECT_EQ(ReadLine(file, most), Answer(4, "next")) << length;
        EXPECT_EQ(ReadLine(file, most), Answer(-1, "")) << length;
      }
      caller.Call("Close", {file});
    }
  }
}

TEST_F(FileBuiltins, ReadLineLeavesThePositionBehindTheLine) {
  const int32_t file = OpenHolding("ab\r\ncd\ref");
  ReadLine(file, 100);
  EXPECT_EQ(caller.Call("Seek", {file, 0, 'c'}), 4);
  ReadLine(file, 100);
  EXPECT_EQ(caller.Call("Seek", {file, 0, 'c'}), 7);
  EXPECT_EQ(Read(file, 100), Answer(2, "ef"));
}

TEST_F(FileBuiltins, ReadLineWithNoRoom) {
  const int32_t file = OpenHolding("abc");
  EXPECT_EQ(ReadLine(file, -1), Answer(-1, "old")) << "a negative limit leaves the target";
  EXPECT_EQ(ReadLine(file, INT32_MIN), Answer(-1, "old"));
  EXPECT_EQ(ReadLine(file, 0), Answer(-1, ""));
  EXPECT_EQ(ReadLine(file, 9), Answer(3, "abc"));
}

TEST_F(FileBuiltins, ReadLineLosesNothingOfAPipe) {
  ASSERT_EQ(mkfifo("p", 0600), 0);
  const int keeper = open("p", O_RDWR);  // keeps the pipe open at both ends
  const int32_t file = Open("p", "");
  ASSERT_EQ(write(keeper, "a\r\nb", 4), 4);
  EXPECT_EQ(ReadLine(file, 4), Answer(-1, "")) << "a pipe cannot be set back behind a line";
  EXPECT_EQ(Read(file, 4), Answer(4, "a\r\nb"));
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

TEST_F(FileBuiltins, TheNameStdoutIsTheHostsStream) {
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
  EXPECT_EQ(caller.Refusal("fnprintf", {"stdout", "%s"}), "?printf()函数参数错误!...");
  self.m_pfnStdOutWrite = nullptr;
  EXPECT_EQ(caller.Call("FnCat", {"stdout", "x"}), -1) << "a stream that cannot be written is none";
  EXPECT_EQ(Stream::pieces, Pieces{"whole"});
  EXPECT_TRUE(self.m_mapCatchedFile.empty());
  EXPECT_EQ(FileBytes("stdout"), "(none)");
  EXPECT_EQ(caller.Call("FnCat", {"stdout1", "x"}), 1);
}

TEST_F(FileBuiltins, NamedFilesAreAppendedToAndStayOpen) {
  MakeFile("f", "there;");
  EXPECT_EQ(caller.Call("FnCat", {"f", "one;"}), 4);
  EXPECT_EQ(caller.Call("FnCat", {"f", "two;"}), 4);
  EXPECT_EQ(caller.Call("FnCat", {"f", ""}), 0);
  const FileHandle handle = caller.self.GetFileHandleForAppend("f");
  EXPECT_EQ(caller.self.m_mapCatchedFile.at("f"), handle);
  caller.self.CloseAllCatchedFileHandle();
  EXPECT_TRUE(caller.self.m_mapCatchedFile.empty());
  EXPECT_EQ(CloseFile(handle), -1) << "closed already";
  EXPECT_EQ(caller.Call("FnCat", {"f", "three;"}), 6);
  EXPECT_EQ(FileBytes("f"), "there;one;two;three;");
  EXPECT_EQ(caller.Call("FnCat", {"no/such/folder", "x"}), -1);
  EXPECT_EQ(caller.Call("FnCat", {"", "x"}), -1);
  EXPECT_EQ(caller.self.m_mapCatchedFile.size(), 1u) << "a name that failed is not kept";
}

TEST_F(FileBuiltins, TheInterpreterClosesItsNamedFilesButNoHandleOfAScript) {
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

TEST(ReplaceTable, AnswersByTheFirstLineOfAKey) {
  TempFolder folder;
  MakeFile("t",
           "a=1\r\na=2\r\n b \t=  two words \r\n\r\nno sign\r\nx==y=z\r\n=nothing\r\nempty=\r\n"
           "\xB9\xFA=\xD6\xD0\r\n;c=comment\r\n[s]=x\r\nlf=1\nlf2=2\r\nlast= end");
  const struct {
    const char* key;
    const char* value;  // null: not found
  } cases[] = {{"a", "1"},    {" b", "two words "},     {"b", nullptr},    {"x", "=y=z"},        {"", "nothing"},
               {"empty", ""}, {"\xB9\xFA", "\xD6\xD0"}, {";c", "comment"}, {"[s]", "x"},         {"lf", "1"},
               {"lf2", "2"},  {"last", "end"},          {"A", nullptr},    {"no sign", nullptr}, {"1", nullptr}};
  CFuncArray self;
  for (const auto& c : cases) {
    CString value("old");
    EXPECT_EQ(self.ReplaceStringFromFile(c.key, value, "t"), c.value ? 0 : -1) << c.key;
    EXPECT_STREQ(value, c.value ? c.value : "old") << c.key;
  }
}

TEST(ReplaceTable, ThatCannotBeGbkIsRefusedWithItsOwnLine) {
  TempFolder folder;
  MakeFile("t", "\xEF\xBB\xBFk=v\r\nx=\xF0\x9F\x98\x80\r\n");
  CFuncArray self;
  CString value;
  try {
    self.ReplaceStringFromFile("k", value, "t");
    ADD_FAILURE();
  } catch (const CError& refused) {
    EXPECT_STREQ(refused.what(), "替换表第2行: 文件中有GBK没有的字符U+1F600, 文件[t]...");
  }
}

TEST(ReplaceTable, IsLoadedOnceButAFailureIsTriedAgain) {
  TempFolder folder;
  CFuncArray self;
  CString value;
  EXPECT_EQ(self.ReplaceStringFromFile("k", value, "t"), -1) << "missing";
  MakeFile("t", "");
  EXPECT_EQ(self.ReplaceStringFromFile("k", value, "t"), -1) << "empty";
  EXPECT_TRUE(self.m_mapReplaceTable.empty());
  MakeFile("t", "k=1");
  EXPECT_EQ(self.ReplaceStringFromFile("k", value, "t"), 0);
  MakeFile("t", "k=2");
  EXPECT_EQ(self.ReplaceStringFromFile("k", value, "t"), 0);
  EXPECT_STREQ(value, "1");
  EXPECT_EQ(self.ReplaceStringFromFile("k", value, "./t"), 0);
  EXPECT_STREQ(value, "2") << "another spelling is another table";
}

}  // namespace
}  // namespace karst::testing

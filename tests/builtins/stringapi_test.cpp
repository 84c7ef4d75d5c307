// The string built-ins: results, what is left in the variable, and the edges of every number a script can give.
#include <gtest/gtest.h>

#include "support/builtin_call.h"
#include "text/mbtext.h"

namespace karst::testing {
namespace {

constexpr int64_t kHighBits = int64_t{7} << 32;  // what an int64 argument loses

class StringBuiltins : public ::testing::Test {
 protected:
  // A call whose reference argument is a variable that held `before`.
  struct Change {
    const char* name;
    std::vector<Argument> arguments;
    std::string before;
    int32_t result;
    std::string after;
  };
  void Check(const Change& c) {
    BuiltinCaller fresh;
    fresh.Declare("text", c.before);
    EXPECT_EQ(fresh.Call(c.name, c.arguments), c.result) << c.name << ::testing::PrintToString(c.before);
    EXPECT_EQ(fresh.Text("text"), c.after) << c.name;
  }

  BuiltinCaller caller;
};

const Ref kText{"text"};

TEST_F(StringBuiltins, Itos) {
  const struct {
    Argument value;
    int32_t radix;
    const char* digits;
  } cases[] = {{255, 16, "ff"},
               {-1, 10, "-1"},
               {-1, 16, "ffffffff"},
               {5, 2, "101"},
               {0, 7, "0"},
               {INT32_MIN, 10, "-2147483648"},
               {INT32_MIN, 2, "10000000000000000000000000000000"},
               {-1, 2, "11111111111111111111111111111111"},
               {-1, 36, "1z141z3"},
               {kHighBits + 12, 10, "12"},
               {int64_t{0xFFFFFFFF}, 10, "-1"}};
  for (const auto& c : cases) Check({"itos", {c.value, kText, c.radix}, "old", 0, c.digits});
  caller.Declare("text", "old");
  for (const int32_t radix : {1, 0, -2, 37, INT32_MAX, INT32_MIN}) {
    const std::string message = "不能使用" + std::to_string(radix) + "进制";
    EXPECT_EQ(caller.Refusal("itos", {5, kText, radix}), message);
  }
  EXPECT_EQ(caller.Text("text"), "old");
}

TEST_F(StringBuiltins, Stoi) {
  const std::pair<const char*, int32_t> cases[] = {
      {"12ab", 12},
      {"", 0},
      {"abc", 0},
      {" \t\n-7 8", -7},
      {"+5", 5},
      {"- 5", 0},
      {"--5", 0},
      {"2147483647", INT32_MAX},
      {"99999999999999999999", INT32_MAX},
      {"-99999999999999999999", INT32_MIN},
      {"0x1f", 0},
      {"12.9", 12},
  };
  for (const auto& [text, number] : cases) EXPECT_EQ(caller.Call("stoi", {text}), number) << text;
}

TEST_F(StringBuiltins, Comparisons) {
  const struct {
    const char* left;
    const char* right;
    int sign;
  } cases[] = {{"", "", 0},
               {"a", "", 1},
               {"abc", "abd", -1},
               {"a", "B", 1},
               {"ab", "abc", -1},
               {"中", "中", 0},
               {"中", "zzz", 1},
               {"\xB0\x41", "\xB0\x61", -1},
               {"\xFF", "\xB0\xA1", -1}};  // a single byte sorts ahead of every double-byte character
  for (const auto& c : cases) {
    const int forth = caller.Call("StrCmp", {c.left, c.right});
    const int back = caller.Call("StrCmp", {c.right, c.left});
    EXPECT_EQ((forth > 0) - (forth < 0), c.sign) << c.left << " " << c.right;
    EXPECT_EQ((back > 0) - (back < 0), -c.sign) << c.left << " " << c.right;
  }
}

TEST_F(StringBuiltins, MemCmpEndsWithTheShorterTextsNul) {
  const struct {
    const char* left;
    const char* right;
    Argument count;
    int sign;
  } cases[] = {{"ab", "abc", 2, 0},
               {"ab", "abc", 3, -1},
               {"abc", "ab", INT32_MAX, 1},
               {"ab", "ab", INT32_MAX, 0},
               {"x", "y", 0, 0},
               {"x", "y", -1, 0},
               {"x", "y", INT32_MIN, 0},
               {"x", "y", kHighBits, 0},
               {"x", "y", kHighBits + 1, -1},
               {"a", "\xC4", 1, -1},  // bytes are unsigned
               {"", "", 100, 0}};
  for (const auto& c : cases) {
    const int order = caller.Call("MemCmp", {c.left, c.right, c.count});
    EXPECT_EQ((order > 0) - (order < 0), c.sign) << c.left << " " << c.right;
  }
  EXPECT_EQ(caller.Refusal("MemCmp", {1, "b"}), "函数MemCmp()应当以3个参数调用，现错为2个");
  EXPECT_EQ(caller.Refusal("MemCmp", {1, "b", 1, 1}), "函数MemCmp()应当以3个参数调用，现错为4个");
}

TEST_F(StringBuiltins, SubStr) {
  const struct {
    const char* text;
    const char* sought;
    int32_t at;
  } cases[] = {{"abc", "c", 2},
               {"abc", "d", -1},
               {"", "", 0},
               {"abc", "", 0},
               {"", "a", -1},
               {"abc", "abcd", -1},
               {"aab", "ab", 1},
               {"中国", "国", 2},
               {"中国", "\xD0", -1},
               // the sought bytes stand inside two characters first
               {"\xB0\xA1\xB0\xA1", "\xA1\xB0", -1},
               {"x\xB0\xA1\xB0\xA1\xB0", "\xA1\xB0", -1},
               {"\xB0\xA1\xB0\xA1\xB0\xA1", "\xB0\xA1", 0},
               {"\xC0\xB0\xA1\xA2\xB0\xA1", "\xB0\xA1", 4},
               {"\xB0"
                "aa",
                "a", 2},
               {"ab\xC4", "\xC4", 2}};  // half a character at the end
  for (const auto& c : cases) EXPECT_EQ(caller.Call("SubStr", {c.text, c.sought}), c.at) << c.text << " " << c.sought;
}

TEST_F(StringBuiltins, CutStr) {
  const Change cases[] = {{"CutStr", {kText, 2, 2}, "abcdef", 4, "abef"},
                          {"CutStr", {kText, 4, 10}, "abcdef", 4, "abcd"},
                          {"CutStr", {kText, 6, 1}, "abcdef", 6, "abcdef"},
                          {"CutStr", {kText, 7, 1}, "abcdef", -1, "abcdef"},
                          {"CutStr", {kText, -5, 1}, "abcdef", 5, "bcdef"},
                          {"CutStr", {kText, 0, 6}, "abcdef", 0, ""},
                          {"CutStr", {kText, 1, 0}, "abcdef", -1, "abcdef"},
                          {"CutStr", {kText, 1, -1}, "abcdef", -1, "abcdef"},
                          {"CutStr", {kText, 1, INT32_MIN}, "abcdef", -1, "abcdef"},
                          {"CutStr", {kText, 3, INT32_MAX}, "abcdef", 3, "abc"},
                          {"CutStr", {kText, INT32_MAX, INT32_MAX}, "abcdef", -1, "abcdef"},
                          {"CutStr", {kText, kHighBits, kHighBits + 1}, "abcdef", 5, "bcdef"},
                          {"CutStr", {kText, 1, 1}, "", -1, ""},
                          {"CutStr", {kText, 1, 1}, "中文", 3, "\xD6\xCE\xC4"}};
  for (const Change& c : cases) Check(c);
}

TEST_F(StringBuiltins, CopyStr) {
  const Change cases[] = {{"CopyStr", {"abcdef", 2, 3, kText}, "old", 3, "cde"},
                          {"CopyStr", {"abcdef", 4, 10, kText}, "old", 2, "ef"},
                          {"CopyStr", {"abcdef", 6, 1, kText}, "old", 0, ""},
                          {"CopyStr", {"abcdef", 7, 1, kText}, "old", -1, "old"},
                          {"CopyStr", {"abcdef", -9, 2, kText}, "old", 2, "ab"},
                          {"CopyStr", {"abcdef", 3, -1, kText}, "old", 0, ""},
                          {"CopyStr", {"abcdef", 7, -1, kText}, "old", -1, "old"},
                          {"CopyStr", {"abcdef", 3, INT32_MIN, kText}, "old", 0, ""},
                          {"CopyStr", {"abcdef", 5, INT32_MAX, kText}, "old", 1, "f"},
                          {"CopyStr", {"", 0, 5, kText}, "old", 0, ""},
                          {"CopyStr", {kText, 1, 2, kText}, "abcdef", 2, "bc"}};
  for (const Change& c : cases) Check(c);
}

TEST_F(StringBuiltins, LengthsAndBytes) {
  EXPECT_EQ(caller.Call("StrLen", {""}), 0);
  EXPECT_EQ(caller.Call("StrLen", {"a中文"}), 5);
  const struct {
    Argument index;
    int32_t byte;
  } cases[] = {{0, 'a'}, {-1, 'a'}, {INT32_MIN, 'a'}, {1, 'b'},       {2, -42},
               {3, -48}, {4, 0},    {5, 0},           {INT32_MAX, 0}, {kHighBits + 1, 'b'}};
  for (const auto& c : cases) EXPECT_EQ(caller.Call("StrToChar", {"ab中", c.index}), c.byte);
  EXPECT_EQ(caller.Call("StrToChar", {"", 0}), 0);
}

TEST_F(StringBuiltins, CharToStr) {
  const std::pair<Argument, std::string> cases[] = {{321, "A"}, {65, "A"},    {0, ""},
                                                    {256, ""},  {-1, "\xFF"}, {kHighBits + 66, "B"}};
  for (const auto& [code, text] : cases) Check({"CharToStr", {code, kText}, "old", 1, text});
}

TEST_F(StringBuiltins, JoiningAndInserting) {
  const std::string longer(100'000, 'x');
  const Change cases[] = {{"StrCat", {kText, "def"}, "abc", 6, "abcdef"},
                          {"StrCat", {kText, ""}, "abc", 3, "abc"},
                          {"StrCat", {kText, ""}, "", 0, ""},
                          {"StrCat", {kText, kText}, "ab", 4, "abab"},
                          {"StrCat", {kText, longer}, "ab", 100'002, "ab" + longer},
                          {"StrIns", {kText, 1, "X"}, "abc", 4, "aXbc"},
                          {"StrIns", {kText, 3, "X"}, "abc", 4, "abcX"},
                          {"StrIns", {kText, 100, "X"}, "abc", 4, "abcX"},
                          {"StrIns", {kText, INT32_MAX, "X"}, "abc", 4, "abcX"},
                          {"StrIns", {kText, -1, "X"}, "abc", 4, "Xabc"},
                          {"StrIns", {kText, 2, ""}, "abc", 3, "abc"},
                          {"StrIns", {kText, 1, kText}, "abc", 6, "aabcbc"},
                          {"StrIns", {kText, 0, longer}, "ab", 100'002, longer + "ab"},
                          {"StrIns", {kText, 1, longer}, "ab", 100'002, "a" + longer + "b"}};
  for (const Change& c : cases) Check(c);
}

TEST_F(StringBuiltins, AChangeReachesEveryVariableOfAChain) {
  caller.Declare("text", "abc");
  caller.Declare("nearer", kText);
  caller.Call("StrCat", {Ref{"nearer"}, "d"});
  EXPECT_EQ(caller.Text("nearer"), "abcd");
  EXPECT_EQ(caller.Text("text"), "abcd");
}

TEST_F(StringBuiltins, ArgumentsAreRefusedInTheirOrder) {
  caller.Declare("text", "abc");
  caller.Declare("number", 5);
  const std::string text = "应当为string类型...";
  const std::string text_ref = "应当为string类型，并且为引用型...";
  const std::string integer = "应当为int或int64类型...";
  const struct {
    const char* name;
    std::vector<Argument> arguments;
    std::string complaint;
  } cases[] = {{"itos", {"1", "x", "x"}, "itos()参数1" + integer},
               {"itos", {1, "x", 1}, "itos()参数2" + text_ref},
               {"itos", {1, kText, "1"}, "itos()参数3" + integer},
               {"stoi", {1}, "stoi()参数1" + text},
               {"StrCmp", {"a", 1}, "StrCmp()参数2" + text},
               {"SubStr", {1, 1}, "SubStr()参数1" + text},
               {"CutStr", {"abc", 1, 0}, "CutStr()参数1" + text_ref},
               {"CutStr", {Ref{"number"}, 1, 0}, "CutStr()参数1" + text_ref},
               {"CutStr", {kText, 0, "x"}, "CutStr()参数3" + integer},
               {"CopyStr", {"abc", 9, 1, "x"}, "CopyStr()参数4" + text_ref},
               {"StrToChar", {"abc", "x"}, "StrToChar()参数2" + integer},
               {"StrCat", {kText, 1}, "StrCat()参数2" + text},
               {"StrIns", {kText, 1, 1}, "StrIns()参数3" + text},
               {"CharToStr", {65, "x"}, "CharToStr()参数2" + text_ref}};
  for (const auto& c : cases) EXPECT_EQ(caller.Refusal(c.name, c.arguments), "函数" + c.complaint);
  EXPECT_EQ(caller.Refusal("CopyStr", {"abc", 1, 1}), "函数CopyStr()应当以4个参数调用，现错为3个");
  EXPECT_EQ(caller.Text("text"), "abc");
}

}  // namespace
}  // namespace karst::testing

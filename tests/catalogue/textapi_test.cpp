// The built-ins for texts, URLs and HTML, by tables. \xC4\xE3 and \x81\x5C are characters; the second byte of the
// latter is a backslash.
#include <gtest/gtest.h>

#include "catalogue/htmlstring.h"
#include "helpers/zebutil.h"
#include "support/builtin_call.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

class TextBuiltins : public ::testing::Test {
 protected:
  TextBuiltins() { caller.Declare("text", ""); }
  using Answer = std::pair<int, std::string>;
  // Calls a built-in whose first argument is a variable with this text.
  Answer Change(const char* name, const std::string& text, std::vector<Argument> arguments = {}) {
    caller.self.ChangeVarValue("text", text.c_str());
    arguments.insert(arguments.begin(), Ref{"text"});
    const int result = caller.Call(name, arguments);
    return {result, caller.Text("text")};
  }
  BuiltinCaller caller;
};

TEST_F(TextBuiltins, StrReplace) {
  const struct {
    const char* text;
    const char* old_part;
    const char* new_part;
    int count;
    const char* after;
  } cases[] = {
      {"a-b-c", "-", "+", 2, "a+b+c"},
      {"aaaaa", "aa", "a", 2, "aaa"},  // what was put in is not looked at again
      {"aaa", "a", "aa", 3, "aaaaaa"},
      {"abc", "abc", "", 1, ""},
      {"abc", "B", "x", 0, "abc"},
      {"abc", "", "x", 0, "abc"},
      {"", "a", "x", 0, ""},
      {"ab", "abc", "x", 0, "ab"},
      {"aab", "ab", "x", 1, "ax"},
      {"\x81\x5Cn\\n", "\\n", "/", 1, "\x81\x5Cn/"},                 // no hit inside a character
      {"\xC4\xC4\xE3\xE3", "\xC4\xE3", "x", 0, "\xC4\xC4\xE3\xE3"},  // nor over two halves
      {"\xC4\xE3\xC4\xE3", "\xC4\xE3", "\xB0\xA1", 2, "\xB0\xA1\xB0\xA1"},
      {"a\xC4", "\xC4", "x", 1, "ax"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Change("StrReplace", c.text, {c.old_part, c.new_part}), Answer(c.count, c.after)) << c.text;
  }
  EXPECT_EQ(Change("StrReplace", std::string(50'000, 'a'), {"a", std::string(100, 'b')}).second.size(), 5'000'000u);
  // Would take minutes if every place were compared afresh.
  const std::string same(1'000'000, 'a');
  EXPECT_EQ(Change("StrReplace", same, {same.substr(500'000) + "b", ""}), Answer(0, same));
}

TEST_F(TextBuiltins, StrFindOneOf) {
  const struct {
    const char* text;
    const char* set;
    int position;
  } cases[] = {
      {"abc", "cb", 1},
      {"abc", "", -1},
      {"", "a", -1},
      {"abc", "ABC", -1},
      {"\x81\x5C\\", "\\", 2},
      {"a\xC4\xE3z", "z\xC4\xE3", 1},
      {"\xC4\xE3", "\xE3", -1},
      {"\xC4\xE3", "\xC4\xA1\xA1\xE3", -1},
      {"ab\xC4", "\xC4", 2},
      {"\xC4\xE3", "\xC4", -1},
      {"x\xFF", "\xFF", 1},
  };
  for (const auto& c : cases) EXPECT_EQ(caller.Call("StrFindOneOf", {c.text, c.set}), c.position) << c.text;
  EXPECT_EQ(caller.Refusal("StrFindOneOf", {"a", 1}), "函数FindOneOf()参数2应当为string类型...");
}

TEST_F(TextBuiltins, IsNum) {
  const std::pair<const char*, int> cases[] = {{"0", 1},  {"0123456789", 1}, {"", 0},   {"12 ", 0},
                                               {"-1", 0}, {"1.5", 0},        {"1a", 0}, {"\xA3\xB1", 0}};
  for (const auto& [text, result] : cases) EXPECT_EQ(caller.Call("IsNum", {text}), result) << text;
  EXPECT_EQ(caller.Call("IsNum", {std::string(300, '9')}), 1);
}

TEST_F(TextBuiltins, CanonicalizeURL) {
  const std::pair<const char*, const char*> cases[] = {
      {"http://abc/d-e_f?g=1&h=2;i,j:k@l!$'()*/", nullptr},
      {"", nullptr},
      {"a.b", "a%2eb"},
      {" <>\"#{}|\\^~[].%+", "%20%3c%3e%22%23%7b%7d%7c%5c%5e%7e%5b%5d%2e%25%2b"},
      {"%20", "%2520"},
      {"\x01\x1F\x7F\x80\xFF", "%01%1f%7f%80%ff"},
      {"a\xC4\xE3z", "a%c4%e3z"},
  };
  for (const auto& [url, after] : cases) {
    EXPECT_EQ(Change("CanonicalizeURL", url), Answer(after ? 1 : 0, after ? after : url));
  }
}

TEST_F(TextBuiltins, EscapeString) {
  const struct {
    const char* text;
    const char* characters;
    const char* after;  // null: unchanged
  } cases[] = {
      {"a=b&c", "&=", "a%3db%26c"},
      {"abc", "", nullptr},
      {"abc", "xyz", nullptr},
      {"", "a", nullptr},
      {"a%", "%", "a%25"},
      {"\x81\x5C\\", "\\", "\x81\x5C%5c"},
      {"\xC4\xE3g", "\xC4\xE3", "%c4%e3g"},
      {"\xC4\xE3", "\xC4", nullptr},
      {"\x01\n", "\n", "\x01%0a"},
      {"a\xC4", "\xC4", "a%c4"},
      {"\xC4\xE3\xB0\xA1", "\xE3\xB0", nullptr},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Change("EscapeString", c.text, {c.characters}), Answer(c.after ? 1 : 0, c.after ? c.after : c.text));
  }
}

TEST_F(TextBuiltins, HTMLString) {
  const std::pair<const char*, const char*> cases[] = {
      {"\"&<>", "&#34;&#38;&#60;&#62;"},
      {"<a>\xC4\xE3</a>", "&#60;a&#62;\xC4\xE3&#60;/a&#62;"},
      {"plain 'text' \xC4\xE3", nullptr},
      {"", nullptr},
      {"&#38;", "&#38;#38;"},
      {"\x81<", "\x81&#60;"},  // byte by byte: half a character hides nothing
  };
  for (const auto& [text, after] : cases) {
    EXPECT_EQ(Change("HTMLString", text), Answer(after ? 1 : 0, after ? after : text));
    CString direct(text);
    EXPECT_EQ(::HTMLString(direct), after ? 1 : 0);
    EXPECT_STREQ(direct, after ? after : text);
  }
}

TEST_F(TextBuiltins, URLDelParam) {
  const struct {
    const char* url;
    int32_t index;
    const char* name;
    const char* after;  // null: unchanged
  } cases[] = {
      {"p?a=1&b=2&c=3", 0, "", "p?b=2&c=3"},
      {"p?a=1&b=2&c=3", 1, "", "p?a=1&c=3"},
      {"p?a=1&b=2&c=3", 2, "", "p?a=1&b=2"},
      {"p?a=1&b=2&c=3", 3, "", nullptr},
      {"p?a=1&b=2&c=3", INT32_MAX, "", nullptr},
      {"p?a=1&b=2&c=3", -1, "", nullptr},
      {"p?a=1&b=2&c=3", INT32_MIN, "", nullptr},
      {"p?a=1", 0, "", "p"},
      {"p?", 0, "", "p"},
      {"p?&b", 0, "", "p?b"},  // an empty parameter counts
      {"p?a=1&&b", 1, "", "p?a=1&b"},
      {"p", 0, "", nullptr},
      {"", 0, "", nullptr},
      {"p&a=1", 0, "", "p"},  // no query, but a mark
      {"x&y?z", 0, "", "x?z"},
      {"x&y?z", 1, "", "x&y"},
      {"p?a=1?b&c", 0, "", "p?c"},  // the first question mark alone counts
      {"p?a=1&b=2&a=3", 0, "a", "p?b=2&a=3"},
      {"p?a=1&b=2&a=3", 1, "a", "p?a=1&b=2"},
      {"p?a=1&b=2&a=3", 2, "a", nullptr},
      {"p?ba=1&a=2", 0, "a", "p?ba=1"},
      {"p?ab=1&a", 0, "a", nullptr},
      {"p&=&=&=x", 1, "=&", "p&=&=x"},  // hits may overlap
      {"p?A=1", 0, "a", nullptr},
      {"p?\xC4\xE3=1&b", 0, "\xC4\xE3", "p?b"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Change("URLDelParam", c.url, {c.index, c.name}), Answer(c.after ? 1 : 0, c.after ? c.after : c.url))
        << c.url << " " << c.index << " '" << c.name << "'";
  }
  // Would take minutes if every place were compared afresh.
  const std::string marks(1'000'000, '&');
  EXPECT_EQ(Change("URLDelParam", marks, {0, marks.substr(500'000) + "b"}), Answer(0, marks));
}

TEST_F(TextBuiltins, RplcStrTakesTheWholeTextForItsKey) {
  TempFolder folder;
  MakeFile("t", "\xC4\xE3=you\r\nempty=\r\n");
  EXPECT_EQ(Change("RplcStr", "\xC4\xE3", {"t"}), Answer(0, "you"));
  EXPECT_EQ(Change("RplcStr", "empty", {"t"}), Answer(0, ""));
  EXPECT_EQ(Change("RplcStr", "\xC4\xE3 \xC4\xE3", {"t"}), Answer(-1, "\xC4\xE3 \xC4\xE3"));
  EXPECT_EQ(Change("RplcStr", "\xC4\xE3", {"none"}), Answer(-1, "\xC4\xE3"));
  EXPECT_EQ(caller.Call("RplcStr", {"\xC4\xE3", "t"}), 0) << "any string will do";
}

TEST_F(TextBuiltins, MinAndMaxGoByTheLow32Bits) {
  const struct {
    Argument a, b;
    int32_t smaller, larger;
  } cases[] = {{1, 2, 1, 2},
               {2, 1, 1, 2},
               {-1, 0, -1, 0},
               {3, 3, 3, 3},
               {INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX},
               {int64_t{1} << 32, 1, 0, 1},
               {int64_t{0x8000'0000}, 0, INT32_MIN, 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(caller.Call("min", {c.a, c.b}), c.smaller);
    EXPECT_EQ(caller.Call("max", {c.a, c.b}), c.larger);
  }
}

TEST_F(TextBuiltins, AWrongCountIsToldBeforeAWrongKind) {
  for (const char* name : {"min", "max", "EscapeString"}) {
    const std::string message = std::string("函数") + name + "应当有两个参数! ";
    EXPECT_EQ(caller.Refusal(name, {}), message + "0");
    EXPECT_EQ(caller.Refusal(name, {1}), message + "1");
    EXPECT_EQ(caller.Refusal(name, {"a", 2, 3}), message + "3");
  }
}

}  // namespace
}  // namespace karst::testing

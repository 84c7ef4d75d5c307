// Chinese text: prices in capital numerals, cuts and breaks at whole characters, the date, names.
#include <gtest/gtest.h>
#include <strings.h>

#include <cstdlib>
#include <ctime>
#include <random>

#include "support/builtin_call.h"
#include "text/mbtext.h"

namespace karst::testing {
namespace {

const Ref kText{"text"};

class ChineseText : public ::testing::Test {
 protected:
  using Answer = std::pair<int32_t, std::string>;

  // The result of a call, and the variable `text` behind it.
  Answer Changed(const std::string& before, const char* name, const std::vector<Argument>& arguments) {
    BuiltinCaller fresh;
    fresh.Declare("text", before);
    const int32_t result = fresh.Call(name, arguments);
    return {result, fresh.Text("text")};
  }
  Answer LineBreak(const std::string& text, int32_t width, const char* line_break, const char* pair) {
    return Changed(text, "LineBreak", {kText, width, line_break, pair});
  }
};

TEST_F(ChineseText, HanziPrice) {
  const std::pair<int32_t, const char*> cases[] = {{0, "零圆"},
                                                   {1, "壹分"},
                                                   {5, "伍分"},
                                                   {10, "壹角"},
                                                   {50, "伍角"},
                                                   {99, "玖角玖分"},
                                                   {100, "壹圆"},
                                                   {105, "壹圆零伍分"},
                                                   {1005, "壹拾圆零伍分"},
                                                   {10100, "壹佰零壹圆"},
                                                   {234567, "贰仟叁佰肆拾伍圆陆角柒分"},
                                                   {1000000, "壹萬圆"},
                                                   {10000500, "壹拾萬零伍圆"},
                                                   {100000001, "壹佰萬圆零壹分"},
                                                   {1000000000, "壹仟萬圆"},
                                                   {1800900030, "壹仟捌佰萬零玖仟圆零叁角"},
                                                   {2147483647, "贰仟壹佰肆拾柒萬肆仟捌佰叁拾陆圆肆角柒分"}};
  for (const auto& [price, words] : cases) {
    EXPECT_EQ(Changed("old", "HanziPrice", {price, kText}), Answer(0, words)) << price;
  }
  EXPECT_EQ(Changed("old", "HanziPrice", {-1, kText}), Answer(-1, "old"));
  EXPECT_EQ(Changed("old", "HanziPrice", {INT32_MIN, kText}), Answer(-1, "old"));
  EXPECT_EQ(Changed("old", "HanziPrice", {int64_t{1} << 32 | 100, kText}), Answer(0, "壹圆"));
}

TEST_F(ChineseText, CutHanziStr) {
  const std::string longer = std::string(4999, 'x') + "中文";
  const struct {
    std::string text;
    int32_t length;
    int32_t place;
    std::string after;
  } cases[] = {{"中文字", 6, 6, "中文字"},
               {"中文字", 5, 6, "中文字"},  // no character begins at 5 or behind
               {"中文字", 4, 4, "中文..."},
               {"中文字", 3, 4, "中文..."},
               {"a中文字", 3, 3, "a中..."},
               {"a中文字", 2, 3, "a中..."},
               {"abc", 0, 0, "..."},
               {"abc", -5, 0, "..."},
               {"abc", INT32_MIN, 0, "..."},
               {"abc", INT32_MAX, 3, "abc"},
               {"", 0, 0, ""},
               {"", -1, 0, ""},
               {"ab\xC4", 2, 2, "ab..."},
               {"ab\xC4", 3, 3, "ab\xC4"},
               {"\xB0"
                "aab",
                1, 2,
                "\xB0"
                "a..."},  // the second byte may be a letter
               {longer, 5000, 5001, std::string(4999, 'x') + "中..."},
               {longer, 9000, 5003, longer}};
  for (const auto& c : cases) {
    EXPECT_EQ(Changed(c.text, "CutHanziStr", {kText, c.length}), Answer(c.place, c.after)) << c.text << c.length;
  }
}

TEST_F(ChineseText, LineBreak) {
  const struct {
    const char* text;
    int32_t width;
    const char* line_break;
    const char* pair;
    const char* after;
  } cases[] = {
      {"", 3, "|", "<>", ""},
      {"abc", 3, "|", "<>", "abc"},
      {"abcd", 3, "|", "<>", "abc|d"},
      {"abcdefgh", 3, "<br>", "<>", "abc<br>def<br>gh"},
      {"中文中文", 3, "|", "<>", "中文|中文"},
      {"a中文", 2, "|", "<>", "a中|文"},
      {"ab\r\ncd", 3, "|", "<>", "ab\r\nc|d"},                // line ends do not count
      {"abcde|fgh", 4, "|", "<>", "abcd|e|fgh"},              // a break that is there counts as one
      {"ab<BR>abcd", 3, "<br>", "<>", "ab<BR>abc<br>d"},      // in capitals too
      {"ab<i>cd</i>e", 3, "|", "<>", "ab<i>c|d</i>e"},        // markup does not count
      {"ab<<i>x>cd", 3, "|", "<>", "ab<<i>x>c|d"},            // nor nested markup
      {"a&lt;bcd", 3, "|", "<>", "a&lt;b|cd"},                // an entity's ";" counts as a column
      {"a&bcdefgh", 2, "|", "<>", "a&bcdefgh"},               // no ";": the tail is unbroken
      {"&&&&&&&&&&&abcd", 2, "|", "<>", "&&&&&&&&&&&ab|cd"},  // eleven are no entities
      {"&&&&&&&&&&abcd", 2, "|", "<>", "&&&&&&&&&&abcd"},
      {"a>b&c;def", 2, "|", "<>", "a>|b&|c;|de|f"},   // nest is below 0: entities count
      {"a>b<c&d;ef", 2, "|", "<>", "a>|b<|c&d;|ef"},  // and back at 0 they do not
      {"ab\"cd\"ef", 2, "|", "\"\"", "ab\"cd\"ef"},   // two equal bytes only open
      {"ab<cd>ef", 2, "|", "<", "ab<cd>ef"},          // nothing closes
      {"ab<cd>ef", 2, "|", "", "ab|<c|d>|ef"},
      {"ab<cd>ef", 2, "", "<>", "ab<cd>ef"},
      {"abc", 0, "|", "<>", "|a|b|c"},
      {"中a", -1, "|", "<>", "|中|a"},
      {"abcd|", 2, "|", "", "ab|cd||"},                       // a break at the very end is not seen
      {"\xB0<cd\xB0>ef", 2, "|", "<>", "\xB0<|cd|\xB0>|ef"},  // bytes inside a character open nothing
  };
  for (const auto& c : cases) {
    const std::string after = c.after;
    EXPECT_EQ(LineBreak(c.text, c.width, c.line_break, c.pair), Answer(after.size(), after)) << c.text;
  }
}

TEST_F(ChineseText, LineBreakStopsAtItsCapacity) {
  constexpr size_t kCapacity = 100000;
  const std::string fits(kCapacity - 4, 'x');
  const size_t half = fits.size() / 2;
  const auto broken_once = [&](const std::string& text, size_t at) {
    return text.substr(0, at) + "12" + text.substr(at);
  };
  const int32_t width = static_cast<int32_t>(half);
  EXPECT_EQ(LineBreak(fits, width + 2, "12", ""), Answer(kCapacity - 2, broken_once(fits, half + 2)));
  EXPECT_EQ(LineBreak(fits, width - 1, "12", ""), Answer(0, broken_once(fits, half - 1))) << "the second does not fit";
  const std::string longer(kCapacity + 7, 'x');
  EXPECT_EQ(LineBreak(longer, 50, "12", ""), Answer(0, longer)) << "nothing of it is lost";
  EXPECT_EQ(LineBreak(longer, kCapacity * 2, "12", ""), Answer(longer.size(), longer));
  EXPECT_EQ(LineBreak("xx" + std::string(50'000, '<'), 0, "1", "").first, 0) << "a break for every byte";
}

// The scan as one would write it down: in place, with the break put into the text that is being read.
std::string BrokenInPlace(std::string text, int width, const std::string& line_break, const std::string& pair) {
  int columns = 0, entity = 0, nest = 0, state = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const char byte = text[i];
    state = state == 1 ? 2 : IsDBCSLeadByte(static_cast<unsigned char>(byte)) ? 1 : 0;
    if (state == 0 && (byte == '\r' || byte == '\n')) continue;
    if (nest == 0) {
      if (state == 0 && byte == '&') {
        ++entity;
        continue;
      }
      if (state == 0 && byte == ';' && entity != 0) entity = 0;
      if (entity > 10) entity = 0;
      if (entity != 0) continue;
    }
    if (state == 0 && byte == pair[0]) {
      ++nest;
    } else if (state == 0 && byte == pair[1] && --nest == 0) {
      continue;
    }
    const bool inside = i + line_break.size() < text.size();
    if (inside && strncasecmp(text.c_str() + i, line_break.c_str(), line_break.size()) == 0) columns = 0;
    if (nest > 0) continue;
    if (state != 2 && columns >= width) {
      text.insert(i, line_break);
      i += line_break.size();
      columns = 0;
    }
    ++columns;
  }
  return text;
}

TEST_F(ChineseText, LineBreakOfAnyTextIsThatOfTheScanInPlace) {
  std::mt19937 random(5);
  const std::string bytes = "abAB<><>&;\r\n\xB0\xB0\xC4";
  const char* breaks[] = {"", "a", "ab", "aba", "<a>", "\r\n", "\xB0", "aabaab"};
  for (int i = 0; i < 20'000; ++i) {
    std::string text;
    for (size_t length = random() % 40; text.size() < length;) text += bytes[random() % bytes.size()];
    const char* line_break = breaks[random() % std::size(breaks)];
    const int32_t width = static_cast<int32_t>(random() % 7);
    const std::string expected = BrokenInPlace(text, width, line_break, "<>");
    ASSERT_EQ(LineBreak(text, width, line_break, "<>"), Answer(expected.size(), expected))
        << ::testing::PrintToString(text) << width << line_break;
  }
}

// Two places that never have the same date: a date that is not the local one fails in one of them.
TEST_F(ChineseText, GetDateIsTheLocalDate) {
  for (const int hours : {14, -12}) {
    setenv("TZ", hours > 0 ? "EAST-14" : "WEST12", 1);
    tzset();
    const auto date_there = [hours] {
      const std::time_t shifted = std::time(nullptr) + hours * 3600;
      char date[20];
      std::strftime(date, sizeof date, "%Y%m%d", std::gmtime(&shifted));
      return std::string(date);
    };
    const std::string before = date_there();
    const Answer answer = Changed("old", "GetDate", {kText});
    EXPECT_EQ(answer.first, 0);
    EXPECT_TRUE(answer.second == before || answer.second == date_there()) << answer.second;
  }
  unsetenv("TZ");
  tzset();
  EXPECT_EQ(Changed("old", "GetDate", {"by value"}), Answer(0, "old"));
}

TEST_F(ChineseText, InStr) {
  BuiltinCaller caller;
  const struct {
    const char* text;
    Argument byte;
    int32_t at;
  } cases[] = {{"ABCA", 65, 0},
               {"ABCA", 67, 2},
               {"ABCA", 97, -1},
               {"ABC", 0, -1},
               {"ABC", 256, -1},
               {"", 65, -1},
               {"A中", 0xD6, 1},
               {"A中", -48, 2},
               {"ABC", 256 + 66, 1},
               {"\xB0"
                "A",
                65, 1},
               {"ABC", int64_t{1} << 32 | 66, 1}};
  for (const auto& c : cases) EXPECT_EQ(caller.Call("InStr", {c.text, c.byte}), c.at) << c.text;
}

TEST_F(ChineseText, MakeFufenName) {
  const struct {
    const char* first;
    const char* second;
    const char* name;
  } cases[] = {{"a", "b", "a--b"},
               {"", "b", "b"},
               {"a", "", "a"},
               {"", "", ""},
               {" a ", " b ", "a -- b"},
               {" a\t", "", "a"},
               {" \r\n", "\t b b ", "b b"},
               {"中国", "历史", "中国--历史"},
               {" ", "\v\f", ""}};
  for (const auto& c : cases) {
    const std::string name = c.name;
    EXPECT_EQ(Changed("old", "MakeFufenName", {c.first, c.second, kText}), Answer(name.size(), name));
  }
}

}  // namespace
}  // namespace karst::testing

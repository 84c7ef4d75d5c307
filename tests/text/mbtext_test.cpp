// Multi-byte text calls: what counts as one character, and texts that end in the middle of one.
#include "text/mbtext.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/text_at_end.h"

namespace karst {
namespace {

int SignOf(int number) { return (number > 0) - (number < 0); }

struct ComparePair {
  std::string left, right;
  int exact, folded;
};

TEST(MbText, ComparesByCharacters) {
  const ComparePair pairs[] = {
      {"", "", 0, 0},
      {"abc", "abd", -1, -1},
      {"ab", "abc", -1, -1},
      {"ABC", "abc", -1, 0},
      {"z", "\x81\x40", -1, -1},     // any double-byte character stands behind any single byte
      {"\xFF", "\x81\x40", -1, -1},  // also behind 0xFF, which is no lead byte
      {"\x80", "\x81", -1, -1},      // a lone lead byte is a single-byte character
      {"\x81", "\x81\x40", -1, -1},
      {"\xB0\x41", "\xB0\x61", -1, -1},  // letters as trail bytes are never folded
      {"x\xB0\x41Y", "X\xB0\x41y", 1, 0},
      {"[", "a", -1, -1},  // folding goes to lower case: '[' stands behind 'Z' but ahead of 'a'
      {"[", "A", 1, -1},
  };
  for (const ComparePair& pair : pairs) {
    const TextAtEnd left(pair.left), right(pair.right);
    EXPECT_EQ(SignOf(_mbscmp(left.get(), right.get())), pair.exact) << pair.left << " " << pair.right;
    EXPECT_EQ(SignOf(_mbscmp(right.get(), left.get())), -pair.exact) << pair.left << " " << pair.right;
    EXPECT_EQ(SignOf(_mbsicmp(left.get(), right.get())), pair.folded) << pair.left << " " << pair.right;
    EXPECT_EQ(SignOf(_mbsicmp(right.get(), left.get())), -pair.folded) << pair.left << " " << pair.right;
    EXPECT_EQ(EqualIgnoringCase(pair.left, pair.right), pair.folded == 0) << pair.left << " " << pair.right;
  }
}

TEST(MbText, FindsOnlyAtCharacters) {
  struct Case {
    std::string text, part;
    int place;
  };
  const Case cases[] = {
      {"abc", "c", 2},
      {"abc", "d", -1},
      {"", "", 0},
      {"abc", "", 0},
      {"", "a", -1},
      {"ab", "abc", -1},
      {"aab", "ab", 1},
      {"\xB0\x5C\x5C", "\x5C", 2},           // the first backslash is a trail byte
      {"\xB0\xA1\xA1\xB0", "\xA1\xA1", -1},  // across two characters
      {"\xB0\xA1\xA1\xA1", "\xA1\xA1", 2},
      {"a\xB0", "\xB0", 1},  // a lone lead byte at the end
      {"a\xB0", "\xB0\xA1", -1},
  };
  for (const Case& c : cases) {
    const TextAtEnd text(c.text), part(c.part);
    const char* found = _mbsstr(text.get(), part.get());
    EXPECT_EQ(found ? found - text.get() : -1, c.place) << c.text << " " << c.part;
  }
}

std::string RandomText(std::mt19937& random, size_t length) {
  const std::string_view bytes = "ab\xB0\xB1\xB0";
  std::string text;
  while (text.size() < length) text += bytes[random() % bytes.size()];
  return text;
}

// By the definition: each place where a character begins, one after the other.
size_t FoundOneByOne(const std::string& text, const std::string& part) {
  for (size_t at = 0; at <= text.size(); at += text.c_str()[at] < 0 ? 2 : 1) {
    if (text.compare(at, part.size(), part) == 0) return at;
  }
  return std::string::npos;
}

TEST(MbText, FindsByCharactersWhatStandsAtOne) {
  std::mt19937 random(3);
  int inside = 0;  // how often the bytes stand somewhere, but at no character or later at one
  for (int i = 0; i < 20'000; ++i) {
    const std::string text = RandomText(random, random() % 30);
    const std::string part = RandomText(random, random() % 5);
    const size_t at = FindByCharacters(text, part);
    ASSERT_EQ(at, FoundOneByOne(text, part)) << ::testing::PrintToString(text + " | " + part);
    inside += text.find(part) != at && text.find(part) != std::string::npos;
  }
  EXPECT_GT(inside, 1000);
}

// Each would take minutes if every place were compared afresh.
TEST(MbText, SearchesTextsThatNearlyMatchEverywhereInOnePass) {
  const std::string same(1'000'000, 'a');
  EXPECT_EQ(FindByCharacters(same, same.substr(500'000) + "b"), std::string::npos);
  std::string shifted = "\x81";
  for (int i = 0; i < 500'000; ++i) shifted += "\xB0\xC0";
  const std::string pairs = shifted.substr(1, 500'000);
  EXPECT_EQ(FindByCharacters(shifted, pairs), std::string::npos) << "every hit is inside a character";
  EXPECT_EQ(FindByCharacters(shifted + "a" + pairs, pairs), 1'000'002u) << "after the last odd byte";
}

TEST(MbText, FindsCharacters) {
  const TextAtEnd text(
      "\xB0\x41"
      "A\xB0");
  EXPECT_EQ(_mbschr(text.get(), 'A'), text.get() + 2);
  EXPECT_EQ(_mbschr(text.get(), 0xB041), text.get());
  EXPECT_EQ(_mbschr(text.get(), 0xB0), text.get() + 3);
  EXPECT_EQ(_mbschr(text.get(), 'B'), nullptr);
  EXPECT_EQ(_mbschr(text.get(), 0), text.get() + 4);
}

TEST(MbText, CopiesWholeCharactersAndFillsUp) {
  struct Case {
    std::string text;
    size_t count;
    std::string expected;  // all `count` bytes of the target
  };
  const Case cases[] = {
      {"abc", 2, "ab"},
      {"abc", 3, "abc"},
      {"abc", 5, std::string("abc\0\0", 5)},
      {"a\xB0\xA1", 2, std::string("a\0", 2)},
      {"a\xB0\xA1", 3, "a\xB0\xA1"},
      {"\xB0\xA1\xB0\xA1", 3, std::string("\xB0\xA1\0", 3)},
      {"a\xB0", 2, "a\xB0"},
      {"a\xB0", 3, std::string("a\xB0\0", 3)},
      {"abc", 0, ""},
  };
  for (const Case& c : cases) {
    const TextAtEnd text(c.text);
    std::vector<char> target(c.count, '#');
    EXPECT_EQ(_mbsnbcpy(target.data(), text.get(), c.count), target.data());
    EXPECT_EQ(std::string(target.data(), c.count), c.expected) << c.text << " " << c.count;
  }
}

TEST(MbText, WritesNumbersInAnyRadix) {
  char text[33];
  EXPECT_STREQ(_ltoa(255, text, 16), "ff");
  EXPECT_STREQ(_ltoa(-1, text, 10), "-1");
  EXPECT_STREQ(_ltoa(-1, text, 16), "ffffffff");
  EXPECT_STREQ(_ltoa(INT32_MIN, text, 10), "-2147483648");
  EXPECT_STREQ(_ltoa(-1, text, 2), "11111111111111111111111111111111");
  EXPECT_STREQ(_ltoa(35, text, 36), "z");
  EXPECT_STREQ(_ltoa(0, text, 7), "0");
  EXPECT_STREQ(_ltoa(5, text, 1), "");
  EXPECT_STREQ(_ltoa(5, text, 37), "");
}

TEST(MbText, ReadsNumbersAndStaysAtTheEnds) {
  struct Case {
    const char* text;
    int64_t wide;
    int32_t narrow;
  };
  const Case cases[] = {
      {"", 0, 0},
      {"12ab", 12, 12},
      {"abc", 0, 0},
      {" \t\r\n\v\f+7", 7, 7},
      {"-7", -7, -7},
      {"- 7", 0, 0},
      {"+-7", 0, 0},
      {"2147483647", 2147483647, 2147483647},
      {"2147483648", 2147483648, 2147483647},
      {"-2147483648", -2147483648LL, INT32_MIN},
      {"-2147483649", -2147483649LL, INT32_MIN},
      {"9223372036854775807", INT64_MAX, INT32_MAX},
      {"9223372036854775808", INT64_MAX, INT32_MAX},
      {"-9223372036854775808", INT64_MIN, INT32_MIN},
      {"-99999999999999999999999", INT64_MIN, INT32_MIN},
      {"\xA3\xB1", 0, 0},
  };
  for (const Case& c : cases) {
    const TextAtEnd text(c.text);
    EXPECT_EQ(_atoi64(text.get()), c.wide) << c.text;
    EXPECT_EQ(TextToInt(text.get()), c.narrow) << c.text;
  }
}

// Checked against the plain walk from the text's start, for every text over a few telling bytes.
TEST(MbText, CutsLikeAWalkFromTheStart) {
  const char bytes[] = {'a', '\x40', '\x80', '\x81', '\xFE', '\xFF'};
  for (int number = 0; number < 6 * 6 * 6 * 6 * 6; ++number) {
    std::string text;
    for (int rest = number, i = 0; i < 5; ++i, rest /= 6) text += bytes[rest % 6];
    for (size_t limit = 0; limit <= 6; ++limit) {
      size_t expected = 0;
      while (expected < text.size()) {
        const bool pair = IsDBCSLeadByte(static_cast<unsigned char>(text[expected])) && expected + 1 < text.size();
        if (expected + 1 + pair > limit) break;
        expected += 1 + pair;
      }
      ASSERT_EQ(WholeCharacters(text, limit), expected) << number << " " << limit;
    }
  }
}

}  // namespace
}  // namespace karst

// Multi-byte text calls: what counts as one character, and texts that end in the middle of one.
#include "text/mbtext.h"

#include <gtest/gtest.h>

#include <random>

#include "support/text_at_end.h"

namespace karst {
namespace {

int SignOf(int number) { return (number > 0) - (number < 0); }

TEST(MbText, ComparesByCharacters) {
  const struct {
    std::string left, right;
    int exact, folded;
  } cases[] = {
      {"", "", 0, 0},
      {"abc", "abd", -1, -1},
      {"ab", "abc", -1, -1},
      {"ABC", "abc", -1, 0},
      {"\xFF", "\x81\x40", -1, -1},      // any double-byte character comes after any single byte
      {"\x81", "\x81\x40", -1, -1},      // a lone lead byte is a single-byte character
      {"\xB0\x41", "\xB0\x61", -1, -1},  // letters as trail bytes are never folded
      {"x\xB0\x41Y", "X\xB0\x41y", 1, 0},
      {"[", "a", -1, -1},  // folding goes to lower case: '[' comes after 'Z' but before 'a'
      {"[", "A", 1, -1},
  };
  for (const auto& each : cases) {
    const TextAtEnd left(each.left), right(each.right);
    EXPECT_EQ(SignOf(_mbscmp(left.get(), right.get())), each.exact) << each.left << " " << each.right;
    EXPECT_EQ(SignOf(_mbscmp(right.get(), left.get())), -each.exact) << each.left << " " << each.right;
    EXPECT_EQ(SignOf(_mbsicmp(left.get(), right.get())), each.folded) << each.left << " " << each.right;
    EXPECT_EQ(SignOf(_mbsicmp(right.get(), left.get())), -each.folded) << each.left << " " << each.right;
    EXPECT_EQ(EqualIgnoringCase(each.left, each.right), each.folded == 0) << each.left << " " << each.right;
  }
}

// By the definition: each place where a character begins, one after the other.
size_t FoundOneByOne(const std::string& text, const std::string& part) {
  for (size_t at = 0; at <= text.size(); at += text.c_str()[at] < 0 && at + 1 < text.size() ? 2 : 1) {
    if (text.compare(at, part.size(), part) == 0) return at;
  }
  return std::string::npos;
}

TEST(MbText, FindsByCharactersWhatStandsAtOne) {
  std::mt19937 random(3);
  const auto random_text = [&random](size_t length) {
    std::string text;
    while (text.size() < length) text += "ab\xB0\xB1\xB0"[random() % 5];
    return text;
  };
  int inside = 0;  // how often the bytes stand somewhere, but at no character or later at one
  for (int i = 0; i < 20'000; ++i) {
    const std::string text = random_text(random() % 30), part = random_text(random() % 5);
    const size_t at = FoundOneByOne(text, part);
    ASSERT_EQ(FindByCharacters(text, part), at) << ::testing::PrintToString(text + " | " + part);
    const TextAtEnd text_at_end(text), part_at_end(part);
    const char* const found = _mbsstr(text_at_end.get(), part_at_end.get());
    ASSERT_EQ(found ? static_cast<size_t>(found - text_at_end.get()) : text.npos, at);
    inside += text.find(part) != at && text.find(part) != text.npos;
  }
  EXPECT_GT(inside, 1000);
  const TextAtEnd text(
      "\xB0"
      "AA\xB0");
  const std::pair<unsigned, int> places[] = {{'A', 2}, {0xB041, 0}, {0xB0, 3}, {0, 4}};
  for (const auto& [character, place] : places) EXPECT_EQ(_mbschr(text.get(), character), text.get() + place);
  EXPECT_EQ(_mbschr(text.get(), 'B'), nullptr);
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

TEST(MbText, CopiesWholeCharactersAndFillsUp) {
  const struct {
    const char* text;
    std::string copied;  // all bytes of the target
  } cases[] = {{"abc", ""},
               {"abc", "ab"},
               {"abc", {"abc\0\0", 5}},
               {"a\xB0\xA1", {"a\0", 2}},
               {"a\xB0\xA1", "a\xB0\xA1"},
               {"\xB0\xA1\xB0\xA1", {"\xB0\xA1\0", 3}},
               {"a\xB0", "a\xB0"},
               {"a\xB0", {"a\xB0\0", 3}}};
  for (const auto& [source, copied] : cases) {
    const TextAtEnd text(source);
    std::string target(copied.size(), '#');
    EXPECT_EQ(_mbsnbcpy(target.data(), text.get(), target.size()), target.data());
    EXPECT_EQ(target, copied) << source;
  }
}

TEST(MbText, WritesAndReadsNumbers) {
  const struct {
    int32_t number;
    int radix;
    const char* digits;
  } written[] = {{255, 16, "ff"},
                 {-1, 10, "-1"},
                 {-1, 16, "ffffffff"},
                 {INT32_MIN, 10, "-2147483648"},
                 {-1, 2, "11111111111111111111111111111111"},
                 {35, 36, "z"},
                 {0, 7, "0"},
                 {5, 1, ""},
                 {5, 37, ""}};
  char text[33];
  for (const auto& each : written) EXPECT_STREQ(_ltoa(each.number, text, each.radix), each.digits);
  const struct {
    const char* text;
    int64_t wide;
    int32_t narrow;
  } cases[] = {{"", 0, 0},
               {"12ab", 12, 12},
               {"abc", 0, 0},
               {" \t\r\n\v\f+7", 7, 7},
               {"-7", -7, -7},
               {"- 7", 0, 0},
               {"+-7", 0, 0},
               {"2147483648", 2147483648, INT32_MAX},
               {"-2147483649", -2147483649LL, INT32_MIN},
               {"\xA3\xB1", 0, 0},
               {"9223372036854775807", INT64_MAX, INT32_MAX},
               {"9223372036854775808", INT64_MAX, INT32_MAX},
               {"-9223372036854775808", INT64_MIN, INT32_MIN},
               {"-99999999999999999999999", INT64_MIN, INT32_MIN}};
  for (const auto& each : cases) {
    const TextAtEnd at_end(each.text);
    EXPECT_EQ(_atoi64(at_end.get()), each.wide) << each.text;
    EXPECT_EQ(TextToInt(at_end.get()), each.narrow) << each.text;
  }
}

// Checked against the plain walk from the text's start, for every text over a few telling bytes.
TEST(MbText, CutsLikeAWalkFromTheStart) {
  for (int number = 0; number < 6 * 6 * 6 * 6 * 6; ++number) {
    std::string text;
    for (int rest = number, i = 0; i < 5; ++i, rest /= 6) text += "a\x40\x80\x81\xFE\xFF"[rest % 6];
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

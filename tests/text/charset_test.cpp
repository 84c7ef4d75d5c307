// GBK and UTF-8, both ways, over every pair of bytes; broken bytes; other charsets.
#include "text/charset.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace karst {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

bool IsPairOfProperBytes(int lead, int trail) {
  return lead >= 0x81 && lead <= 0xFE && trail >= 0x40 && trail <= 0xFE && trail != 0x7F;
}

TEST(Charset, EveryPairComesBackOrIsReplaced) {
  int characters = 0;
  for (int lead = 0x80; lead <= 0xFF; ++lead) {
    for (int trail = 0; trail <= 0xFF; ++trail) {
      const std::string gbk = {static_cast<char>(lead), static_cast<char>(trail)};
      const std::string utf8 = GbkToUtf8(gbk);
      const bool whole = IsPairOfProperBytes(lead, trail);
      if (utf8.find(kReplacement) != std::string::npos) {
        EXPECT_FALSE(IsValidGbk(gbk));
        // A byte below 0x80 behind a lead byte without a partner is text and stays.
        if (trail < 0x40) {
          EXPECT_EQ(utf8, kReplacement + gbk.substr(1));
        }
        if (whole) ADD_FAILURE() << std::hex << lead << " " << trail;
        continue;
      }
      characters += whole;
      std::string back;
      ASSERT_TRUE(Utf8ToGbk(utf8, back, nullptr)) << std::hex << lead << " " << trail;
      if (lead != 0x80 && gbk != "\xA2\xE3") {  // the euro sign has two places
        ASSERT_EQ(back, gbk);
      }
    }
  }
  EXPECT_EQ(characters, 126 * 190);
}

TEST(Charset, KnownCharacters) {
  EXPECT_EQ(GbkToUtf8("a\xD6\xD0z"), "a\xE4\xB8\xADz");
  EXPECT_EQ(GbkToUtf8("\x81\x5C"), "\xE4\xB9\x97");  // trail byte 0x5C
  EXPECT_EQ(GbkToUtf8("\x80"), "\xE2\x82\xAC");      // the euro sign
  EXPECT_EQ(GbkToUtf8("\xA3\xB1"), "\xEF\xBC\x91");  // a full-width digit
  EXPECT_EQ(GbkToUtf8("\xAA\xA1"), "\xEE\x80\x80");  // the first place for a user's own character
  EXPECT_EQ(GbkToUtf8("12345678\xFF"
                      "9"),
            std::string("12345678") + kReplacement + "9");
  EXPECT_EQ(GbkToUtf8("\xD6"), kReplacement);
  EXPECT_EQ(GbkToUtf8(std::string("a\0b", 3)), std::string("a\0b", 3));
}

TEST(Charset, RefusesWhatHasNoPlaceAndSaysWhere) {
  struct Case {
    std::string utf8;
    size_t offset;
  };
  const Case cases[] = {
      {"ab\xC3\xB6", 2},                    // o with diaeresis
      {"\xE4\xB8\xAD\xF0\x9F\x98\x80", 3},  // beyond the basic plane
      {"12345678\xF0\x9F\x98\x80", 8},
      {"a\x80", 1},      // a continuation byte alone
      {"a\xE4\xB8", 1},  // cut off
      {"a\xE4\xB8z", 1},
      {"\xC0\x80", 0},  // overlong
      {"\xE0\x80\xAF", 0},
      {"\xED\xA0\x80", 0},  // a surrogate
      {"\xF5\x80\x80\x80", 0},
      {"\xFF", 0},
  };
  for (const Case& c : cases) {
    std::string gbk;
    size_t offset = 99;
    EXPECT_FALSE(Utf8ToGbk(c.utf8, gbk, &offset)) << c.utf8;
    EXPECT_EQ(offset, c.offset) << c.utf8;
  }
}

TEST(Charset, ServesManyThreads) {
  std::vector<std::thread> threads;
  std::vector<int> right(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&right, t] {
      for (int i = 0; i < 200; ++i) {
        char target[64];
        const auto result = ConvertGbk("\xD6\xD0\xCE\xC4", t % 2 ? "utf-16le" : "big5", false, target, sizeof target);
        const std::string expected = t % 2 ? "\x2D\x4E\x87\x65" : "\xA4\xA4\xA4\xE5";
        right[static_cast<size_t>(t)] += std::string(target, result.bytes) == expected;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, std::vector<int>(4, 200));
}

}  // namespace
}  // namespace karst

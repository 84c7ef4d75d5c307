// GBK and UTF-8, both ways, over every pair of bytes; broken bytes.
#include "text/charset.h"

#include <gtest/gtest.h>

namespace karst {
namespace {

const std::string kReplacement = "\xEF\xBF\xBD";

TEST(Charset, EveryPairComesBackOrIsReplaced) {
  int characters = 0;
  for (int lead = 0x80; lead <= 0xFF; ++lead) {
    for (int trail = 0; trail <= 0xFF; ++trail) {
      const std::string gbk = {static_cast<char>(lead), static_cast<char>(trail)};
      const std::string utf8 = GbkToUtf8(gbk);
      const bool whole = lead >= 0x81 && lead <= 0xFE && trail >= 0x40 && trail <= 0xFE && trail != 0x7F;
      if (utf8.find(kReplacement) != utf8.npos) {
        ASSERT_FALSE(IsValidGbk(gbk) || whole) << lead << " " << trail;
        // A byte below 0x80 after a lead byte without a partner is text and stays.
        if (trail < 0x40) {
          EXPECT_EQ(utf8, kReplacement + gbk.substr(1));
        }
        continue;
      }
      characters += whole;
      std::string back;
      ASSERT_TRUE(Utf8ToGbk(utf8, back, nullptr)) << lead << " " << trail;
      if (lead != 0x80 && gbk != "\xA2\xE3") {
        ASSERT_EQ(back, gbk);
      }  // the euro sign has two places
    }
  }
  EXPECT_EQ(characters, 126 * 190);
}

TEST(Charset, KnownCharacters) {
  const std::pair<std::string, std::string> cases[] = {
      {"a\xD6\xD0z", "a\xE4\xB8\xADz"},
      {"\x81\x5C", "\xE4\xB9\x97"},  // trail byte 0x5C
      {"\x80", "\xE2\x82\xAC"},      // the euro sign
      {"\xA3\xB1", "\xEF\xBC\x91"},  // a full-width digit
      {"\xAA\xA1", "\xEE\x80\x80"},  // the first place for a user's own character
      {"12345678\xFF!", "12345678" + kReplacement + "!"},
      {"\xD6", kReplacement},
      {std::string("a\0b", 3), std::string("a\0b", 3)},
  };
  for (const auto& [gbk, utf8] : cases) EXPECT_EQ(GbkToUtf8(gbk), utf8);
}

TEST(Charset, RefusesWhatHasNoPlaceAndSaysWhere) {
  const std::pair<std::string, size_t> cases[] = {
      {"ab\xC3\xB6", 2},  // o with diaeresis
      {"\xE4\xB8\xAD\xF0\x9F\x98\x80", 3},
      {"12345678\xF0\x9F\x98\x80", 8},  // beyond the basic plane
      {"a\x80", 1},
      {"a\xE4\xB8", 1},
      {"a\xE4\xB8z", 1},  // alone, cut off
      {"\xC0\x80", 0},
      {"\xE0\x80\xAF", 0},
      {"\xED\xA0\x80", 0},
      {"\xF5\x80\x80\x80", 0},
      {"\xFF", 0},
  };
  for (const auto& [utf8, expected] : cases) {
    std::string gbk;
    size_t offset = 99;
    EXPECT_FALSE(Utf8ToGbk(utf8, gbk, &offset)) << utf8;
    EXPECT_EQ(offset, expected) << utf8;
  }
}

}  // namespace
}  // namespace karst

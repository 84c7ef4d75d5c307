// Texts between a host in UTF-8 and GBK: every byte string comes back, whole or in pieces.
#include "capi/hosttext.h"

#include <gtest/gtest.h>

#include <random>

#include "text/charset.h"

namespace karst::capi {
namespace {

std::string RandomGbk(std::mt19937& random) {
  static const std::string kParts[] = {"&#241;", "&#38;#241;", "&#",         "38;#", "&",   "中",
                                       "a",      "128512;",    "&#1111984;", "\xFF", "\x80"};
  std::string text;
  for (size_t left = random() % 12; left > 0; --left) {
    text += random() % 2 ? kParts[random() % std::size(kParts)] : std::string(1, static_cast<char>(random()));
  }
  return text;
}

std::string RandomUtf8(std::mt19937& random) {
  static const std::string kParts[] = {"&#241;", "&#38;#38;#241;", "&#38;#", "&", "&#128512", "&#1111984;", ";"};
  std::string text;
  for (size_t left = random() % 12; left > 0; --left) {
    if (random() % 2) {
      text += kParts[random() % std::size(kParts)];
    } else {
      const char32_t starts[] = {0, 0x4E00, 0x1F600, 0x10F700};
      AppendUtf8(text, starts[random() % 4] + static_cast<char32_t>(random() % 256));
    }
  }
  return text;
}

TEST(HostText, ComesBackFromEitherSide) {
  std::mt19937 random(11);
  std::string inside, outside, back;
  for (int i = 0; i < 20000; ++i) {
    const std::string utf8 = RandomUtf8(random);
    ASSERT_TRUE(ToInside(utf8, KARST_UTF8, inside));
    ToOutside(inside, KARST_UTF8, back);
    ASSERT_EQ(back, utf8);
  }
}

TEST(HostText, KeepsEveryByteOfTheInside) {
  std::mt19937 random(12);
  std::string outside, back;
  for (int i = 0; i < 20000; ++i) {
    std::string gbk = RandomGbk(random);
    // A reference that a script makes by itself is a character outside, and comes back as that reference.
    ToOutside(gbk, KARST_UTF8, outside);
    ASSERT_TRUE(ToInside(outside, KARST_UTF8, back));
    ASSERT_EQ(back, gbk);
  }
}

TEST(HostText, GivesTheSameInPieces) {
  std::mt19937 random(13);
  for (int i = 0; i < 20000; ++i) {
    const std::string gbk = RandomGbk(random) + RandomGbk(random);
    const karst_encoding encoding = i % 2 ? KARST_UTF8 : KARST_GBK;
    OutsidePieces pieces(encoding);
    std::string given, whole;
    for (size_t at = 0; at < gbk.size();) {
      const size_t length = 1 + random() % 4;
      const std::string_view piece = pieces.Add(std::string_view(gbk).substr(at, length));
      std::string code_points;
      ASSERT_TRUE(encoding == KARST_GBK || ToInside(piece, KARST_UTF8, code_points));
      given += piece;
      at += length;
    }
    given += pieces.Finish();
    ToOutside(gbk, encoding, whole);
    ASSERT_EQ(given, whole);
  }
}

}  // namespace
}  // namespace karst::capi

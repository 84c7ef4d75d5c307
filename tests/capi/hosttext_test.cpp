// Texts between a host in UTF-8 and GBK: every byte string comes back, whole or in pieces.
#include "capi/hosttext.h"

#include <gtest/gtest.h>

#include <random>

#include "text/charset.h"

namespace karst::capi {
namespace {

class HostText : public ::testing::Test {
 protected:
  // References, their beginnings and their escapes, and between them characters or bytes.
  template <typename Between>
  std::string Made(Between between) {
    static const std::string kParts[] = {"&#241;",  "&#38;#241;", "&#38;#38;#241;", "&#", "38;#", "&",
                                         "128512;", "&#1111984;", "&#128512",       ";",  "a"};
    std::string text;
    for (size_t left = random() % 12; left > 0; --left) {
      if (random() % 2) {
        text += kParts[random() % std::size(kParts)];
      } else {
        between(text);
      }
    }
    return text;
  }
  std::string MadeGbk() {
    return Made([&](std::string& text) { text += random() % 3 ? std::string(1, static_cast<char>(random())) : "中"; });
  }
  std::mt19937 random{11};
  std::string inside, outside, back;
};

TEST_F(HostText, ComesBackFromEitherSide) {
  constexpr char32_t kStarts[] = {0, 0x4E00, 0x1F600, 0x10F700};
  for (int i = 0; i < 20000; ++i) {
    const std::string utf8 = Made(
        [&](std::string& text) { AppendUtf8(text, kStarts[random() % 4] + static_cast<char32_t>(random() % 256)); });
    ASSERT_TRUE(ToInside(utf8, KARST_UTF8, inside));
    ToOutside(inside, KARST_UTF8, back);
    ASSERT_EQ(back, utf8);
    // A reference that a script makes by itself is a character outside, and comes back as that reference.
    const std::string gbk = MadeGbk();
    ToOutside(gbk, KARST_UTF8, outside);
    ASSERT_TRUE(ToInside(outside, KARST_UTF8, back));
    ASSERT_EQ(back, gbk);
  }
}

TEST_F(HostText, GivesTheSameInPieces) {
  for (int i = 0; i < 20000; ++i) {
    const std::string gbk = MadeGbk() + MadeGbk();
    const karst_encoding encoding = i % 2 ? KARST_UTF8 : KARST_GBK;
    OutsidePieces pieces(encoding);
    std::string given;
    for (size_t at = 0, length; at < gbk.size(); at += length) {
      length = 1 + random() % 4;
      const std::string_view piece = pieces.Add(std::string_view(gbk).substr(at, length));
      ASSERT_TRUE(encoding == KARST_GBK || ToInside(piece, KARST_UTF8, back)) << "whole characters";
      given += piece;
    }
    given += pieces.Finish();
    ToOutside(gbk, encoding, outside);
    ASSERT_EQ(given, outside);
  }
}

}  // namespace
}  // namespace karst::capi

// GBK and UTF-8 both ways: nothing is lost, nothing is mistaken for what stands in the place of something else.
#include "cli/records/reversible.h"

#include <gtest/gtest.h>

#include <vector>

#include "cli/record_maker.h"
#include "cli/records/charset_guess.h"
#include "cli/records/charset_marks.h"

namespace karst::cli {
namespace {

using testing::InternalText;
using testing::IsoField;
using testing::RecordMaker;

std::string Gbk(std::string_view utf8) {
  std::string gbk;
  ToGbkReversibly(utf8, gbk);
  return gbk;
}

std::string Utf8(std::string_view gbk) {
  std::string utf8;
  ToUtf8Reversibly(gbk, utf8);
  return utf8;
}

TEST(Reversible, WhatGbkHasNoPlaceForBecomesAReference) {
  const struct {
    const char* utf8;
    const char* gbk;
    uint64_t missing;
  } kCases[] = {
      {"\xE4\xB8\xAD"
       "a",
       "\xD6\xD0"
       "a",
       0},
      {"\xC2\xA9", "&#169;", 1},
      {"\xF0\x9F\x98\x80", "&#128512;", 1},
      {"\xE2\x82\xAC", "\xA2\xE3", 0},
      {"&#169;", "&#38;#169;", 0},
      {"&#38;#169;", "&#38;#38;#169;", 0},
      // References that are no such: GBK has the character, zeros in front, no end, no number.
      {"&#20013; &#0169; &#169 &#; &#38; &", "&#20013; &#0169; &#169 &#; &#38; &", 0},
      {"&#1114112;&#99999999999999;", "&#1114112;&#99999999999999;", 0},
      {"x\xE4\xB8", "x&#56548;&#56504;", 2},
  };
  for (const auto& one : kCases) {
    std::string gbk;
    EXPECT_EQ(ToGbkReversibly(one.utf8, gbk), one.missing) << one.utf8;
    EXPECT_EQ(gbk, one.gbk);
    EXPECT_EQ(Utf8(gbk), one.utf8);
  }
}

TEST(Reversible, EveryCharacterOfGbkAndEveryByteComesBack) {
  for (unsigned lead = 0x80; lead <= 0xFF; ++lead) {
    for (unsigned trail = 1; trail <= 0xFF; ++trail) {
      const std::string gbk = {static_cast<char>(lead), static_cast<char>(trail)};
      const std::string utf8 = Utf8(gbk);
      ASSERT_EQ(Gbk(utf8), gbk) << lead << " " << trail;
      ASSERT_TRUE(IsValidUtf8(utf8)) << lead << " " << trail;
    }
  }
}

TEST(Reversible, AnyTextComesBackFromEitherSide) {
  RecordMaker maker(1);
  for (int i = 0; i < 20000; ++i) {
    const std::string text = maker.Text();
    ASSERT_EQ(Gbk(Utf8(text)), text);
    ASSERT_EQ(Utf8(Gbk(text)), text);
  }
}

TEST(Reversible, PiecesGiveWhatTheWholeGives) {
  RecordMaker maker(2);
  for (int i = 0; i < 2000; ++i) {
    const std::string text = maker.Text() + maker.Text();
    ReversibleUtf8Stream stream;
    std::string utf8;
    for (size_t at = 0, size = 0; at < text.size(); at += size) {
      size = 1 + maker.Below(4);
      stream.Convert(std::string_view(text).substr(at, size), utf8);
    }
    stream.Finish(utf8);
    ASSERT_EQ(utf8, Utf8(text)) << text;
  }
}

std::string RecordWith(std::string_view leader, std::string_view general, std::string_view title) {
  std::vector<IsoField> fields;
  if (!general.empty())
    fields.push_back({"100",
                      "  \x1F"
                      "a" +
                          std::string(general)});
  fields.push_back({general.empty() ? "245" : "200",
                    "1 \x1F"
                    "a" +
                        std::string(title)});
  return InternalText(leader, fields);
}

constexpr std::string_view kLeader = "00000nam0 2200000   450 ";
constexpr std::string_view kMarc21Utf8 = "00000nam a2200000   4500";
constexpr std::string_view kMarc21 = "00000nam  2200000   4500";
constexpr std::string_view kAuthority = "00000nx  j2200000   450 ";

TEST(CharsetGuess, TellsTheCharsetOfARecord) {
  const auto gbk = RecordCharset::kGbk;
  const auto utf8 = RecordCharset::kUtf8;
  const struct {
    std::string record;
    RecordCharset before;
    RecordCharset expected;
  } kCases[] = {
      {RecordWith(kLeader, "", "\xE4\xB8\xAD\xE5\x9B\xBD"), RecordCharset::kAuto, utf8},
      {RecordWith(kLeader, "", "\xE4\xB8\xAD\xE5\x9B\xBD"), gbk, utf8},
      {RecordWith(kLeader, "", "\xD6\xD0\xB9\xFA"), utf8, gbk},
      // Two characters of GBK that look like two of UTF-8: what was before decides, unless the record says it.
      {RecordWith(kLeader, "", "\xC2\xA9\xC3\xA9"), gbk, gbk},
      {RecordWith(kLeader, "", "\xC2\xA9\xC3\xA9"), utf8, utf8},
      {RecordWith(kMarc21Utf8, "", "\xC2\xA9\xC3\xA9"), gbk, utf8},
      {RecordWith(kLeader, "20240102d2008    em y0chiy50      ea", "\xC3\xA9"), gbk, utf8},
      // What is no UTF-8 is none, whatever the record says.
      {RecordWith(kMarc21Utf8, "", "\xD6\xD0"), utf8, gbk},
      {RecordWith(kLeader, "", "plain"), RecordCharset::kAuto, gbk},
      {RecordWith(kLeader, "", "plain"), utf8, utf8},
  };
  for (const auto& one : kCases) EXPECT_EQ(GuessCharset(one.record, one.before), one.expected) << one.record;
}

TEST(CharsetMarks, ARecordSaysItsCharsetWhereItsFormatHasAPlace) {
  const std::string_view gb = "20240102d2008    em y0chiy0110    ea";
  const std::string_view unicode = "20240102d2008    em y0chiy50      ea";
  const struct {
    std::string before;
    RecordCharset charset;
    Flavour flavour;
    std::string after;
  } kCases[] = {
      {RecordWith(kMarc21, "", "x"), RecordCharset::kUtf8, Flavour::kAuto, RecordWith(kMarc21Utf8, "", "x")},
      {RecordWith(kMarc21Utf8, "", "x"), RecordCharset::kGbk, Flavour::kAuto, RecordWith(kMarc21, "", "x")},
      {RecordWith(kLeader, gb, "x"), RecordCharset::kUtf8, Flavour::kAuto, RecordWith(kLeader, unicode, "x")},
      {RecordWith(kLeader, unicode, "x"), RecordCharset::kGbk, Flavour::kAuto, RecordWith(kLeader, gb, "x")},
      {RecordWith(kLeader, unicode, "x"), RecordCharset::kUtf8, Flavour::kAuto, RecordWith(kLeader, unicode, "x")},
      {RecordWith(kLeader, gb, "x"), RecordCharset::kUtf8, Flavour::kNone, RecordWith(kLeader, gb, "x")},
      {RecordWith(kMarc21, "", "x"), RecordCharset::kUtf8, Flavour::kUnimarc, RecordWith(kMarc21, "", "x")},
      // An author in 100 is none of UNIMARC's; a text that is too short has no such place.
      {RecordWith(kLeader, "20240102d2008    em y0chiy01", "x"), RecordCharset::kUtf8, Flavour::kAuto,
       RecordWith(kLeader, "20240102d2008    em y0chiy01", "x")},
      {RecordWith(kAuthority, "20240102achiy0110    ea", "x"), RecordCharset::kUtf8, Flavour::kAuto,
       RecordWith(kAuthority, "20240102achiy50      ea", "x")},
  };
  for (const auto& one : kCases) {
    std::string record = one.before;
    SetCharsetMarks(record, one.charset, one.flavour);
    EXPECT_EQ(record, one.after);
  }
}

}  // namespace
}  // namespace karst::cli

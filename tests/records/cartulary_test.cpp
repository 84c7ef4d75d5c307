// Finding fields, embedded fields, subfields and groups in a record text; a record text as a stream.
#include "records/cartulary.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

using karst::FieldCursor;
using karst::SubfieldCursor;

const std::string kHeader = "00000nam0 2200000   450 ";

// In the tables ^ stands for 0x1E, | for 0x1D, $ for 0x1F.
std::string Marked(std::string text) {
  for (char& byte : text) {
    if (byte == '^') byte = karst::kFieldEnd;
    if (byte == '|') byte = karst::kRecordEnd;
    if (byte == '$') byte = karst::kSubfieldMark;
  }
  return text;
}

std::string Readable(std::string text) {
  for (char& byte : text) {
    if (byte == karst::kFieldEnd) byte = '^';
    if (byte == karst::kRecordEnd) byte = '|';
    if (byte == karst::kSubfieldMark) byte = '$';
  }
  return text;
}

constexpr int kRoom = 200;

struct Given {
  int result;
  std::string text;
  std::string next;
};

// Calls a reading function with a buffer that holds other text, which stays where nothing is found.
template <typename Call>
Given Give(Call call) {
  std::vector<char> buf(kRoom, 0), next(4, 0);
  buf[0] = next[0] = '?';
  const int result = call(buf.data(), next.data());
  return {result, Readable(buf.data()), Readable(next.data())};
}

Given GetField(const std::string& record, const char* name, int index) {
  return Give(
      [&](char* buf, char* next) { return MARC_GetField(record.c_str(), name, index, buf, kRoom, next, nullptr); });
}
Given GetNested(const std::string& field, const char* name, int index) {
  return Give([&](char* buf, char* next) {
    return MARC_GetNestedField(field.c_str(), name, index, buf, kRoom, next, nullptr);
  });
}
Given GetSubfield(const std::string& text, const char* name, int index) {
  return Give([&](char* buf, char*) { return MARC_GetSubField(text.c_str(), name, index, buf, kRoom, nullptr); });
}
Given GetGroup(const std::string& text, int index) {
  return Give([&](char* buf, char*) { return MARC_GetGroup(text.c_str(), index, buf, kRoom, nullptr); });
}

struct ItemCase {
  const char* text;
  const char* name;
  int index;
  const char* item;  // null: none
  const char* next = "";
};

void Expect(const ItemCase& expected, const Given& given, bool with_next) {
  SCOPED_TRACE(std::string(expected.text) + " name '" + expected.name + "' index " + std::to_string(expected.index));
  if (!expected.item) {
    EXPECT_EQ(given.result, -1);
    EXPECT_EQ(given.text, "?");
    EXPECT_EQ(given.next, "?");
    return;
  }
  EXPECT_EQ(given.text, expected.item);
  EXPECT_EQ(given.result, static_cast<int>(given.text.size()));
  if (with_next) {
    EXPECT_EQ(given.next, expected.next);
  }
}

TEST(MarcFields, FieldsAreFoundByNameAndIndex) {
  constexpr char kRecord[] = "001X1^200 1$aA^200  $aB^-01local^|";
  const ItemCase kCases[] = {
      {kRecord, "", 0, "001X1", "200"},
      {kRecord, "", 2, "200  $aB", "-01"},
      {kRecord, "", 3, "-01local", ""},
      {kRecord, "", 4, nullptr},
      {kRecord, "", -1, nullptr},
      {kRecord, "200", 1, "200  $aB", "-01"},
      {kRecord, "200", 2, nullptr},
      {kRecord, "2**", 0, "200 1$aA", "200"},
      {kRecord, "*0*", 2, "200  $aB", "-01"},
      {kRecord, "***", 3, "-01local", ""},
      {kRecord, "20", 0, nullptr},
      {kRecord, "2000", 0, nullptr},
      {kRecord, "*", 0, nullptr},
      {kRecord, "hdr", 0, "00000nam0 2200000   450 ", "001"},
      {kRecord, "hdr", 1, nullptr},
      {"|", "hdr", 0, "00000nam0 2200000   450 ", ""},
      {"|", "", 0, nullptr},
      {"", "hdr", 0, "00000nam0 2200000   450 ", ""},
      // Fields too short for a tag count, but only the empty name matches them.
      {"^20^200a^|", "", 0, "", "20"},
      {"^20^200a^|", "", 1, "20", "200"},
      {"^20^200a^|", "***", 0, "200a", ""},
      // Missing end marks, and what stands behind a record's end.
      {"001a^002b", "", 1, "002b", ""},
      {"001a|^002b^", "", 0, "001a", ""},
      {"001a|^002b^", "", 1, nullptr},
      {"001a^2", "", 0, "001a", "2"},
      // An asterisk in a tag is no pattern.
      {"2*0a^|", "200", 0, nullptr},
  };
  for (const ItemCase& expected : kCases) {
    Expect(expected, GetField(Marked(kHeader + expected.text), expected.name, expected.index), true);
  }
}

TEST(MarcFields, ATextShorterThanAHeaderHasNothing) {
  for (size_t length = 0; length < kHeader.size(); ++length) {
    EXPECT_EQ(GetField(kHeader.substr(0, length), "hdr", 0).result, -1);
    EXPECT_EQ(GetField(kHeader.substr(0, length), "", 0).result, -1);
  }
}

TEST(MarcFields, EmbeddedFieldsBeginAtALinkWithATag) {
  constexpr char kField[] = "461 0$1001X1$12001 $aA$vB$1abc$1210  $cC";
  const ItemCase kCases[] = {
      {kField, "", 0, "001X1", "200"},
      {kField, "", 1, "2001 $aA$vB$1abc", "210"},
      {kField, "", 2, "210  $cC", ""},
      {kField, "", 3, nullptr},
      {kField, "2**", 1, "210  $cC", ""},
      {kField, "hdr", 0, nullptr},
      {"461 0$aA$1", "", 0, nullptr},
      {"461 0$120", "", 0, nullptr},
      {"461 0$1200^$1210 ", "", 0, "200", ""},
      {"461 0$1200^$1210 ", "", 1, nullptr},
      {"461 0$1200$1201", "", 0, "200", "201"},
      {"200 1$aA", "", 0, nullptr},
      {"", "", 0, nullptr},
  };
  for (const ItemCase& expected : kCases) {
    Expect(expected, GetNested(Marked(expected.text), expected.name, expected.index), true);
  }
}

TEST(MarcFields, SubfieldsAreFoundByCode) {
  constexpr char kField[] = "200 1$aA$bB$aC^$aD";
  const ItemCase kCases[] = {
      {kField, "", 0, "$aA"},       {kField, "", 2, "$aC"},    {kField, "", 3, nullptr},   {kField, "a", 1, "$aC"},
      {kField, "a", 2, nullptr},    {kField, "*", 1, "$bB"},   {kField, "ab", 0, nullptr}, {kField, "x", 0, nullptr},
      {"001data", "", 0, nullptr},  {"", "", 0, nullptr},      {"$", "", 0, "$"},          {"$", "*", 0, nullptr},
      {"$$aA$", "", 1, "$aA"},      {"$$aA$", "", 2, "$"},     {"$$aA$", "*", 0, "$aA"},   {"$a", "a", 0, "$a"},
      {"$aA|$bB", "b", 0, nullptr}, {"$*x$ax", "*", 1, "$ax"},
  };
  for (const ItemCase& expected : kCases) {
    Expect(expected, GetSubfield(Marked(expected.text), expected.name, expected.index), false);
  }
}

TEST(MarcFields, AGroupEndsWhereItsFirstCodeComesAgain) {
  const ItemCase kCases[] = {
      {"200 1$aA$bB$aC$cD", "", 0, "$aA$bB"},
      {"200 1$aA$bB$aC$cD", "", 1, "$aC$cD"},
      {"200 1$aA$bB$aC$cD", "", 2, nullptr},
      {"200 1$bB$aA$aC$bD^$bE", "", 0, "$bB$aA$aC"},
      {"200 1$bB$aA$aC$bD^$bE", "", 1, "$bD"},
      {"200 1$bB$aA$aC$bD^$bE", "", 2, nullptr},
      {"$aA$aB$aC", "", 1, "$aB"},
      {"$aA$aB$aC", "", 2, "$aC"},
      {"$aA$aB$aC", "", -1, nullptr},
      {"001data", "", 0, nullptr},
      {"$$aA$", "", 0, "$$aA"},
      {"$$aA$", "", 1, "$"},
  };
  for (const ItemCase& expected : kCases) Expect(expected, GetGroup(Marked(expected.text), expected.index), false);
}

TEST(MarcFields, AnItemIsCutAtAWholeCharacterAndNothingIsWrittenBehindTheRoom) {
  const std::string record = Marked(kHeader + "200  $a中文x^|");
  const std::string field = Marked("200  $a中文x");
  // The field text has 12 bytes: 7 of ASCII, two characters of two bytes each, one byte.
  const size_t whole[] = {0, 0, 1, 2, 3, 4, 5, 6, 7, 7, 9, 9, 11, 12, 12};
  for (int size = 0; size < static_cast<int>(std::size(whole)); ++size) {
    SCOPED_TRACE(size);
    std::vector<char> buf(static_cast<size_t>(size) + 2, '#');
    const int result = MARC_GetField(record.c_str(), "200", 0, buf.data(), size, nullptr, nullptr);
    EXPECT_EQ(result, size == 0 ? -1 : static_cast<int>(whole[size]));
    if (size > 0) {
      EXPECT_EQ(std::string(buf.data()), field.substr(0, whole[size]));
    }
    EXPECT_EQ(buf[static_cast<size_t>(size)], '#');
    EXPECT_EQ(buf[static_cast<size_t>(size) + 1], '#');
  }
}

TEST(MarcFields, NullAndNegativeArgumentsFindNothing) {
  const std::string record = Marked(kHeader + "200  $aA^|");
  char buf[10] = "kept";
  EXPECT_EQ(MARC_GetField(nullptr, "", 0, buf, 10, nullptr, nullptr), -1);
  EXPECT_EQ(MARC_GetField(record.c_str(), nullptr, 0, buf, 10, nullptr, nullptr), -1);
  EXPECT_EQ(MARC_GetField(record.c_str(), "", 0, nullptr, 10, nullptr, nullptr), -1);
  EXPECT_EQ(MARC_GetField(record.c_str(), "", 0, buf, -1, nullptr, nullptr), -1);
  EXPECT_EQ(MARC_GetNestedField(nullptr, "", 0, buf, 10, nullptr, nullptr), -1);
  EXPECT_EQ(MARC_GetSubField(record.c_str(), "", INT32_MIN, buf, 10, nullptr), -1);
  EXPECT_EQ(MARC_GetGroup(record.c_str(), 0, buf, 0, nullptr), -1);
  EXPECT_STREQ(buf, "kept");
}

// Texts of marks, tags and NULs in any order: the walks give item by item what the functions find by index.
class GeneratedText : public ::testing::TestWithParam<unsigned> {
 protected:
  std::string Make(size_t most_parts) {
    static const std::string kParts[] = {"\x1E",
                                         "\x1E",
                                         "\x1D",
                                         "\x1F",
                                         "\x1F\x31",
                                         "200",
                                         "461",
                                         "a",
                                         "*",
                                         "中",
                                         "hdr",
                                         "001",
                                         "-0",
                                         "\x1F"
                                         "a",
                                         "\xB0",
                                         std::string(1, '\0')};
    std::string text;
    for (size_t count = random_() % (most_parts + 1); count > 0; --count) text += kParts[random_() % std::size(kParts)];
    return text;
  }
  std::mt19937 random_{GetParam()};
};

template <typename Cursor, typename Get>
void ExpectWalkEqualsIndex(Cursor cursor, Get get) {
  std::string_view item;
  int index = 0;
  for (; cursor.Next(item); ++index) {
    const Given given = get(index);
    ASSERT_EQ(given.result, static_cast<int>(item.size()));
    ASSERT_EQ(given.text, Readable(std::string(item)));
    if constexpr (requires { cursor.FollowingTag(); }) {
      ASSERT_EQ(given.next, Readable(std::string(cursor.FollowingTag())));
    }
  }
  ASSERT_EQ(get(index).result, -1);
}

TEST_P(GeneratedText, WalksGiveWhatTheFunctionsFind) {
  for (int i = 0; i < 3000; ++i) {
    const std::string record = (i % 8 ? kHeader : "") + Make(14);
    const std::string text = Make(14);
    SCOPED_TRACE(Readable(record) + " and " + Readable(text));
    ExpectWalkEqualsIndex(FieldCursor::OverRecord(record), [&](int at) { return GetField(record, "", at); });
    ExpectWalkEqualsIndex(FieldCursor::OverEmbedded(text), [&](int at) { return GetNested(text, "", at); });
    ExpectWalkEqualsIndex(SubfieldCursor(text), [&](int at) { return GetSubfield(text, "", at); });
    if (HasFatalFailure()) return;
  }
}

TEST_P(GeneratedText, FieldsAndMarksAreTheWholeRecord) {
  for (int i = 0; i < 3000; ++i) {
    std::string body = Make(14);
    std::erase(body, '\0');
    std::erase(body, karst::kRecordEnd);
    const std::string record = kHeader + body;
    std::string joined;
    std::string_view field;
    for (auto cursor = FieldCursor::OverRecord(record); cursor.Next(field);) joined += std::string(field) + '\x1E';
    if (!body.empty() && body.back() != karst::kFieldEnd) body += karst::kFieldEnd;
    ASSERT_EQ(Readable(joined), Readable(body));
  }
}

TEST_P(GeneratedText, GroupsJoinToTheTextFromTheFirstMarkOn) {
  for (int i = 0; i < 3000; ++i) {
    std::string text = Make(14);
    std::erase_if(text,
                  [](char byte) { return byte == '\0' || byte == karst::kFieldEnd || byte == karst::kRecordEnd; });
    std::string joined;
    for (int at = 0;; ++at) {
      const Given group = GetGroup(text, at);
      if (group.result == -1) break;
      ASSERT_EQ(group.text[0], '$');
      joined += group.text;
    }
    const size_t first = std::min(text.find(karst::kSubfieldMark), text.size());
    ASSERT_EQ(joined, Readable(text.substr(first)));
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, GeneratedText, ::testing::Values(1u, 2u, 3u));

TEST(CMARCString, GivesItsRecordOnceAfterEachOpen) {
  CMARCString stream;
  CString record("old");
  EXPECT_EQ(stream.NextRecord(record), 1);
  for (int run = 0; run < 2; ++run) {
    EXPECT_EQ(stream.Open("a record"), 0);
    EXPECT_EQ(stream.stream_size, 8u);
    EXPECT_EQ(stream.stream_position, 0u);
    EXPECT_EQ(stream.NextRecord(record), 0);
    EXPECT_EQ(record, "a record");
    EXPECT_STREQ(stream.GetCurRec(), "a record");
    EXPECT_EQ(stream.stream_position, 8u);
    EXPECT_EQ(stream.NextRecord(record), 1);
  }
  CMARCString copy;
  stream.Open("another");
  copy = stream;
  stream.Close();
  EXPECT_EQ(stream.NextRecord(record), 1);
  EXPECT_EQ(copy.NextRecord(record), 0);
  EXPECT_STREQ(copy.GetCurRec(), "another");
}

}  // namespace

// Finding fields, embedded fields, subfields and groups in a record text.
#include "records/cartulary.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "support/readable.h"

namespace karst::testing {
namespace {

const std::string kHeader = "00000nam0 2200000   450 ";

using Find = int (*)(const char*, const char*, int, char*, int, char*);
int Field(const char* text, const char* name, int index, char* buf, int room, char* next) {
  return MARC_GetField(text, name, index, buf, room, next, nullptr);
}
int Embedded(const char* text, const char* name, int index, char* buf, int room, char* next) {
  return MARC_GetNestedField(text, name, index, buf, room, next, nullptr);
}
int Subfield(const char* text, const char* name, int index, char* buf, int room, char*) {
  return MARC_GetSubField(text, name, index, buf, room, nullptr);
}
int Group(const char* text, const char*, int index, char* buf, int room, char*) {
  return MARC_GetGroup(text, index, buf, room, nullptr);
}

// All items of a name by their index, each after a space bar; with the tag that comes after it, where the call gives
// it.
std::string Items(Find find, const std::string& text, const char* name) {
  std::string items;
  for (int index = -1;; ++index) {
    char buf[200] = "?", next[4] = "?";
    const int result = find(text.c_str(), name, index, buf, sizeof buf, next);
    if (result == -1) {
      EXPECT_STREQ(buf, "?") << "nothing found, nothing written";
      if (index >= 0) return Readable(items);
      continue;
    }
    EXPECT_EQ(result, static_cast<int>(std::strlen(buf)));
    items += (items.empty() ? "" : " / ") + std::string(buf);
    if (find == Field || find == Embedded) items += std::string(" >") + next;
  }
}

TEST(MarcFields, AreFoundByNameAndIndex) {
  const std::string record = kHeader + "001X1^200 1$aA^200  $aB^-01local^|";
  const char kNested[] = "461 0$1001X1$12001 $aA$vB$1abc$1210  $cC";
  const char kField[] = "200 1$aA$bB$aC^$aD";
  const struct {
    Find find;
    std::string text;
    const char* name;
    const char* items;
  } cases[] = {
      {Field, record, "", "001X1 >200 / 200 1$aA >200 / 200  $aB >-01 / -01local >"},
      {Field, record, "200", "200 1$aA >200 / 200  $aB >-01"},
      {Field, record, "2**", "200 1$aA >200 / 200  $aB >-01"},
      {Field, record, "*0*", "001X1 >200 / 200 1$aA >200 / 200  $aB >-01 / -01local >"},
      {Field, record, "20", ""},
      {Field, record, "2000", ""},
      {Field, record, "*", ""},
      {Field, record, "hdr", "00000nam0 2200000   450  >001"},
      {Field, kHeader, "hdr", "00000nam0 2200000   450  >"},
      {Field, kHeader + "|", "", ""},
      {Field, kHeader.substr(1), "hdr", ""},
      {Field, kHeader.substr(1), "", ""},
      // Fields too short for a tag count, but only the empty name matches them.
      {Field, kHeader + "^20^200a^|", "", " >20 / 20 >200 / 200a >"},
      {Field, kHeader + "^20^200a^|", "***", "200a >"},
      // Missing end marks, and what stands after a record's end.
      {Field, kHeader + "001a^002b", "", "001a >002 / 002b >"},
      {Field, kHeader + "001a|^002b^", "", "001a >"},
      {Field, kHeader + "001a^2", "001", "001a >2"},
      {Field, kHeader + "2*0a^|", "200", ""},  // an asterisk in a tag is no pattern
      // An embedded field begins at a link with a tag.
      {Embedded, kNested, "", "001X1 >200 / 2001 $aA$vB$1abc >210 / 210  $cC >"},
      {Embedded, kNested, "2**", "2001 $aA$vB$1abc >210 / 210  $cC >"},
      {Embedded, kNested, "hdr", ""},
      {Embedded, "461 0$aA$1", "", ""},
      {Embedded, "461 0$120", "", ""},
      {Embedded, "461 0$1200^$1210 ", "", "200 >"},
      {Embedded, "461 0$1200$1201", "", "200 >201 / 201 >"},
      {Subfield, kField, "", "$aA / $bB / $aC"},
      {Subfield, kField, "a", "$aA / $aC"},
      {Subfield, kField, "*", "$aA / $bB / $aC"},
      {Subfield, kField, "ab", ""},
      {Subfield, "001data", "", ""},
      {Subfield, "$$aA$", "", "$ / $aA / $"},
      {Subfield, "$$aA$", "*", "$aA"},
      {Subfield, "$aA|$bB", "", "$aA"},
      {Subfield, "$*x$ax", "*", "$*x / $ax"},
      // A group ends where its first code comes again.
      {Group, "200 1$aA$bB$aC$cD", "", "$aA$bB / $aC$cD"},
      {Group, "200 1$bB$aA$aC$bD^$bE", "", "$bB$aA$aC / $bD"},
      {Group, "$aA$aB$aC", "", "$aA / $aB / $aC"},
      {Group, "001data", "", ""},
      {Group, "$$aA$", "", "$$aA / $"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(Items(each.find, Marked(each.text), each.name), each.items) << each.text << " '" << each.name << "'";
  }
}

TEST(MarcFields, AnItemIsCutAtAWholeCharacterAndNothingIsWrittenAfterTheRoom) {
  const std::string field = Marked("200  $a中文x");
  const std::string record = kHeader + field + Marked("^|");
  const int whole[] = {-1, 0, 1, 2, 3, 4, 5, 6, 7, 7, 9, 9, 11, 12, 12};
  for (int size = 0; size < static_cast<int>(std::size(whole)); ++size) {
    std::string buf(static_cast<size_t>(size) + 2, '#');
    EXPECT_EQ(MARC_GetField(record.c_str(), "200", 0, buf.data(), size, nullptr, nullptr), whole[size]);
    if (size > 0) {
      EXPECT_STREQ(buf.c_str(), field.substr(0, static_cast<size_t>(whole[size])).c_str());
    }
    EXPECT_EQ(buf.substr(static_cast<size_t>(size)), "##");
  }
  char buf[10] = "kept";
  EXPECT_EQ(MARC_GetField(nullptr, "", 0, buf, 10, nullptr, nullptr), -1);
  EXPECT_EQ(MARC_GetField(record.c_str(), nullptr, 0, buf, 10, nullptr, nullptr), -1);
  EXPECT_EQ(MARC_GetField(record.c_str(), "", 0, nullptr, 10, nullptr, nullptr), -1);
  EXPECT_EQ(MARC_GetField(record.c_str(), "", 0, buf, -1, nullptr, nullptr), -1);
  EXPECT_EQ(MARC_GetSubField(record.c_str(), "", INT32_MIN, buf, 10, nullptr), -1);
  EXPECT_STREQ(buf, "kept");
}

// Marks, tags and characters in any order: the items put together are the text.
TEST(MarcFields, ItemsJoinToTheWholeText) {
  const char* const kParts[] = {"^", "^", "$", "$1", "200", "461", "a", "*", "中", "hdr", "$a", "\xB0"};
  std::mt19937 random(1);
  for (int i = 0; i < 3000; ++i) {
    std::string text, joined;
    for (size_t count = random() % 15; count > 0; --count) text += kParts[random() % std::size(kParts)];
    const std::string record = kHeader + Marked(text);
    std::string_view field;
    for (auto cursor = FieldCursor::OverRecord(record); cursor.Next(field);)
      joined += Readable(std::string(field)) + '^';
    ASSERT_EQ(joined, text.empty() || text.back() == '^' ? text : text + '^');
    std::erase(text, '^');
    std::string groups = Items(Group, Marked(text), "");
    for (size_t at; (at = groups.find(" / ")) != groups.npos;) groups.erase(at, 3);
    ASSERT_EQ(groups, text.substr(std::min(text.find('$'), text.size())));
  }
}

}  // namespace
}  // namespace karst::testing

// Replacing, adding and removing fields, subfields and groups.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "records/cartulary.h"

namespace {

const std::string kHeader = "00000nam0 2200000   450 ";

// In the tables ^ stands for 0x1E, | for 0x1D, $ for 0x1F.
std::string Marked(std::string text) {
  std::replace(text.begin(), text.end(), '^', karst::kFieldEnd);
  std::replace(text.begin(), text.end(), '|', karst::kRecordEnd);
  std::replace(text.begin(), text.end(), '$', karst::kSubfieldMark);
  return text;
}

std::string Readable(std::string text) {
  std::replace(text.begin(), text.end(), karst::kFieldEnd, '^');
  std::replace(text.begin(), text.end(), karst::kRecordEnd, '|');
  std::replace(text.begin(), text.end(), karst::kSubfieldMark, '$');
  return text;
}

// Calls a replacing function with all the room it needs, with one byte too little, and with exactly enough; gives what
// came out, or "-1". A call that gives -1 must leave every byte of the buffer.
template <typename Replace>
std::string Replaced(const std::string& text, Replace replace) {
  const auto run = [&](size_t size) {
    std::vector<char> buf(size, '#');
    std::copy_n(text.c_str(), text.size() + 1, buf.begin());
    const std::vector<char> before = buf;
    const int result = replace(buf.data(), static_cast<int>(size));
    EXPECT_TRUE(result == 0 || result == -1) << result;
    if (result == -1) {
      EXPECT_EQ(buf, before);
    }
    return result == -1 ? std::string("-1") : std::string(buf.data());
  };
  const std::string result = run(text.size() + 200);
  if (result == "-1") return result;
  const size_t needed = std::max(result.size(), text.size()) + 1;
  EXPECT_EQ(run(needed), result);
  if (result.size() > text.size()) {
    EXPECT_EQ(run(needed - 1), "-1");
  }
  return Readable(result);
}

struct ReplaceCase {
  const char* before;
  const char* name;
  int index;
  const char* text;
  const char* after;  // "-1": refused
};

TEST(MarcReplace, Fields) {
  constexpr char kRecord[] = "001X^200 1$aA^200  $aB^300  $c^|";
  const ReplaceCase cases[] = {
      // Replacing, and what the read function gives going in as it came.
      {kRecord, "200", 0, "200 1$aNew$bText", "001X^200 1$aNew$bText^200  $aB^300  $c^|"},
      {kRecord, "200", 1, "200  $a", "001X^200 1$aA^200  $a^300  $c^|"},
      {kRecord, "200", 1, "200  $a^", "001X^200 1$aA^200  $a^300  $c^|"},
      {kRecord, "", 3, "500  $x", "001X^200 1$aA^200  $aB^500  $x^|"},
      {kRecord, "2**", 1, "2A0", "001X^200 1$aA^2A0^300  $c^|"},
      {kRecord, "001", 0, "001中文^", "001中文^200 1$aA^200  $aB^300  $c^|"},
      // Removing.
      {kRecord, "001", 0, "", "200 1$aA^200  $aB^300  $c^|"},
      {kRecord, "", 3, "", "001X^200 1$aA^200  $aB^|"},
      {"001X^", "", 0, "", ""},
      {"001X^200A", "", 1, "", "001X^"},
      {"001X", "", 0, "", ""},
      {"^20^200A^|", "", 0, "", "20^200A^|"},
      // Nothing there.
      {kRecord, "200", 2, "200", "-1"},
      {kRecord, "400", 0, "400  $a", "-1"},
      {kRecord, "20", 0, "200  $a", "-1"},
      {kRecord, "", 4, "200  $a", "-1"},
      {kRecord, "200", -2, "200  $a", "-1"},
      {kRecord, "200", INT32_MIN, "200  $a", "-1"},
      {"|", "", 0, "200  $a", "-1"},
      {"001X^|200A^", "200", 0, "200B", "-1"},
      // Texts that would break the record.
      {kRecord, "200", 0, "20", "-1"},
      {kRecord, "200", 0, "^", "-1"},
      {kRecord, "200", 0, "20^", "-1"},
      {kRecord, "200", 0, "$aA", "-1"},
      {kRecord, "200", 0, "20$aA", "-1"},
      {kRecord, "200", 0, "中0 $aA", "-1"},
      {kRecord, "200", 0, "200  ^$a", "-1"},
      {kRecord, "200", 0, "200  $a^^", "-1"},
      {kRecord, "200", 0, "200  $a|", "-1"},
      {kRecord, "200", 0, "200  $a|^", "-1"},
      // Ends that are not there stay so.
      {"001X^200A", "200", 0, "200BB", "001X^200BB"},
      {"001X^200A|001Y^", "200", 0, "200BB", "001X^200BB|001Y^"},
      // Adding: behind the last field whose tag is not greater.
      {kRecord, "200", -1, "200 9$z", "001X^200 1$aA^200  $aB^200 9$z^300  $c^|"},
      {kRecord, "", -1, "000Z", "000Z^001X^200 1$aA^200  $aB^300  $c^|"},
      {kRecord, "", -1, "001Z^", "001X^001Z^200 1$aA^200  $aB^300  $c^|"},
      {kRecord, "no such name", -1, "999  $a", "001X^200 1$aA^200  $aB^300  $c^999  $a^|"},
      {"300A^200B^400C^|", "", -1, "250D", "300A^200B^250D^400C^|"},
      {"001X^-01L^|", "", -1, "200A", "001X^-01L^200A^|"},
      {"^20^900A^|", "", -1, "300B", "300B^^20^900A^|"},
      {"|", "", -1, "200A", "200A^|"},
      {"", "", -1, "200A", "200A^"},
      {"001X^100A", "", -1, "200B", "001X^100A^200B^"},
      {"001X^100A|", "", -1, "200B^", "001X^100A^200B^|"},
      {"001X^300A", "", -1, "200B", "001X^200B^300A"},
      {kRecord, "", -1, "", "-1"},
      {kRecord, "", -1, "20", "-1"},
  };
  for (const ReplaceCase& c : cases) {
    const std::string after = Replaced(Marked(kHeader + c.before), [&](char* buf, int size) {
      return MARC_ReplaceField(buf, size, c.name, c.index, Marked(c.text).c_str());
    });
    EXPECT_EQ(after, c.after == std::string("-1") ? "-1" : kHeader + c.after)
        << c.before << " '" << c.name << "' " << c.index << " " << c.text;
  }
}

TEST(MarcReplace, TheHeader) {
  const std::string record = Marked("001X^|");
  const std::string header = "00000cam1 2200000   45  ";
  const auto replace = [&](const std::string& before, int index, const std::string& text) {
    return Replaced(before,
                    [&](char* buf, int size) { return MARC_ReplaceField(buf, size, "hdr", index, text.c_str()); });
  };
  EXPECT_EQ(replace(kHeader + record, 0, header), header + "001X^|");
  EXPECT_EQ(replace(kHeader, 0, header), header);
  for (const int index : {-1, 1}) EXPECT_EQ(replace(kHeader + record, index, header), "-1");
  for (const std::string& text :
       {header + " ", header.substr(1), std::string(), header.substr(1) + "\x1E", header.substr(1) + "\x1D"}) {
    EXPECT_EQ(replace(kHeader + record, 0, text), "-1") << text;
  }
  EXPECT_EQ(replace(kHeader.substr(1), 0, header), "-1") << "no header to be replaced";
  EXPECT_EQ(
      Replaced(kHeader.substr(1), [](char* buf, int size) { return MARC_ReplaceField(buf, size, "", -1, "200  "); }),
      "-1")
      << "nor a field to be added behind it";
}

TEST(MarcReplace, Subfields) {
  constexpr char kField[] = "200 1$aA$bB$aC";
  const ReplaceCase cases[] = {
      {kField, "a", 0, "$aLonger", "200 1$aLonger$bB$aC"},
      {kField, "a", 1, "$a", "200 1$aA$bB$a"},
      {kField, "", 1, "$x中文", "200 1$aA$x中文$aC"},
      {kField, "*", 2, "$x^", "200 1$aA$bB$x"},
      {kField, "a", 0, "$x1$y2", "200 1$x1$y2$bB$aC"},
      {kField, "a", 0, "", "200 1$bB$aC"},
      {kField, "a", 1, "", "200 1$aA$bB"},
      {kField, "a", 2, "$a", "-1"},
      {kField, "c", 0, "", "-1"},
      {kField, "ab", 0, "$a", "-1"},
      {kField, "a", -2, "$a", "-1"},
      {kField, "a", 0, "A", "-1"},
      {kField, "a", 0, "^", "-1"},
      {kField, "a", 0, "$a^$b", "-1"},
      {kField, "a", 0, "$a|", "-1"},
      {"200 1$aA^|", "a", 0, "$aBB", "200 1$aBB^|"},
      {"200 1$aA^$aB", "a", 1, "$a", "-1"},
      {"$$aA", "", 0, "$b", "$b$aA"},
      {"$aA$", "", 1, "", "$aA"},
      {kField, "a", -1, "$cNew", "200 1$aA$bB$aC$cNew"},
      {"200 1", "a", -1, "$cNew", "200 1$cNew"},
      {"200 1$aA^|rest", "", -1, "$b^", "200 1$aA$b^|rest"},
      {"", "", -1, "$b", "$b"},
      {kField, "a", -1, "", "-1"},
      {kField, "a", -1, "new", "-1"},
  };
  for (const ReplaceCase& c : cases) {
    EXPECT_EQ(Replaced(Marked(c.before),
                       [&](char* buf, int size) {
                         return MARC_ReplaceSubField(buf, size, c.name, c.index, Marked(c.text).c_str());
                       }),
              c.after)
        << c.before << " '" << c.name << "' " << c.index << " " << c.text;
  }
}

TEST(MarcReplace, Groups) {
  constexpr char kField[] = "200 1$aA$bB$aC$cD";
  const ReplaceCase cases[] = {
      {kField, "", 0, "$aX$bY$bZ", "200 1$aX$bY$bZ$aC$cD"},
      {kField, "", 1, "$aX", "200 1$aA$bB$aX"},
      {kField, "", 0, "", "200 1$aC$cD"},
      {kField, "", 1, "", "200 1$aA$bB"},
      {kField, "", 2, "$aX", "-1"},
      {kField, "", -2, "$aX", "-1"},
      {kField, "", -1, "$aE$bF^", "200 1$aA$bB$aC$cD$aE$bF"},
      {"200 1^", "", -1, "$aE", "200 1$aE^"},
      {kField, "", 0, "aX", "-1"},
      {kField, "", 0, "$aX^$b", "-1"},
      {"001data", "", 0, "$aX", "-1"},
      {"$aA$aB^$aC", "", 1, "$aD", "$aA$aD^$aC"},
  };
  for (const ReplaceCase& c : cases) {
    EXPECT_EQ(
        Replaced(Marked(c.before),
                 [&](char* buf, int size) { return MARC_ReplaceGroup(buf, size, c.index, Marked(c.text).c_str()); }),
        c.after)
        << c.before << " " << c.index << " " << c.text;
  }
}

TEST(MarcReplace, NullPointersAndBuffersWithoutAnEnd) {
  char buf[] = "$aA";
  EXPECT_EQ(MARC_ReplaceSubField(nullptr, 4, "a", 0, ""), -1);
  EXPECT_EQ(MARC_ReplaceSubField(buf, 4, nullptr, 0, ""), -1);
  EXPECT_EQ(MARC_ReplaceSubField(buf, 4, "a", 0, nullptr), -1);
  EXPECT_EQ(MARC_ReplaceField(buf, 4, nullptr, 0, ""), -1);
  for (const int size : {INT32_MIN, -1, 0, 3}) {
    EXPECT_EQ(MARC_ReplaceField(buf, size, "hdr", 0, kHeader.c_str()), -1) << size;
    EXPECT_EQ(MARC_ReplaceGroup(buf, size, -1, "$b"), -1) << size;
  }
  EXPECT_STREQ(buf, "$aA");
}

}  // namespace

// Replacing, adding and removing fields, subfields and groups.
#include <gtest/gtest.h>

#include <vector>

#include "records/cartulary.h"
#include "support/readable.h"

namespace karst::testing {
namespace {

using Call = int (*)(char*, int, const char*, int, const char*);
int Group(char* buf, int size, const char*, int index, const char* text) {
  return MARC_ReplaceGroup(buf, size, index, text);
}
constexpr Call Field = MARC_ReplaceField;
constexpr Call Subfield = MARC_ReplaceSubField;

// Calls with all the room there may be need of, with exactly enough and with one byte too little; gives what came out,
// or "-1". A call that gives -1 must leave every byte of the buffer.
std::string Replaced(Call call, const std::string& before, const char* name, int index, const std::string& text) {
  const auto run = [&](size_t size) {
    std::vector<char> buf(size, '#');
    std::copy_n(before.c_str(), before.size() + 1, buf.begin());
    const std::vector<char> kept = buf;
    const int result = call(buf.data(), static_cast<int>(size), name, index, text.c_str());
    if (result == 0) return std::string(buf.data());
    EXPECT_EQ(result, -1);
    EXPECT_EQ(buf, kept);
    return std::string("-1");
  };
  const std::string result = run(before.size() + 200);
  if (result == "-1") return result;
  const size_t needed = std::max(result.size(), before.size()) + 1;
  EXPECT_EQ(run(needed), result);
  if (result.size() > before.size()) {
    EXPECT_EQ(run(needed - 1), "-1");
  }
  return Readable(result);
}

const std::string kHeader = "00000nam0 2200000   450 ";
constexpr char kRecord[] = "001X^200 1$aA^200  $aB^300  $c^|";
constexpr char kField[] = "200 1$aA$bB$aC";
constexpr char kGroups[] = "200 1$aA$bB$aC$cD";

TEST(MarcReplace, ReplacesAddsAndRemoves) {
  const struct {
    Call call;
    std::string before;
    const char* name;
    int index;
    const char* text;
    const char* after;
  } cases[] = {
      {Field, kRecord, "200", 0, "200 1$aNew$bText", "001X^200 1$aNew$bText^200  $aB^300  $c^|"},
      {Field, kRecord, "200", 1, "200  $a^", "001X^200 1$aA^200  $a^300  $c^|"},
      {Field, kRecord, "2**", 1, "2A0", "001X^200 1$aA^2A0^300  $c^|"},
      {Field, kRecord, "001", 0, "001中文", "001中文^200 1$aA^200  $aB^300  $c^|"},
      {Field, kRecord, "", 3, "", "001X^200 1$aA^200  $aB^|"},
      {Field, "001X^", "", 0, "", ""},
      {Field, "001X^200A", "", 1, "", "001X^"},
      {Field, "^20^200A^|", "", 0, "", "20^200A^|"},
      // Ends that are not there stay so.
      {Field, "001X^200A", "200", 0, "200BB", "001X^200BB"},
      {Field, "001X^200A|001Y^", "200", 0, "200BB", "001X^200BB|001Y^"},
      // Adding: after the last field whose tag is not greater.
      {Field, kRecord, "200", -1, "200 9$z", "001X^200 1$aA^200  $aB^200 9$z^300  $c^|"},
      {Field, kRecord, "", -1, "000Z", "000Z^001X^200 1$aA^200  $aB^300  $c^|"},
      {Field, kRecord, "no such name", -1, "999  $a^", "001X^200 1$aA^200  $aB^300  $c^999  $a^|"},
      {Field, "300A^200B^400C^|", "", -1, "250D", "300A^200B^250D^400C^|"},
      {Field, "001X^-01L^|", "", -1, "200A", "001X^-01L^200A^|"},
      {Field, "^20^900A^|", "", -1, "300B", "300B^^20^900A^|"},
      {Field, "|", "", -1, "200A", "200A^|"},
      {Field, "", "", -1, "200A", "200A^"},
      {Field, "001X^100A", "", -1, "200B", "001X^100A^200B^"},
      {Field, "001X^300A", "", -1, "200B", "001X^200B^300A"},
      {Subfield, kField, "a", 0, "$aLonger", "200 1$aLonger$bB$aC"},
      {Subfield, kField, "", 1, "$x中文", "200 1$aA$x中文$aC"},
      {Subfield, kField, "*", 2, "$x^", "200 1$aA$bB$x"},
      {Subfield, kField, "a", 0, "$x1$y2", "200 1$x1$y2$bB$aC"},
      {Subfield, kField, "a", 1, "", "200 1$aA$bB"},
      {Subfield, "200 1$aA^|", "a", 0, "$aBB", "200 1$aBB^|"},
      {Subfield, "$$aA", "", 0, "$b", "$b$aA"},
      {Subfield, "$aA$", "", 1, "", "$aA"},
      {Subfield, kField, "a", -1, "$cNew", "200 1$aA$bB$aC$cNew"},
      {Subfield, "200 1$aA^|rest", "", -1, "$b^", "200 1$aA$b^|rest"},
      {Subfield, "", "", -1, "$b", "$b"},
      {Group, kGroups, "", 0, "$aX$bY$bZ", "200 1$aX$bY$bZ$aC$cD"},
      {Group, kGroups, "", 1, "", "200 1$aA$bB"},
      {Group, kGroups, "", -1, "$aE$bF^", "200 1$aA$bB$aC$cD$aE$bF"},
      {Group, "200 1^", "", -1, "$aE", "200 1$aE^"},
      {Group, "$aA$aB^$aC", "", 1, "$aD", "$aA$aD^$aC"},
      {Field, "001X^|", "hdr", 0, "00000cam1 2200000   45  ", ""},
  };
  for (const auto& each : cases) {
    const std::string header = each.call == Field ? kHeader : "";
    const bool is_header = std::string_view(each.name) == "hdr";
    EXPECT_EQ(Replaced(each.call, Marked(header + each.before), each.name, each.index, Marked(each.text)),
              is_header ? each.text + each.before : header + each.after)
        << each.before << " '" << each.name << "' " << each.index << " " << each.text;
  }
}

TEST(MarcReplace, RefusesWhatIsNotThereAndWhatWouldBreakTheRecord) {
  const std::string header24 = "00000cam1 2200000   45  ";
  const struct {
    Call call;
    std::string before;
    const char* name;
    std::vector<int> indexes;
    std::vector<std::string> texts;
  } cases[] = {
      {Field, kHeader + kRecord, "200", {2, -2, INT32_MIN}, {"200"}},
      {Field, kHeader + kRecord, "20", {0}, {"200  $a"}},
      {Field, kHeader + kRecord, "", {4}, {"200  $a"}},
      {Field, kHeader + "001X^|200A^", "200", {0}, {"200B"}},
      {Field,
       kHeader + kRecord,
       "200",
       {0},
       {"20", "^", "20^", "$aA", "20$aA", "中0 $aA", "200  ^$a", "200  $a^^", "200  $a|", "200  $a|^"}},
      {Field, kHeader + kRecord, "", {-1}, {"", "20"}},
      {Field, kHeader + "001X^|", "hdr", {-1, 1}, {header24}},
      {Field, kHeader + "001X^|", "hdr", {0}, {header24 + " ", header24.substr(1), "", header24.substr(1) + "^"}},
      {Field, kHeader.substr(1), "hdr", {0}, {header24}},
      {Field, kHeader.substr(1), "", {-1}, {"200  "}},
      {Subfield, kField, "a", {2, -2}, {"$a"}},
      {Subfield, kField, "ab", {0}, {"$a"}},
      {Subfield, kField, "a", {0}, {"A", "^", "$a^$b", "$a|"}},
      {Subfield, kField, "a", {-1}, {"", "new"}},
      {Subfield, "200 1$aA^$aB", "a", {1}, {"$a"}},
      {Group, kGroups, "", {2, -2}, {"$aX"}},
      {Group, kGroups, "", {0}, {"aX", "$aX^$b"}},
      {Group, "001data", "", {0}, {"$aX"}},
  };
  for (const auto& each : cases) {
    for (const int index : each.indexes) {
      for (const std::string& text : each.texts) {
        EXPECT_EQ(Replaced(each.call, Marked(each.before), each.name, index, Marked(text)), "-1")
            << each.before << " '" << each.name << "' " << index << " " << text;
      }
    }
  }
  char buf[] =
      "\x1F"
      "A";
  EXPECT_EQ(MARC_ReplaceSubField(nullptr, 3, "a", 0, ""), -1);
  EXPECT_EQ(MARC_ReplaceSubField(buf, 3, nullptr, 0, ""), -1);
  EXPECT_EQ(MARC_ReplaceSubField(buf, 3, "a", 0, nullptr), -1);
  for (const int size : {INT32_MIN, -1, 0, 2}) {
    EXPECT_EQ(MARC_ReplaceField(buf, size, "hdr", 0, kHeader.c_str()), -1) << size;
    EXPECT_EQ(MARC_ReplaceGroup(buf, size, -1,
                                "\x1F"
                                "b"),
              -1)
        << "no end within " << size;
  }
}

}  // namespace
}  // namespace karst::testing

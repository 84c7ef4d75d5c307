// The built-ins that read and replace items of a MARC text: what they write back, and the room that they have.
#include <gtest/gtest.h>

#include <algorithm>

#include "records/cartulary.h"
#include "support/builtin_call.h"

namespace karst::testing {
namespace {

constexpr int kMost = 99'999;  // the longest text that a replacement takes

// ^ stands for 0x1E, | for 0x1D, $ for 0x1F.
std::string Marked(std::string text) {
  std::replace(text.begin(), text.end(), '^', kFieldEnd);
  std::replace(text.begin(), text.end(), '|', kRecordEnd);
  std::replace(text.begin(), text.end(), '$', kSubfieldMark);
  return text;
}

class MarcBuiltins : public ::testing::Test {
 protected:
  MarcBuiltins() {
    caller.Declare("out", "old");
    caller.Declare("record", record);
  }
  using Answer = std::pair<int, std::string>;
  Answer Read(const char* name, std::vector<Argument> arguments) {
    caller.self.ChangeVarValue("out", "old");
    arguments.emplace_back(Ref{"out"});
    const int result = caller.Call(name, arguments);
    return {result, caller.Text("out")};
  }
  // The arguments behind the first, which is a variable that holds `text`.
  Answer Replace(const char* name, const std::string& text, std::vector<Argument> arguments) {
    caller.self.ChangeVarValue("out", text.c_str());
    arguments.insert(arguments.begin(), Ref{"out"});
    const int result = caller.Call(name, arguments);
    return {result, caller.Text("out")};
  }

  const std::string record = Marked("00000nam0 2200000   450 001X1^200 1$a红楼梦$f曹雪芹^200  $aB^|");
  const std::string title = Marked("200 1$a红楼梦$f曹雪芹");
  BuiltinCaller caller;
};

TEST_F(MarcBuiltins, Reading) {
  EXPECT_EQ(Read("GetFld", {record, "200", 0}), Answer(title.size(), title));
  EXPECT_EQ(Read("GetFld", {record, "200", int64_t{1} << 32 | 1}), Answer(8, Marked("200  $aB")));
  EXPECT_EQ(Read("GetFld", {Ref{"record"}, "", 2}), Answer(8, Marked("200  $aB")));
  EXPECT_EQ(Read("GetFld", {record, "hdr", 0}), Answer(24, record.substr(0, 24)));
  EXPECT_EQ(Read("GetSubFld", {title, "f", 0}), Answer(8, Marked("$f曹雪芹")));
  EXPECT_EQ(Read("GetGroup", {Marked("200 1$aA$bB$aC"), 1}), Answer(3, Marked("$aC")));
  EXPECT_EQ(Read("GetFld", {Marked("00000nam0 2200000   450 ^|"), "", 0}), Answer(0, "")) << "found, and empty";
}

TEST_F(MarcBuiltins, WhatIsNotThereLeavesTheVariable) {
  for (const int32_t index : {2, -1, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(Read("GetFld", {record, "200", index}), Answer(-1, "old")) << index;
    EXPECT_EQ(Read("GetSubFld", {title, "a", index}), Answer(-1, "old")) << index;
    EXPECT_EQ(Read("GetGroup", {title, index}), Answer(-1, "old")) << index;
  }
  EXPECT_EQ(Read("GetFld", {"", "", 0}), Answer(-1, "old"));
  EXPECT_EQ(Replace("RplcFld", record, {"300", 0, "300  "}), Answer(-1, record));
  EXPECT_EQ(Replace("RplcSubFld", title, {"x", 0, ""}), Answer(-1, title));
  EXPECT_EQ(Replace("RplcGroup", title, {1, ""}), Answer(-1, title));
}

TEST_F(MarcBuiltins, Replacing) {
  std::string changed = record;
  changed.replace(changed.find(title), title.size(), Marked("200  $aC"));
  EXPECT_EQ(Replace("RplcFld", record, {"200", 0, Marked("200  $aC")}), Answer(0, changed));
  EXPECT_EQ(Replace("RplcSubFld", title, {"f", 0, ""}), Answer(0, Marked("200 1$a红楼梦")));
  EXPECT_EQ(Replace("RplcGroup", title, {0, Marked("$aB")}), Answer(0, Marked("200 1$aB")));
  EXPECT_EQ(Replace("RplcSubFld", "", {"", -1, Marked("$aB")}), Answer(0, Marked("$aB")));
  EXPECT_EQ(caller.Call("RplcSubFld", {Ref{"out"}, "a", 0, Ref{"out"}}), 0) << "the variable is its own new text";
  EXPECT_EQ(caller.Text("out"), Marked("$aB"));
  EXPECT_EQ(caller.Text("record"), record);
}

TEST_F(MarcBuiltins, ATextFillsItsRoomToTheLastByte) {
  const auto field = [](int length) { return Marked("200 1$a") + std::string(static_cast<size_t>(length) - 7, 'x'); };
  EXPECT_EQ(Read("GetSubFld", {field(kMost + 5), "a", 0}), Answer(kMost, field(kMost + 5).substr(5)));
  EXPECT_EQ(Read("GetSubFld", {field(kMost + 6), "a", 0}), Answer(kMost, field(kMost + 5).substr(5))) << "cut there";
  const Argument one = Marked("$b");
  EXPECT_EQ(Replace("RplcSubFld", field(kMost - 2), {"", -1, one}), Answer(0, field(kMost - 2) + Marked("$b")));
  EXPECT_EQ(Replace("RplcSubFld", field(kMost - 1), {"", -1, one}), Answer(-1, field(kMost - 1)));
  EXPECT_EQ(Replace("RplcSubFld", field(kMost), {"a", 0, one}), Answer(0, Marked("200 1$b")));
  EXPECT_EQ(Replace("RplcSubFld", field(kMost + 1), {"a", 0, one}), Answer(-1, field(kMost + 1)));
  EXPECT_EQ(Replace("RplcSubFld", "200 1", {"", -1, Marked("$a") + std::string(kMost, 'x')}), Answer(-1, "200 1"));
}

TEST_F(MarcBuiltins, RoomForTheMarksThatAnAddedFieldBrings) {
  const std::string open_end = Marked("00000nam0 2200000   450 001X");
  EXPECT_EQ(Replace("RplcFld", open_end, {"", -1, "200  "}), Answer(0, open_end + Marked("^200  ^")));
}

}  // namespace
}  // namespace karst::testing

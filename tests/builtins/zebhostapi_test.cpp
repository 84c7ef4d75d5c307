// Dates, prices, the message box, what exists, and the host's records.
#include <gtest/gtest.h>

#include <cstring>

#include "helpers/zebutil.h"
#include "support/builtin_call.h"

namespace karst::testing {
namespace {

class HostBuiltins : public ::testing::Test {
 protected:
  BuiltinCaller caller;
};

TEST_F(HostBuiltins, DateCmp) {
  const struct {
    const char* left;
    const char* right;
    int32_t difference;
  } cases[] = {
      {"20010101", "20001231", 1},
      {"20010301", "20010228", 1},
      {"20000301", "20000228", 2},
      {"19000301", "19000228", 1},  // no leap year
      {"19991231", "20010101", -367},
      {"20010101", "20010101", 0},
      {"25000101", "15000101", 365243},
      {"2001", "2000", 1},
      {"200103", "200101", 2},
      {"85", "1985", 0},
      {"85", "1984", 1},
      {"2001", "20001231", 1},     // one text is short: a difference of years
      {"2001031", "20010301", 0},  // seven bytes hold no day
      {"2001.3.5", "2001.3.1", 4},
      {"2001.3.5", "2001.3", 4},
      {"2001.3.10", "2001.2.28", 10},
      {"2001.", "2001", 0},
      {"2001..7", "2001.1", 0},  // nothing is read behind an empty part
      {"2001.4.", "2001.4.1", 0},
      {" 2001 0301 ", "20010228", 1},  // blanks go, but count to the length
      {"200112ab", "20011231", -31},
      {"85    01", "85010101", 0},  // the year 8501
      {"20011301", "20011231", 0},  // a month that is none is the year's end
      {"20010001", "20010101", 0},
      {"2001.1.400", "2001.12.31", 35},
      {"", "20010101", 0},
      {"1", "20010101", 0},
      {"123", "20010101", 0},
      {"20010101", "", 0},
      {".5.5", "20010101", 0},
      {" ", "2001", 0},
      {"ab", "0019", 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(caller.Call("DateCmp", {c.left, c.right}), c.difference) << c.left << " " << c.right;
    EXPECT_EQ(caller.Call("DateCmp", {c.right, c.left}), -c.difference) << c.right << " " << c.left;
  }
}

TEST_F(HostBuiltins, DateCmpReadsTwentyBytes) {
  EXPECT_EQ(caller.Call("DateCmp", {"2001           03029", "20010301"}), 1);
  EXPECT_EQ(caller.Call("DateCmp", {"2001             0302", "20010301"}), 0)
      << "the last 2 is byte 21: no day is left";
  // The character at bytes 20 and 21 is not split.
  EXPECT_EQ(caller.Call("DateCmp", {"2001.01.00000000005中", "20010101"}), 4);
}

TEST_F(HostBuiltins, DateCmpCountsAnyYears) {
  EXPECT_EQ(caller.Call("DateCmp", {"5000000.1.1", "1.01.01.."}), 1'826'212'134);
  EXPECT_EQ(caller.Call("DateCmp", {"-1.01.01", "1.01.01."}), -731) << "the year 0 is a leap year";
  EXPECT_EQ(caller.Call("DateCmp", {"2000000000.1.1", "2000000001.1.1"}), -366);
  EXPECT_EQ(caller.Call("DateCmp", {"99999999999", "2001"}), 9999 - 2001);
  EXPECT_EQ(caller.Call("DateCmp", {"2001.1.9999999999999", "2001.1.1"}), INT32_MAX - 1);
  caller.Call("DateCmp", {"-2147483648.1.1", "2147483647.12.31"});
  caller.Call("DateCmp", {"2001.12.999999999999", "2001.01.-99999999999"});
}

TEST_F(HostBuiltins, PriceToInt) {
  const std::pair<const char*, int32_t> cases[] = {
      {"CNY12.50", 1250},
      {"12", 1200},
      {"12.5", 1250},
      {"12.509", 1250},
      {"12.999", 1299},
      {".5", 50},
      {"12.", 1200},
      {"0.05", 5},
      {"￥12.50元(全2册)", 1250},
      {"12.50x3", 3750},
      {"12.50X3", 3750},
      {"3*12.50", 3750},
      {"12x3", 3600},
      {"12.50x2.5", 2500},
      {"12.50 x 3", 1250},
      {"12.50x", 0},
      {"12.50x册3", 3750},
      {"3x.", 0},
      {"12.50x3x4", 3750},
      {"", 0},
      {"x", 0},
      {"x3", 300},
      {"免费", 0},
      {"12.5.7", 1205},
      {"1..5", 100},
      {"-12.50", 1250},
      {"12,50", 1200},
      {"21474836.47", INT32_MAX},
      {"21474836.48", INT32_MIN},
      {"99999999999999999999", -100},  // the largest int times 100
      {"65536x65536", 0},
      {"00000000000000000000000000012.50", 1200},  // the number ends with its 29th byte
      {"00000000000000000000000000001x3", 300},    // the mark comes right behind it
      {"000000000000000000000000000001x3", 0},     // and here behind a byte more
  };
  for (const auto& [text, hundredths] : cases) EXPECT_EQ(caller.Call("PriceToInt", {text}), hundredths) << text;
}

TEST_F(HostBuiltins, MsgBoxAsksTheHost) {
  caller.Output();
  std::string shown;
  SetMessageBoxHandler([&](HWND owner, const char* text, const char* title, unsigned style) {
    EXPECT_EQ(owner, caller.self.hWnd);
    shown = std::string(title) + ": " + text + " " + std::to_string(style);
    return 7;
  });
  EXPECT_EQ(caller.Call("MsgBox", {"完成"}), 7);
  SetMessageBoxHandler({});
  EXPECT_EQ(shown, "Karst: 完成 8256");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(caller.Call("MsgBox", {"nobody there"}), 1);
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("nobody there"), std::string::npos);
}

TEST_F(HostBuiltins, IsVar) {
  caller.Declare("number", 5);
  caller.Declare("large", int64_t{5});
  caller.Declare("text", "");
  caller.Declare("twenty_nine_bytes_are_a_name_", 1);
  caller.self.CreateBegin(0);
  const std::pair<const char*, int32_t> cases[] = {{"number", 1},
                                                   {"text", 2},
                                                   {"large", 0},
                                                   {"Number", 0},
                                                   {"", 0},
                                                   {"begin", 0},
                                                   {"none", 0},
                                                   {"number ", 0},
                                                   {"twenty_nine_bytes_are_a_name_", 1},
                                                   {"twenty_nine_bytes_are_a_name_and_more", 1},
                                                   {"twenty_nine_bytes_are_a_name", 0}};
  for (const auto& [name, kind] : cases) EXPECT_EQ(caller.Call("IsVar", {name}), kind) << name;
  EXPECT_EQ(caller.Call("IsVar", {"no such variable"}), 0) << "asking makes none";
  EXPECT_EQ(caller.self.SearchVar("no such variable"), nullptr);
}

TEST_F(HostBuiltins, IsFunc) {
  const std::pair<const char*, int32_t> cases[] = {{"printf", 1},  {"PRINTF", 1},       {"IsFunc", 1}, {"", 0},
                                                   {"printf ", 0}, {"if", 0},           {"@2", 1},     {"@71", 0},
                                                   {"@-1", 0},     {"@99999999999", 0}, {"print", 0}};
  for (const auto& [name, found] : cases) EXPECT_EQ(caller.Call("IsFunc", {name}), found) << name;
}

// A host that gives the record that it is set to give.
struct RecordHost {
  static int32_t Fetch(const char* first, const char* second, std::vector<char>* record, uint32_t zero, CString* text) {
    EXPECT_EQ(record->size(), 100000u);
    EXPECT_EQ((*record)[0], 0);
    EXPECT_EQ(zero, 0u);
    EXPECT_EQ(*text, "");
    asked = std::string(first) + "|" + second;
    record->assign(given.begin(), given.end());
    *text = "not looked at";
    return answer;
  }
  static inline std::string asked;
  static inline std::string given;
  static inline int32_t answer;
};

TEST_F(HostBuiltins, ZebGetRcd) {
  const std::vector<Argument> arguments = {"a", "", Ref{"target"}};
  caller.Declare("target", "old");
  EXPECT_EQ(caller.Refusal("ZebGetRcd", arguments), "GetRcdCallBack 尚未初始化...");
  EXPECT_EQ(caller.Refusal("ZebGetRcd", {"a", "b", "c"}), "函数ZebGetRcd()参数3应当为string类型，并且为引用型...");
  caller.self.GetRcdCallBack = RecordHost::Fetch;
  const std::string larger(250'000, 'r');
  const struct {
    std::string given;
    int32_t answer;
    std::string target;
  } cases[] = {{std::string("rec\0ord", 8), 0, "rec"},
               {"lost", -1, "old"},
               {"kept", -2, "kept"},
               {"", 5, ""},  // no bytes at all
               {"no NUL", 1, "no NUL"},
               {larger, 1, larger}};  // the host made room
  for (const auto& c : cases) {
    caller.self.ChangeVarValue("target", "old");
    RecordHost::given = c.given;
    RecordHost::answer = c.answer;
    EXPECT_EQ(caller.Call("ZebGetRcd", arguments), c.answer);
    EXPECT_EQ(RecordHost::asked, "a|");
    EXPECT_EQ(caller.Text("target"), c.target);
  }
}

}  // namespace
}  // namespace karst::testing

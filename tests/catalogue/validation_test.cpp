// The validation built-ins: which texts pass, and the exact message for each that does not.
#include <gtest/gtest.h>

#include "support/builtin_call.h"

namespace karst::testing {
namespace {

class Validation : public ::testing::Test {
 protected:
  // The message of a check, or "passed" if it gave 0 and left the variable alone.
  std::string Verdict(const char* name, std::vector<Argument> arguments) {
    BuiltinCaller caller;
    caller.Declare("message", "passed");
    arguments.push_back(Ref{"message"});
    const int32_t result = caller.Call(name, arguments);
    const std::string message = caller.Text("message");
    EXPECT_EQ(result, message == "passed" ? 0 : -1) << message;
    return message;
  }
};

const std::string kLength = "长度不正确，应为13位字符";
const std::string kIllegal = "出现非法字符";
const std::string kHyphens = "包含的'-'符号不正确，应为3个";
const std::string kSmallX = "校验位(最后一字符)应为大写X";
const std::string kChecksum = "校验错误";

TEST_F(Validation, VerifyISBN) {
  const std::pair<const char*, std::string> cases[] = {
      {"7-301-01234-9", "passed"},
      {"7-5000-1208-X", "passed"},
      {"7-5000-1208-x", kSmallX},
      {"7-5000-120-8X", kIllegal + "X"},
      {"7-301-01234-8", kChecksum},
      {"7-5000-1208-9", kChecksum},
      {"7-301-01234-X", kChecksum},
      {"7301012349", kLength},
      {"", kLength},
      {"7-301-01234-99", kLength},
      {"9787301012345", kHyphens},
      {"7-30101234999", kHyphens},
      {"7--301-01234-", kChecksum},  // the second of two stays and counts
      {"7--301012349-", kHyphens},
      {"7-301--012349", kHyphens},
      {"7301012349---", kHyphens},
      {"-------------", kHyphens},
      {"7-301-0123 -9", kIllegal + " "},
      {"7-301-0中4-99", kIllegal + "\xD6"},
      {"7-301-01234-A", kChecksum},
      {"A-301-01234-9", kIllegal + "A"},
      {"7-A01-01234-9", kChecksum},  // behind a hyphen anything passes the scan
      {"-:-00-00000000", kLength},
      {"-:-000000-00:", kIllegal + ":"},
      {"0-0000-0000-0", "passed"},
      {"0-;000-0000-0", "passed"},  // the byte behind a hyphen enters the sum: 11 times 2
      {"0-\xFF"
       "00-00000-0",
       kChecksum},
  };
  for (const auto& [number, verdict] : cases) EXPECT_EQ(Verdict("VerifyISBN", {number}), verdict) << number;
}

TEST_F(Validation, VerifyISBNTakesTheHyphensOutOfAVariable) {
  const struct {
    const char* number;
    const char* left;
  } cases[] = {{"7-301-01234-9", "7301012349"},
               {"7-301-01234-8", "7301012348"},
               {"7-30x-01234-8", "730x-01234-8"},  // as far as the scan came
               {"73-01012349", "73-01012349"},
               {"7301012349123", "7301012349123"}};
  for (const auto& c : cases) {
    BuiltinCaller caller;
    caller.Declare("number", c.number);
    caller.Declare("message", "");
    caller.Call("VerifyISBN", {Ref{"number"}, Ref{"message"}});
    EXPECT_EQ(caller.Text("number"), c.left);
  }
  BuiltinCaller caller;
  caller.Declare("both", "7-301-01234-8");
  caller.Call("VerifyISBN", {Ref{"both"}, Ref{"both"}});
  EXPECT_EQ(caller.Text("both"), kChecksum) << "the message is written last";
}

TEST_F(Validation, VerifySubField) {
  const std::string missing = "为必备子字段，但却没有...";
  const std::string repeated = "为不可重复子字段，但却重复出现了...";
  const struct {
    const char* field;
    const char* single;
    const char* mandatory;
    std::string verdict;
  } cases[] = {
      {"1 \x1F"
       "aX\x1F"
       "bY",
       "ab", "ab", "passed"},
      {"1 \x1F"
       "aX\x1F"
       "aY",
       "", "", "passed"},
      {"1 \x1F"
       "aX\x1F"
       "aY",
       "a", "a", "$a" + repeated},
      {"1 \x1F"
       "aX\x1F"
       "aY",
       "a", "ab", "$b" + missing},  // what is missing comes first
      {"1 \x1F"
       "aX\x1F"
       "bY\x1F"
       "b\x1F"
       "a",
       "cba", "", "$b" + repeated},
      {"1 \x1F"
       "aX",
       "", "dca", "$d" + missing},
      {"1 aX", "a", "", "passed"},
      {"1 aX", "a", "a", "$a" + missing},
      {"", "a", "a", "$a" + missing},
      {"\x1F", "a", "a", "$a" + missing},
      {"1 \x1F"
       "A",
       "", "a", "$a" + missing},
      {"1 \x1F\x1F\x1F"
       "a",
       "\x1F", "a", "$\x1F" + repeated},  // marks of marks overlap
      {"1 \xC4\x1F"
       "aX",
       "", "a", "passed"},                              // half a character hides no mark
      {"1 \x1F\xD6\xD0", "", "中", "$\xD0" + missing},  // codes are bytes
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Verdict("VerifySubField", {c.field, c.single, c.mandatory}), c.verdict) << c.field;
  }
}

TEST_F(Validation, VerifyIndicator) {
  const struct {
    const char* field;
    const char* first;
    const char* second;
    std::string verdict;
  } cases[] = {{"1 \x1F"
                "aX",
                "01", " ", "passed"},
               {"1 \x1F"
                "aX",
                "", "", "passed"},
               {"2 \x1F"
                "aX",
                "1", "", "指示符1 '2' 错误，应为 '1'..."},
               {"2 \x1F"
                "aX",
                "01", "0", "指示符1 '2' 错误，应为 '01' 之一..."},
               {"1 \x1F"
                "aX",
                "1", "0", "指示符2 ' ' 错误，应为 '0'..."},
               {"1x", "", "0 1", "指示符2 'x' 错误，应为 '0 1' 之一..."},
               {"", "1", "1", "passed"},
               {"1", "1", "1", "passed"},
               {"2", "1", "1", "指示符1 '2' 错误，应为 '1'..."}};
  for (const auto& c : cases) EXPECT_EQ(Verdict("VerifyIndicator", {c.field, c.first, c.second}), c.verdict) << c.field;
}

TEST_F(Validation, MessagesAreCutAtAWholeCharacter) {
  const std::string start = "指示符1 '2' 错误，应为 '";
  for (const size_t room : {size_t{3}, size_t{4}}) {
    const std::string list = std::string(4000 - start.size() - room, 'x') + "中文";
    const size_t kept = room == 3 ? 2 : 4;
    EXPECT_EQ(Verdict("VerifyIndicator", {"2 ", list, ""}), start + list.substr(0, list.size() - 4 + kept));
  }
  EXPECT_EQ(Verdict("VerifyIndicator", {"2 ", std::string(1'000'000, 'x'), ""}).size(), 4000u);
}

TEST_F(Validation, ArgumentsAreRefusedInTheirOrder) {
  BuiltinCaller caller;
  EXPECT_EQ(caller.Refusal("VerifyISBN", {"7-301-01234-9", "x"}),
            "函数VerifyISBN()参数2应当为string类型，并且为引用型...");
  EXPECT_EQ(caller.Refusal("VerifySubField", {"", 1, 1, 1}), "函数VerifySubField()参数2应当为string类型...");
  EXPECT_EQ(caller.Refusal("VerifyIndicator", {"", "", 1, 1}), "函数VerifyIndicator()参数3应当为string类型...");
}

}  // namespace
}  // namespace karst::testing

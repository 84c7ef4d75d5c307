// The room that the built-ins for items of a MARC text have.
#include <gtest/gtest.h>

#include "support/builtin_call.h"

namespace karst::testing {
namespace {

constexpr int kMost = 99'999;  // the longest text that a replacement takes

using Answer = std::pair<int, std::string>;

// The result of a call, and the variable "text", which is an argument of it, after that.
Answer Changed(const std::string& before, const char* name, const std::vector<Argument>& arguments) {
  BuiltinCaller caller;
  caller.Declare("text", before);
  const int result = caller.Call(name, arguments);
  return {result, caller.Text("text")};
}

TEST(MarcBuiltins, ATextFillsItsRoomToTheLastByte) {
  const Ref text{"text"};
  const std::string one =
      "\x1F"
      "b";
  const auto field = [](int length) {
    return "200 1\x1F"
           "a" +
           std::string(static_cast<size_t>(length) - 7, 'x');
  };
  const std::string most = field(kMost + 5).substr(5);
  EXPECT_EQ(Changed("", "GetSubFld", {field(kMost + 5), "a", 0, text}), Answer(kMost, most));
  EXPECT_EQ(Changed("", "GetSubFld", {field(kMost + 6), "a", 0, text}), Answer(kMost, most)) << "cut there";
  EXPECT_EQ(Changed(field(kMost - 2), "RplcSubFld", {text, "", -1, one}), Answer(0, field(kMost - 2) + one));
  EXPECT_EQ(Changed(field(kMost - 1), "RplcSubFld", {text, "", -1, one}), Answer(-1, field(kMost - 1)));
  EXPECT_EQ(Changed(field(kMost), "RplcSubFld", {text, "a", 0, one}), Answer(0, "200 1" + one));
  EXPECT_EQ(Changed(field(kMost + 1), "RplcSubFld", {text, "a", 0, one}), Answer(-1, field(kMost + 1)));
  EXPECT_EQ(Changed("200 1", "RplcSubFld", {text, "", -1, field(kMost + 7).substr(5)}), Answer(-1, "200 1"));
}

}  // namespace
}  // namespace karst::testing

// CValue: who owns a text, and the table of sums.
#include "values/value.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>

#include "support/readable.h"

namespace karst::testing {
namespace {

std::string Shown(const CValue& value) {
  switch (value.leixing) {
    case kInt: return "int " + std::to_string(value.lVal);
    case kInt64: return "int64 " + std::to_string(value.i64Val);
    case kText: return value.string ? "text " + std::string(value.string) : "null text";
    default: return "type " + std::to_string(value.leixing);
  }
}

TEST(CValue, SumsFollowTheLeftOperand) {
  const auto Int = [](int32_t n) { return CValue(n); };
  const auto Int64 = [](int64_t n) { return CValue(n); };
  const auto Text = [](const char* text) { return CValue(text, true); };
  const char* const refused = "CValue operator + val1 leixing error ...";
  const struct {
    CValue left, right;
    const char* sum;
  } cases[] = {{Int(INT_MAX), Int(1), "int -2147483648"},
               {Int(-1), Int64(1), "int64 0"},
               {Int(1), Text(" \t-12abc"), "int -11"},
               {Int(1), Text("x"), "int 1"},
               {Int(0), Text("99999999999"), "int 2147483647"},
               {Int64(1), Int(-2), "int64 -1"},
               {Int64(LLONG_MAX), Int64(1), "int64 -9223372036854775808"},
               {Int64(1), Text("9999999999"), "int64 10000000000"},
               {Text("n"), Int(INT_MIN), "text n-2147483648"},
               {Text("中"), Text("文"), "text 中文"},
               {Text("2"), Int64(1), refused},
               {CValue(), Int(1), refused},
               {Int(1), CValue(), refused}};
  for (const auto& each : cases) {
    std::string sum;
    const std::string refusal = RefusalOf([&] { sum = Shown(each.left + each.right); });
    EXPECT_EQ(sum.empty() ? refusal : sum, each.sum) << Shown(each.left) << " + " << Shown(each.right);
  }
}

TEST(CValue, CopiesOutliveTheirSource) {
  auto source = std::make_unique<std::string>("borrowed");
  CValue borrowing(source->c_str(), false), assigned(int32_t{1});
  EXPECT_EQ(borrowing.string, source->c_str());
  EXPECT_FALSE(borrowing.bOwn);
  const CValue copy(borrowing);
  assigned = borrowing;
  borrowing.KeepText();
  source->assign("overwritten");
  source.reset();
  for (const CValue* value : {&copy, &std::as_const(assigned), &std::as_const(borrowing)}) {
    EXPECT_EQ(Shown(*value), "text borrowed");
  }
}

TEST(CValue, TakesItsOwnTextNullsAndUnknownTypes) {
  CValue value("own", true);
  const CValue& same = value;
  value.SetVal(value.string, true);
  value = same;
  value = CValue(value.string, false);
  EXPECT_EQ(Shown(value), "text own");
  EXPECT_EQ(value.SetVal(static_cast<const char*>(nullptr), true), -1);
  EXPECT_FALSE(value.bOwn);
  EXPECT_EQ(Shown(CValue(value)), "null text");
  EXPECT_THROW(AddTwoString("a", nullptr), CError);
  CValue number(int32_t{7});
  number = CValue();
  EXPECT_EQ(Shown(number), "int 7");
}

}  // namespace
}  // namespace karst::testing

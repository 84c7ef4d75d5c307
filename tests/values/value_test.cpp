// CValue: who owns a text, and the table of sums.
#include "values/value.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>

#include "helpers/zebutil.h"
#include "values/vararray.h"

namespace {

std::string Shown(const CValue& value) {
  switch (value.leixing) {
    case karst::kInt: return "int " + std::to_string(value.lVal);
    case karst::kInt64: return "int64 " + std::to_string(value.i64Val);
    case karst::kText: return value.string ? "text " + std::string(value.string) : "null text";
    default: return "type " + std::to_string(value.leixing);
  }
}

std::string SumShown(const CValue& left, const CValue& right) {
  try {
    return Shown(left + right);
  } catch (const CError& error) {
    return error.what();
  }
}

CValue Int(int32_t n) { return CValue(n); }
CValue Int64(int64_t n) { return CValue(n); }
CValue Text(const char* text) { return CValue(text, true); }

TEST(CValue, SumsFollowTheLeftOperand) {
  const char* const refused = "CValue operator + val1 leixing error ...";
  const struct {
    CValue left, right;
    const char* sum;
  } cases[] = {
      {Int(1), Int(2), "int 3"},
      {Int(INT_MAX), Int(1), "int -2147483648"},
      {Int(-1), Int64(1), "int64 0"},
      {Int(1), Text("2"), "int 3"},
      {Int(1), Text(" \t-12abc"), "int -11"},
      {Int(1), Text("x"), "int 1"},
      {Int(0), Text("99999999999"), "int 2147483647"},
      {Int64(1), Int(-2), "int64 -1"},
      {Int64(LLONG_MAX), Int64(1), "int64 -9223372036854775808"},
      {Int64(1), Text("9999999999"), "int64 10000000000"},
      {Text("2"), Int(1), "text 21"},
      {Text("n"), Int(INT_MIN), "text n-2147483648"},
      {Text("中"), Text("文"), "text 中文"},
      {Text(""), Text(""), "text "},
      {Text("2"), Int64(1), refused},
      {CValue(), Int(1), refused},
      {Int(1), CValue(), refused},
  };
  for (const auto& c : cases) EXPECT_EQ(SumShown(c.left, c.right), c.sum) << Shown(c.left) << " + " << Shown(c.right);
}

TEST(CValue, CopiesOutliveTheirSource) {
  auto source = std::make_unique<std::string>("borrowed");
  CValue borrowing(source->c_str(), false);
  EXPECT_EQ(borrowing.string, source->c_str());
  EXPECT_FALSE(borrowing.bOwn);
  const CValue copy(borrowing);
  CValue assigned(int32_t{1});
  assigned = borrowing;
  borrowing.KeepText();
  source->assign("overwritten");
  source.reset();
  EXPECT_EQ(Shown(copy) + ", " + Shown(assigned) + ", " + Shown(borrowing),
            "text borrowed, text borrowed, text borrowed");
}

TEST(CValue, TakesItsOwnTextAgain) {
  CValue value("own", true);
  value.SetVal(value.string, true);
  EXPECT_EQ(Shown(value), "text own");
  const CValue& same = value;
  value = same;
  EXPECT_EQ(Shown(value), "text own");
  value = CValue(value.string, false);
  EXPECT_EQ(Shown(value), "text own");
}

TEST(CValue, NullTexts) {
  CValue value("x", true);
  EXPECT_EQ(value.SetVal(static_cast<const char*>(nullptr), true), -1);
  EXPECT_EQ(Shown(value), "null text");
  EXPECT_FALSE(value.bOwn);
  EXPECT_EQ(Shown(CValue(value)), "null text");
  EXPECT_THROW(AddTwoString("a", nullptr), CError);
}

TEST(CValue, AssignsNothingOfAnUnknownType) {
  CValue value(int32_t{7});
  value = CValue();
  EXPECT_EQ(Shown(value), "int 7");
}

}  // namespace

// CString: growth, texts that lie in the very string that is changed, and the step from local to heap memory.
#include "text/bytestring.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace karst {
namespace {

constexpr size_t kLocal = CString::kLocalCapacity;

std::string Letters(size_t count) {
  std::string text;
  for (size_t i = 0; i < count; ++i) text += static_cast<char>('a' + i % 26);
  return text;
}

TEST(CString, AppendsAcrossEverySizeAndStaysTerminated) {
  CString text;
  const std::string expected = Letters(5000);
  for (size_t i = 0; i < expected.size(); ++i) {
    text += expected[i];
    ASSERT_EQ(text.size(), i + 1);
    ASSERT_EQ(text.c_str()[i + 1], 0);
  }
  EXPECT_EQ(text.view(), expected);
  text.EmptyAndShrink(6000);
  EXPECT_GE(text.Capacity(), 5000u);
  text.EmptyAndShrink(100);
  EXPECT_EQ(text.Capacity(), kLocal);
  text += "still usable";
  EXPECT_THROW(text.Reserve(size_t{1} << 31), std::bad_alloc) << "more bytes than an int counts";
  int written = 0;
  EXPECT_THROW(text.Format("%n", &written), std::invalid_argument);
  EXPECT_EQ(text, "still usable");
}

TEST(CString, TakesPiecesOfItself) {
  for (const size_t size : {size_t{1}, kLocal / 2, kLocal - 1, kLocal, kLocal + 1, size_t{100}}) {
    const std::string whole = Letters(size);
    CString doubled(std::string_view{whole}), tail(std::string_view{whole}), formatted(std::string_view{whole});
    doubled += doubled.view();
    EXPECT_EQ(doubled.view(), whole + whole);
    doubled += doubled.c_str() + size;
    EXPECT_EQ(doubled.view(), whole + whole + whole);
    tail = tail.view().substr(size / 2);
    EXPECT_EQ(tail.view(), whole.substr(size / 2));
    formatted.Format("%s-%s", formatted.c_str(), formatted.c_str());
    EXPECT_EQ(formatted.view(), whole + "-" + whole);
  }
}

TEST(CString, MovesAndSwapsLocalAndHeapTexts) {
  const std::string texts[] = {"", "short", Letters(kLocal), Letters(kLocal + 1), Letters(300)};
  for (const std::string& first : texts) {
    for (const std::string& second : texts) {
      CString a{std::string_view(first)}, b{std::string_view(second)};
      a.Swap(b);
      a += "x";
      EXPECT_EQ(a.view(), second + "x");
      const CString moved(std::move(b));
      EXPECT_EQ(moved.view(), first);
      b = "again";  // a moved-from text can be used afresh
      EXPECT_EQ(b, "again");
    }
    CString self{std::string_view(first)};
    CString& alias = self;
    self = alias;
    self.Swap(alias);
    self = std::move(alias);
    EXPECT_EQ(self.view(), first);
  }
}

TEST(CString, HoldsNulBytesAndTakesNullForEmpty) {
  CString text(std::string_view("ab\0cd", 5));
  EXPECT_EQ(text.GetLength(), 5);
  EXPECT_FALSE(text == "ab");
  text.CutAtNul();
  EXPECT_TRUE(text == "ab");
  text.Resize(4);
  EXPECT_EQ(text.view(), std::string_view("ab\0\0", 4));
  text.Resize(100);
  EXPECT_EQ(text.data()[99], 0);
  const char* const null = nullptr;
  EXPECT_TRUE(CString(null).IsEmpty());
  text = null;
  text += std::string_view();
  EXPECT_STREQ(text, "");
}

}  // namespace
}  // namespace karst

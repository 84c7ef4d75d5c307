// The printf dialect over word lists and C values, and the format language of messages.
#include "formats/format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "support/text_at_end.h"

namespace karst {
namespace {

using Word = std::variant<int, int64_t, double, const char*>;

WordList ListOf(const std::vector<Word>& values) {
  WordList list;
  for (const Word& value : values) {
    if (const auto* number = std::get_if<int>(&value)) list.AddInt(*number);
    if (const auto* number = std::get_if<int64_t>(&value)) list.AddInt64(*number);
    if (const auto* text = std::get_if<const char*>(&value)) list.AddText(*text);
    if (const auto* number = std::get_if<double>(&value)) {
      int64_t bits;
      std::memcpy(&bits, number, sizeof bits);
      list.AddInt64(bits);
    }
  }
  return list;
}

struct FormatCase {
  const char* format;
  std::vector<Word> words;
  std::string expected;
};

void ExpectFormats(const std::vector<FormatCase>& cases) {
  for (const FormatCase& c : cases) {
    const TextAtEnd format(c.format);
    CString out("what was there before, long enough for the heap");
    ASSERT_TRUE(FormatWords(out, format.get(), ListOf(c.words))) << c.format;
    EXPECT_EQ(out.view(), c.expected) << c.format;
  }
}

const double kInfinity = std::numeric_limits<double>::infinity();
const double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(FormatWords, PlainTextAndPercent) {
  ExpectFormats({
      {"", {}, ""},
      {"plain", {1, 2}, "plain"},
      {"100%%", {}, "100%"},
      {"%%%%d", {5}, "%%d"},
      {"%d%%%s%%", {7, "x"}, "7%x%"},
      {"中文%s中文", {"编目"}, "中文编目中文"},
      {"%s", {"%d%n"}, "%d%n"},
  });
}

TEST(FormatWords, Integers) {
  ExpectFormats({
      {"%d:%s", {-12, "ab"}, "-12:ab"},
      {"%d %i", {INT32_MIN, INT32_MAX}, "-2147483648 2147483647"},
      {"%u %x %X %o", {-1, -1, 0xABCDEF, 8}, "4294967295 ffffffff ABCDEF 10"},
      {"[%5d][%-5d][%05d][%-05d]", {42, 42, -42, 42}, "[   42][42   ][-0042][42   ]"},
      {"[%+d][% d][%+ d][%+u]", {1, 1, 1, 1}, "[+1][ 1][+1][1]"},
      {"[%.3d][%8.3d][%08.3d][%-8.3d]", {-5, -5, -5, -5}, "[-005][    -005][    -005][-005    ]"},
      {"[%.0d][%.d][%5.0d][%.0x][%+.0d]", {0, 0, 0, 0, 0}, "[][][     ][][+]"},
      {"[%#x][%#X][%#o][%#x][%#o][%#.0o]", {255, 255, 8, 0, 0, 0}, "[0xff][0XFF][010][0][0][0]"},
      {"[%#08x][%#8x][%-#8x][%#.4o]", {255, 255, 255, 8}, "[0x0000ff][    0xff][0xff    ][0010]"},
      {"[%*d][%*d][%.*d][%.*d]", {5, 42, -5, 42, 3, 42, -3, 42}, "[   42][42   ][042][42]"},
      {"[%hd][%hu][%hx][%hhd][%hhu]", {0x18000, 0x18000, -1, 0x1FF, 0x1FF}, "[-32768][32768][ffff][-1][255]"},
      {"[%ld][%lx][%I32d][%Id][%wd][%zu]", {-1, -1, -1, -1, -1, -1}, "[-1][ffffffff][-1][-1][-1][4294967295]"},
      {"[%p][%12p][%-12p]", {0xabc, 1, 1}, "[00000ABC][    00000001][00000001    ]"},
      {"%-+6d|", {42}, "+42   |"},
  });
}

TEST(FormatWords, BareDecimalsOfEveryLength) {
  for (int64_t power = 1; power <= INT32_MAX; power *= 10) {
    for (const int64_t value : {power - 1, power, power * 2 + 1, -power, 1 - power}) {
      const auto number = static_cast<int32_t>(value);
      CString out;
      ASSERT_TRUE(FormatWords(out, "%d", ListOf({number})));
      EXPECT_EQ(out.view(), std::to_string(number));
    }
  }
}

TEST(FormatWords, LongIntegersTakeTwoWords) {
  ExpectFormats({
      {"%I64d", {INT64_MIN}, "-9223372036854775808"},
      {"%lld %I64u %I64x",
       {INT64_MAX, int64_t{-1}, int64_t{-1}},
       "9223372036854775807 18446744073709551615 ffffffffffffffff"},
      {"%d %d", {int64_t{0x200000001}}, "1 2"},
      {"%I64d", {1, 2}, "8589934593"},
      {"%d %I64d %d", {1, int64_t{5000000000}, 2}, "1 5000000000 2"},
      {"[%25I64d][%-25I64d]", {INT64_MIN, INT64_MIN}, "[     -9223372036854775808][-9223372036854775808     ]"},
  });
}

TEST(FormatWords, TextsAndCharacters) {
  ExpectFormats({
      {"[%s][%5s][%-5s][%05s]", {"ab", "ab", "ab", "ab"}, "[ab][   ab][ab   ][000ab]"},
      {"[%.1s][%.0s][%.9s][%5.1s]", {"ab", "ab", "ab", "ab"}, "[a][][ab][    a]"},
      {"[%.3s]", {"中文"}, std::string("[") + std::string("中文").substr(0, 3) + "]"},
      {"[%S][%ls][%ws][%hs][%C][%lc]", {"a", "b", "c", "d", 'e', 'f'}, "[a][b][c][d][e][f]"},
      {"[%c][%3c][%-3c]", {'a', 'b', 0x163}, "[a][  b][c  ]"},
      {"a%cb", {0}, std::string("a\0b", 3)},
      {"%s%s%s", {"", "", ""}, ""},
      {"%*.*s|", {6, 2, "abc"}, "    ab|"},
  });
}

TEST(FormatWords, ReadsNoTextBehindItsPrecisionOrItsEnd) {
  const TextAtEnd text("abc");
  char no_end[3] = {'x', 'y', 'z'};
  ExpectFormats({
      {"%s|%10s|%.3s|%.100s", {text.get(), text.get(), text.get(), text.get()}, "abc|       abc|abc|abc"},
      {"%.3s", {static_cast<const char*>(no_end)}, "xyz"},
  });
}

TEST(FormatWords, Floating) {
  ExpectFormats({
      {"%f %.2f %.0f %#.0f", {1.5, 2.675, 2.5, 2.0}, "1.500000 2.67 2 2."},
      {"%e %.2E %.0e", {12345.678, 0.00012345, 5e100}, "1.234568e+004 1.23E-004 5e+100"},
      {"%g %g %g %g", {100000.0, 1e6, 0.0001, 0.00001}, "100000 1e+006 0.0001 1e-005"},
      {"%g %#g %G %.3g %.0g", {1.5, 1.5, 1e-10, 999.9, 25.0}, "1.5 1.50000 1E-010 1e+003 2e+001"},
      {"%#.3g %#g", {100.0, 1e10}, "100. 1.00000e+010"},
      {"[%10.2f][%-10.2f][%010.2f][%+.1f][% .1f]",
       {-1.5, 1.5, -1.5, 1.5, 1.5},
       "[     -1.50][1.50      ][-000001.50][+1.5][ 1.5]"},
      {"%f %g", {-0.0, 0.0}, "-0.000000 0"},
      {"%a %A %.1a", {1.0, -10.5, 1.0}, "0x1p+0 -0X1.5P+3 0x1.0p+0"},
      {"%f %F %e [%5g] [%05f] %+f",
       {kInfinity, -kInfinity, kInfinity, kInfinity, -kInfinity, kInfinity},
       "inf -INF inf [  inf] [ -inf] +inf"},
      {"[%G] [%010a]", {std::copysign(kNan, 1.0), std::copysign(kNan, 1.0)}, "[NAN] [       nan]"},
      {"%d %Lf %d", {1, 2.0, 3}, "1 2.000000 3"},
  });
}

// The C library as the measure, for the conversions and fields where the dialect has nothing of its own.
TEST(FormatWords, AgreesWithTheCLibraryOnRandomNumbers) {
  std::mt19937 random(1);
  const char* const kFlags[] = {"", "-", "+", " ", "#", "0", "-0", "+0", "#0", "# ", "-+"};
  for (int round = 0; round < 20000; ++round) {
    std::string field = std::string("%") + kFlags[random() % std::size(kFlags)];
    if (random() % 2) field += std::to_string(1 + random() % 30);
    if (random() % 2) field += "." + std::to_string(random() % 30);
    const char conversion = "diuoxXfFgGaA"[random() % 12];
    char expected[1024];
    CString out;
    const std::string format = field + conversion;
    if (std::strchr("fFgGaA", conversion)) {
      double value = std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 300) - 170);
      if (random() % 2) value = -value;
      std::snprintf(expected, sizeof expected, format.c_str(), value);
      // Exponents of two digits are the one difference.
      if (std::strchr("gG", conversion) && std::strpbrk(expected, "eE")) continue;
      ASSERT_TRUE(FormatWords(out, format.c_str(), ListOf({value}))) << format;
    } else {
      const int value = static_cast<int>(random()) >> (random() % 32);
      std::snprintf(expected, sizeof expected, format.c_str(), value);
      ASSERT_TRUE(FormatWords(out, format.c_str(), ListOf({value}))) << format;
    }
    ASSERT_EQ(out.view(), expected) << format;
  }
}

TEST(FormatWords, WhatIsNoDirectiveIsCopied) {
  ExpectFormats({
      {"%y", {}, "y"},
      {"%5.2ly!", {}, "5.2ly!"},
      {"%", {}, ""},
      {"a%5", {}, "a5"},
      {"%-", {}, "-"},
      {"%I", {}, "I"},
      {"%I6", {}, "I6"},
      {"%I64", {}, "I64"},
      {"%I64y%d", {3}, "I64y3"},
      {"%Is", {"x"}, "Is"},
      {"%5%%d", {3}, "5%3"},
      {"%中%d", {3}, "中3"},
      {"%*y", {3}, "*y"},
  });
}

TEST(FormatWords, RefusesWordsThatDoNotMatch) {
  const FormatCase cases[] = {
      {"%d", {}, ""},
      {"%s", {}, ""},
      {"%c", {}, ""},
      {"%s", {5}, ""},
      {"%d", {"5"}, ""},
      {"%5d", {"5"}, ""},
      {"%5s", {5}, ""},
      {"%c", {"5"}, ""},
      {"%p", {"5"}, ""},
      {"%I64d", {5}, ""},
      {"%I64d", {5, "x"}, ""},
      {"%f", {5}, ""},
      {"%f", {"x", 5}, ""},
      {"%*d", {5}, ""},
      {"%*d", {"5", 5}, ""},
      {"%.*s", {"x"}, ""},
      {"%d %d", {5}, ""},
      {"%n", {5}, ""},
      {"%n", {"x"}, ""},
      {"%hn", {5}, ""},
      {"%1048577d", {5}, ""},
      {"%.1048577d", {5}, ""},
      {"%99999999999999999999d", {5}, ""},
      {"%*d", {1048577, 5}, ""},
      {"%*d", {INT32_MIN, 5}, ""},
      {"%.*d", {INT32_MAX, 5}, ""},
  };
  for (const FormatCase& c : cases) {
    CString out;
    EXPECT_FALSE(FormatWords(out, c.format, ListOf(c.words))) << c.format;
  }
}

TEST(FormatWords, TheWordListHoldsFiftyWords) {
  WordList list;
  for (int i = 0; i < 25; ++i) list.AddInt64(i);
  CString out;
  EXPECT_FALSE(list.Overflowed());
  EXPECT_TRUE(FormatWords(out, "%I64d", list));
  list.AddInt64(25);
  EXPECT_TRUE(list.Overflowed());
  EXPECT_FALSE(FormatWords(out, "%I64d", list));
  EXPECT_FALSE(FormatWords(out, "no directive", list));
}

TEST(FormatWords, FieldsUpToTheLimit) {
  for (const char* format : {"%1048576d", "%.1048576d", "%-1048576d", "%01048576d"}) {
    CString out;
    ASSERT_TRUE(FormatWords(out, format, ListOf({7}))) << format;
    EXPECT_EQ(out.size(), 1048576u) << format;
  }
  struct {
    const char* format;
    size_t size;
  } const floats[] = {{"%.1048576f", 309 + 1 + 1048576},
                      {"%.1048576e", 2 + 1048576 + 5},
                      {"%#.1048576g", 1048576 + 1},
                      {"%.1048576g", 309},
                      {"%.1048576a", 4 + 1048576 + 6}};
  for (const auto& c : floats) {
    CString out;
    ASSERT_TRUE(FormatWords(out, c.format, ListOf({std::numeric_limits<double>::max()}))) << c.format;
    EXPECT_EQ(out.size(), c.size) << c.format;
  }
  CString out;
  ASSERT_TRUE(FormatWords(out, "%.1200f", ListOf({std::numeric_limits<double>::denorm_min()})));
  EXPECT_EQ(out.view().substr(0, 326).find_first_of("123456789"), 325u);
  EXPECT_EQ(out.view().substr(1070 + 2), "5625" + std::string(126, '0'));
}

std::string Formatted(const char* format, ...) {
  CString out;
  va_list values;
  va_start(values, format);
  FormatV(out, format, values);
  va_end(values);
  return std::string(out.view());
}

TEST(FormatV, TakesTheTypesOfTheCompiler) {
  EXPECT_EQ(Formatted("%d %ld %I64d %lld %zu %d", -1, -5000000000L, int64_t{-6000000000}, -7000000000LL,
                      size_t{8000000000}, 9),
            "-1 -5000000000 -6000000000 -7000000000 8000000000 9");
  EXPECT_EQ(Formatted("%u %lu %hd %c", 4000000000u, 5000000000UL, -3, 'x'), "4000000000 5000000000 -3 x");
  EXPECT_EQ(Formatted("%s|%.2s|%5s", "abc", "abc", static_cast<const char*>(nullptr)), "abc|ab|(null)");
  EXPECT_EQ(Formatted("%f %Lf %d", 1.5, 2.5L, 3), "1.500000 2.500000 3");
  EXPECT_EQ(Formatted("%p", reinterpret_cast<void*>(0x1234abcd5678)), "00001234ABCD5678");
  EXPECT_EQ(Formatted("\r\n第%d行: %s", 12, "错误"), "\r\n第12行: 错误");
  EXPECT_EQ(Formatted("%*d|%-*d|%.*s", 4, 1, 4, 2, 1, "ab"), "   1|2   |a");
}

TEST(FormatV, AFailureIsAnException) {
  int written = 77;
  EXPECT_THROW(Formatted("%n", &written), std::invalid_argument);
  EXPECT_EQ(written, 77);
  EXPECT_THROW(Formatted("%2000000d", 1), std::invalid_argument);
}

std::string Message(const char* format, ...) {
  const TextAtEnd at_end(format);
  CString out;
  va_list values;
  va_start(values, format);
  FormatHostMessageV(out, at_end.get(), values);
  va_end(values);
  return std::string(out.view());
}

TEST(HostMessage, KnowsItsOwnFewDirectives) {
  EXPECT_EQ(Message("\r\n第%d行: %s", 3, "错误 100%"), "\r\n第3行: 错误 100%");
  EXPECT_EQ(Message("[%5d][%-5d][%05d][%.3d][%i]", 42, 42, 42, 42, -1), "[   42][42   ][00042][042][-1]");
  EXPECT_EQ(Message("%u %x %X %#x %c %hd %lu", -1, 255, 255, 255, 'c', 0x18000, 5000000000UL),
            "4294967295 ff FF 0xff c -32768 5000000000");
  EXPECT_EQ(Message("[%5s][%-5s][%.1s][%ls][%s]", "ab", "ab", "ab", "ab", static_cast<const char*>(nullptr)),
            "[   ab][ab   ][a][ab][(null)]");
  EXPECT_EQ(Message("%p", reinterpret_cast<void*>(0x12)), "0000000000000012");
}

TEST(HostMessage, CopiesTheRest) {
  EXPECT_EQ(Message("%f %e %n %+d %o %y 100%% %d", 5), "%f %e %n %+d %o %y 100% 5");
  EXPECT_EQ(Message("%"), "%");
  EXPECT_EQ(Message("%5"), "%5");
  EXPECT_EQ(Message("%-#0.l"), "%-#0.l");
  EXPECT_EQ(Message("%l%%d|%d", 5), "%l%d|5");
}

TEST(HostMessage, LetsOneKibibytePass) {
  for (const size_t size : {1023u, 1024u, 1025u, 5000u}) {
    const std::string text(size, 'x');
    const size_t shown = std::min<size_t>(size, 1024);
    EXPECT_EQ(Message("%s", text.c_str()).size(), shown);
    EXPECT_EQ(Message(text.c_str()).size(), shown);
    EXPECT_EQ(Message((text + "%s%d").c_str(), "y", 5).size(), std::min<size_t>(size + 2, 1024));
    EXPECT_EQ(Message("%*s%s", "ignored"), "%*signored");
  }
  EXPECT_EQ(Message("%2000d|", 5), std::string(1024, ' '));
  EXPECT_EQ(Message("%1500s|", std::string(1400, 'x').c_str()), std::string(100, ' ') + std::string(924, 'x'));
  EXPECT_EQ(Message("%999999999999d", 5), std::string(1024, ' '));
  EXPECT_EQ(Message("%.5000s", std::string(1024, 'x').c_str()), std::string(1024, 'x'));
}

}  // namespace
}  // namespace karst

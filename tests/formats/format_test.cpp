// The printf dialect over word lists and C values, and the format language of messages.
#include "formats/format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>
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
    if (const auto* number = std::get_if<double>(&value)) list.AddInt64(std::bit_cast<int64_t>(*number));
  }
  return list;
}

// What a format makes of the words, or "refused".
std::string Made(std::string_view format, const std::vector<Word>& words) {
  CString out("what was there before, long enough for the heap");
  return FormatWords(out, TextAtEnd(format).get(), ListOf(words)) ? std::string(out.view()) : "refused";
}

const double kInfinity = std::numeric_limits<double>::infinity();
const double kNan = std::copysign(std::numeric_limits<double>::quiet_NaN(), 1.0);
const char kNoEnd[3] = {'x', 'y', 'z'};
const TextAtEnd kAtEnd("abc");

TEST(FormatWords, MakesTheseTexts) {
  const struct {
    const char* format;
    std::vector<Word> words;
    std::string expected;
  } cases[] = {
      {"plain 100%% %%%%d%d%%%s中%s", {7, "x", "%d%n"}, "plain 100% %%d7%x中%d%n"},
      {"%d %i %u %x %X %o",
       {INT32_MIN, INT32_MAX, -1, -1, 0xABCDEF, 8},
       "-2147483648 2147483647 4294967295 ffffffff ABCDEF 10"},
      {"[%5d][%-5d][%05d][%-05d]%-+6d|", {42, 42, -42, 42, 42}, "[   42][42   ][-0042][42   ]+42   |"},
      {"[%*d][%*d][%.*d][%.*d]", {5, 42, -5, 42, 3, 42, -3, 42}, "[   42][42   ][042][42]"},
      {"[%hd][%hu][%hx][%hhd][%hhu]", {0x18000, 0x18000, -1, 0x1FF, 0x1FF}, "[-32768][32768][ffff][-1][255]"},
      {"[%ld][%lx][%I32d][%Id][%wd][%zu]", {-1, -1, -1, -1, -1, -1}, "[-1][ffffffff][-1][-1][-1][4294967295]"},
      {"[%p][%12p][%-12p]", {0xabc, 1, 1}, "[00000ABC][    00000001][00000001    ]"},
      // A long integer takes two words.
      {"%I64d %I64u %lld",
       {INT64_MIN, int64_t{-1}, INT64_MAX},
       "-9223372036854775808 18446744073709551615 9223372036854775807"},
      {"%d %d %I64d %I64x", {int64_t{0x200000001}, 1, 2, int64_t{-1}}, "1 2 8589934593 ffffffffffffffff"},
      {"%d [%25I64d][%-12I64d] %d",
       {1, INT64_MIN, int64_t{5000000000}, 2},
       "1 [     -9223372036854775808][5000000000  ] 2"},
      {"[%s][%5s][%-5s][%05s][%.1s][%.0s][%.9s][%5.1s]",
       {"ab", "ab", "ab", "ab", "ab", "ab", "ab", "ab"},
       "[ab][   ab][ab   ][000ab][a][][ab][    a]"},
      {"[%S][%ls][%ws][%hs][%C][%lc][%3c][%-3c]",
       {"a", "b", "c", "d", 'e', 'f', 'b', 0x163},
       "[a][b][c][d][e][f][  b][c  ]"},
      {"[%.3s]%*.*s|", {"中文", 6, 2, "abc"}, "[" + std::string("中文").substr(0, 3) + "]    ab|"},
      {"a%cb%s", {0, ""}, std::string("a\0b", 3)},
      {"%s|%10s|%.3s|%.100s|%.3s",
       {kAtEnd.get(), kAtEnd.get(), kAtEnd.get(), kAtEnd.get(), +kNoEnd},
       "abc|       abc|abc|abc|xyz"},
      // Exponents have three digits, and a half goes to the even side of what the number really is.
      {"%.2f %.0f %#.0f", {2.675, 2.5, 2.0}, "2.67 2 2."},
      {"%e %.2E %.0e", {12345.678, 0.00012345, 5e100}, "1.234568e+004 1.23E-004 5e+100"},
      {"%g %g %g %G %.3g %.0g %#g",
       {1e6, 0.0001, 0.00001, 1e-10, 999.9, 25.0, 1e10},
       "1e+006 0.0001 1e-005 1E-010 1e+003 2e+001 1.00000e+010"},
      {"%f %F %e [%5g] [%05f] %+f",
       {kInfinity, -kInfinity, kInfinity, kInfinity, -kInfinity, kInfinity},
       "inf -INF inf [  inf] [ -inf] +inf"},
      {"[%G] [%010a] %f %d %Lf %d", {kNan, kNan, -0.0, 1, 2.0, 3}, "[NAN] [       nan] -0.000000 1 2.000000 3"},
      // What is no directive is copied.
      {"%y %5.2ly! %I64y%d %5%%d %中%d", {1, 2, 3}, "y 5.2ly! I64y1 5%2 中3"},
      {"%*y%Is", {3}, "*yIs"},
  };
  for (const auto& each : cases) EXPECT_EQ(Made(each.format, each.words), each.expected) << each.format;
  for (const std::string rest : {"", "5", "-", "I", "I6", "I64"}) EXPECT_EQ(Made("%" + rest, {}), rest);
}

TEST(FormatWords, RefusesWordsThatDoNotMatch) {
  const struct {
    std::vector<Word> words;
    std::vector<const char*> formats;
  } cases[] = {
      {{}, {"%d", "%s", "%c"}},
      {{5},
       {"%s", "%5s", "%I64d", "%f", "%*d", "%d %d", "%n", "%hn", "%1048577d", "%.1048577d", "%99999999999999999999d"}},
      {{"5"}, {"%d", "%5d", "%c", "%p", "%.*s", "%n"}},
      {{5, "x"}, {"%I64d"}},
      {{"x", 5}, {"%f", "%*d"}},
      {{1048577, 5}, {"%*d"}},
      {{INT32_MIN, 5}, {"%*d"}},
      {{INT32_MAX, 5}, {"%.*d"}},
  };
  for (const auto& each : cases) {
    for (const char* format : each.formats) EXPECT_EQ(Made(format, each.words), "refused") << format;
  }
  const std::vector<Word> fifty(25, int64_t{1});
  EXPECT_EQ(Made("%I64d", fifty), "1");
  std::vector<Word> more = fifty;
  more.push_back(1);
  EXPECT_EQ(Made("no directive", more), "refused");
}

// The C library as the measure, for the conversions and fields where the dialect has nothing of its own.
TEST(FormatWords, AgreesWithTheCLibraryOnRandomNumbers) {
  std::mt19937 random(1);
  const char* const kFlags[] = {"", "-", "+", " ", "#", "0", "-0", "+0", "#0", "# ", "-+"};
  for (int round = 0; round < 20000; ++round) {
    std::string format = std::string("%") + kFlags[random() % std::size(kFlags)];
    if (random() % 2) format += std::to_string(1 + random() % 30);
    if (random() % 2) format += "." + std::to_string(random() % 30);
    const char conversion = "diuoxXfFgGaAd"[random() % 13];
    if (round % 8 == 0) format = "%";
    format += conversion;
    char expected[1024];
    if (std::strchr("fFgGaA", conversion)) {
      double value = std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 300) - 170);
      if (random() % 2) value = -value;
      std::snprintf(expected, sizeof expected, format.c_str(), value);
      // Exponents of two digits are the one difference.
      if (std::strchr("gG", conversion) && std::strpbrk(expected, "eE")) continue;
      ASSERT_EQ(Made(format, {value}), expected) << format;
    } else {
      const int value = static_cast<int>(random()) >> (random() % 32);
      std::snprintf(expected, sizeof expected, format.c_str(), value);
      ASSERT_EQ(Made(format, {value}), expected) << format;
    }
  }
}

TEST(FormatWords, TakesFieldsUpToTheLimit) {
  const std::pair<const char*, size_t> cases[] = {{"%1048576d", 0},   {"%.1048576d", 0},       {"%-1048576d", 0},
                                                  {"%01048576d", 0},  {"%.1048576f", 309 + 1}, {"%.1048576e", 2 + 5},
                                                  {"%#.1048576g", 1}, {"%.1048576a", 4 + 6}};
  const double most = std::numeric_limits<double>::max();
  for (const auto& [format, more] : cases) {
    const Word word = std::strchr(format, 'd') ? Word(7) : Word(most);
    EXPECT_EQ(Made(format, {word}).size(), 1048576 + more) << format;
  }
  const std::string least = Made("%.1200f", {std::numeric_limits<double>::denorm_min()});
  EXPECT_EQ(least.find_first_of("123456789"), 325u);
  EXPECT_EQ(least.substr(1072), "5625" + std::string(126, '0'));
}

template <auto Function>
std::string With(const char* format, ...) {
  const TextAtEnd at_end(format);
  CString out;
  va_list values;
  va_start(values, format);
  Function(out, at_end.get(), values);
  va_end(values);
  return std::string(out.view());
}

TEST(FormatV, TakesTheTypesOfTheCompiler) {
  constexpr auto Formatted = With<FormatV>;
  const char* const null = nullptr;
  EXPECT_EQ(Formatted("%d %ld %I64d %lld %zu %d", -1, -5000000000L, int64_t{-6000000000}, -7000000000LL,
                      size_t{8000000000}, 9),
            "-1 -5000000000 -6000000000 -7000000000 8000000000 9");
  EXPECT_EQ(Formatted("%u %lu %hd %c", 4000000000u, 5000000000UL, -3, 'x'), "4000000000 5000000000 -3 x");
  EXPECT_EQ(Formatted("%s|%.2s|%5s|%*d|%-*d|%.*s", "abc", "abc", null, 4, 1, 4, 2, 1, "ab"),
            "abc|ab|(null)|   1|2   |a");
  EXPECT_EQ(Formatted("%f %Lf %d %p", 1.5, 2.5L, 3, reinterpret_cast<void*>(0x1234abcd5678)),
            "1.500000 2.500000 3 00001234ABCD5678");
  int written = 77;
  EXPECT_THROW(Formatted("%n", &written), std::invalid_argument);
  EXPECT_EQ(written, 77);
  EXPECT_THROW(Formatted("%2000000d", 1), std::invalid_argument);
}

TEST(HostMessage, KnowsItsOwnFewDirectivesAndLetsOneKibibytePass) {
  constexpr auto Message = With<FormatHostMessageV>;
  const char* const null = nullptr;
  EXPECT_EQ(Message("\r\n第%d行: %s", 3, "错误 100%"), "\r\n第3行: 错误 100%");
  EXPECT_EQ(Message("[%5d][%-5d][%05d][%.3d][%i]", 42, 42, 42, 42, -1), "[   42][42   ][00042][042][-1]");
  EXPECT_EQ(Message("%u %x %X %#x %c %hd %lu", -1, 255, 255, 255, 'c', 0x18000, 5000000000UL),
            "4294967295 ff FF 0xff c -32768 5000000000");
  EXPECT_EQ(Message("[%5s][%-5s][%.1s][%ls][%s]", "ab", "ab", "ab", "ab", null), "[   ab][ab   ][a][ab][(null)]");
  EXPECT_EQ(Message("%p", reinterpret_cast<void*>(0x12)), "0000000000000012");
  EXPECT_EQ(Message("%f %e %n %+d %o %y 100%% %d", 5), "%f %e %n %+d %o %y 100% 5");
  for (const char* copied : {"%", "%5", "%-#0.l"}) EXPECT_EQ(Message(copied), copied);
  EXPECT_EQ(Message("%l%%d|%d%*s%s", 5, "x"), "%l%d|5%*sx");
  for (const size_t size : {1023u, 1024u, 1025u, 5000u}) {
    const std::string text(size, 'x');
    EXPECT_EQ(Message("%s", text.c_str()).size(), std::min<size_t>(size, 1024));
    EXPECT_EQ(Message((text + "%s%d").c_str(), "y", 5).size(), std::min<size_t>(size + 2, 1024));
  }
  for (const char* wide : {"%2000d|", "%999999999999d"}) EXPECT_EQ(Message(wide, 5), std::string(1024, ' '));
  EXPECT_EQ(Message("%1500s|", std::string(1400, 'x').c_str()), std::string(100, ' ') + std::string(924, 'x'));
  EXPECT_EQ(Message("%.5000s", std::string(1024, 'x').c_str()), std::string(1024, 'x'));
}

}  // namespace
}  // namespace karst

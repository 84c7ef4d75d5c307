// Chinese text: prices in capital numerals, cuts and breaks at whole characters, the date, names.
#include <gtest/gtest.h>
#include <strings.h>

#include <cstdlib>
#include <ctime>
#include <random>

#include "support/builtin_call.h"
#include "text/mbtext.h"

namespace karst::testing {
namespace {

const Ref kText{"text"};

class ChineseText : public ::testing::Test {
 protected:
  using Answer = std::pair<int32_t, std::string>;

  // The result of a call, and the variable `text` after it.
  Answer Changed(const std::string& before, const char* name, const std::vector<Argument>& arguments) {
    BuiltinCaller fresh;
    fresh.Declare("text", before);
    const int32_t result = fresh.Call(name, arguments);
    return {result, fresh.Text("text")};
  }
  Answer LineBreak(const std::string& text, int32_t width, const char* line_break, const char* pair) {
    return Changed(text, "LineBreak", {kText, width, line_break, pair});
  }
};

TEST_F(ChineseText, LineBreakStopsAtItsCapacity) {
  constexpr size_t kCapacity = 100000;
  const std::string fits(kCapacity - 4, 'x');
  const size_t half = fits.size() / 2;
  const auto broken_once = [&](const std::string& text, size_t at) {
    return text.substr(0, at) + "12" + text.substr(at);
  };
  const int32_t width = static_cast<int32_t>(half);
  EXPECT_EQ(LineBreak(fits, width + 2, "12", ""), Answer(kCapacity - 2, broken_once(fits, half + 2)));
  EXPECT_EQ(LineBreak(fits, width - 1, "12", ""), Answer(0, broken_once(fits, half - 1))) << "the second does not fit";
  const std::string longer(kCapacity + 7, 'x');
  EXPECT_EQ(LineBreak(longer, 50, "12", ""), Answer(0, longer)) << "nothing of it is lost";
  EXPECT_EQ(LineBreak(longer, kCapacity * 2, "12", ""), Answer(longer.size(), longer));
  EXPECT_EQ(LineBreak("xx" + std::string(50'000, '<'), 0, "1", "").first, 0) << "a break for every byte";
}

// The scan as one would write it down: in place, with the break put into the text that is being read.
std::string BrokenInPlace(std::string text, int width, const std::string& line_break, const std::string& pair) {
  int columns = 0, entity = 0, nest = 0, state = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const char byte = text[i];
    state = state == 1 ? 2 : IsDBCSLeadByte(static_cast<unsigned char>(byte)) ? 1 : 0;
    if (state == 0 && (byte == '\r' || byte == '\n')) continue;
    if (nest == 0) {
      if (state == 0 && byte == '&') {
        ++entity;
        continue;
      }
      if (state == 0 && byte == ';' && entity != 0) entity = 0;
      if (entity > 10) entity = 0;
      if (entity != 0) continue;
    }
    if (state == 0 && byte == pair[0]) {
      ++nest;
    } else if (state == 0 && byte == pair[1] && --nest == 0) {
      continue;
    }
    const bool inside = i + line_break.size() < text.size();
    if (inside && strncasecmp(text.c_str() + i, line_break.c_str(), line_break.size()) == 0) columns = 0;
    if (nest > 0) continue;
    if (state != 2 && columns >= width) {
      text.insert(i, line_break);
      i += line_break.size();
      columns = 0;
    }
    ++columns;
  }
  return text;
}

TEST_F(ChineseText, LineBreakOfAnyTextIsThatOfTheScanInPlace) {
  std::mt19937 random(5);
  const std::string bytes = "abAB<><>&;\r\n\xB0\xB0\xC4";
  const char* breaks[] = {"", "a", "ab", "aba", "<a>", "\r\n", "\xB0", "aabaab"};
  for (int i = 0; i < 20'000; ++i) {
    std::string text;
    for (size_t length = random() % 40; text.size() < length;) text += bytes[random() % bytes.size()];
    const char* line_break = breaks[random() % std::size(breaks)];
    const int32_t width = static_cast<int32_t>(random() % 7);
    const std::string expected = BrokenInPlace(text, width, line_break, "<>");
    ASSERT_EQ(LineBreak(text, width, line_break, "<>"), Answer(expected.size(), expected))
        << ::testing::PrintToString(text) << width << line_break;
  }
}

// Two places that never have the same date: a date that is not the local one fails in one of them.
TEST_F(ChineseText, GetDateIsTheLocalDate) {
  for (const int hours : {14, -12}) {
    setenv("TZ", hours > 0 ? "EAST-14" : "WEST12", 1);
    tzset();
    const auto date_there = [hours] {
      const std::time_t shifted = std::time(nullptr) + hours * 3600;
      char date[20];
      std::strftime(date, sizeof date, "%Y%m%d", std::gmtime(&shifted));
      return std::string(date);
    };
    const std::string before = date_there();
    const Answer answer = Changed("old", "GetDate", {kText});
    EXPECT_EQ(answer.first, 0);
    EXPECT_TRUE(answer.second == before || answer.second == date_there()) << answer.second;
  }
  unsetenv("TZ");
  tzset();
  EXPECT_EQ(Changed("old", "GetDate", {"by value"}), Answer(0, "old"));
}

}  // namespace
}  // namespace karst::testing

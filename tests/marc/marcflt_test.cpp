// Records out as ISO 2709 by the class that hosts know: its exact bytes, and input of every shape.
#include "marc/marcflt.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "records/isorecord.h"

namespace karst::testing {
namespace {

constexpr char kHeader[] = "-----nam0 22-----   450 ";

// The result, out of a buffer of exactly the room that a caller has to give.
std::string Convert(const std::string& record) {
  const auto fields = static_cast<size_t>(std::count(record.begin(), record.end(), kFieldEnd)) +
                      (record.size() > 25 && record[record.size() - 2] != kFieldEnd);
  const auto room = std::make_unique<char[]>(record.size() + 9 * fields + 1);
  CMARCFLT filter;
  const int length = filter.JineiToISO2709(record.c_str(), room.get());
  return std::string(room.get(), static_cast<size_t>(length));
}

TEST(JineiToISO2709, WritesTheseBytes) {
  const struct {
    const char* fields;
    std::string iso;
  } cases[] = {
      {"", "00026nam0 2200025   450 \x1e\x1d"},
      {"-01abc\x1e-\x1f"
       "9x\x1e",
       "00026nam0 2200025   450 \x1e\x1d"},
      {"001abc\x1e",
       "00042nam0 2200037   450 001000400000\x1e"
       "abc\x1e\x1d"},
      {"001abc\x1e-50x\x1e"
       "2001 \x1f"
       "aT\x1e"
       "300\x1e",
       "00073nam0 2200061   450 001000400000200000600004300000100010\x1e"
       "abc\x1e"
       "1 \x1f"
       "aT\x1e\x1e\x1d"},
      // A field without a whole tag leaves no trace, and makes room for the end mark that the last field lacks.
      {"0\x1e"
       "001abc\x1e",
       "00042nam0 2200037   450 001000400000\x1e"
       "abc\x1e\x1d"},
      {"0\x1e"
       "001abc",
       "00042nam0 2200037   450 001000400000\x1e"
       "abc\x1e\x1d"},
      {"001abc\x1e"
       "002d",
       "00042nam0 2200037   450 001000400000\x1e"
       "abc\x1e\x1d"},
      {"001abc\x1e"
       "00",
       "00042nam0 2200037   450 001000400000\x1e"
       "abc\x1e\x1d"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.fields);
    EXPECT_EQ(Convert(std::string(kHeader) + each.fields + "\x1d"), each.iso);
  }
}

TEST(JineiToISO2709, WritesTheLastDigitsOfWhatIsTooLong) {
  const std::string field = "001" + std::string(12344, 'x') + "\x1e";
  std::string record = kHeader;
  for (int i = 0; i < 9; ++i) record += field;
  const std::string iso = Convert(record + "\x1d");
  EXPECT_EQ(iso.size(), 24u + 9 * 12 + 1 + 9 * 12345 + 1);
  EXPECT_EQ(iso.substr(0, 5), "11239");
  EXPECT_EQ(iso.substr(24 + 12 * 8, 12), "001234598760");
}

TEST(JineiToISO2709, TakesAnyBytes) {
  EXPECT_EQ(Convert(""), "");
  EXPECT_EQ(Convert(kHeader), "");
  EXPECT_EQ(Convert("short\x1d"), "");
  std::mt19937 random(5);
  for (int i = 0; i < 5000; ++i) {
    std::string record = kHeader;
    for (size_t left = random() % 60; left > 0; --left) record += "\x1e-0ab"[random() % 5];
    const std::string iso = Convert(record + "\x1d");
    IsoRecord reader;
    ASSERT_EQ(reader.Examine(iso), nullptr) << record;
    ASSERT_FALSE(reader.NeedsRepair()) << record;
  }
}

TEST(my_itoa, WritesExactlyItsWidth) {
  const struct {
    int number, width;
    const char* digits;
  } cases[] = {{7, 5, "00007"}, {123456, 4, "3456"},          {0, 1, "0"}, {5, 0, ""}, {5, -1, ""},
               {-12, 3, "012"}, {INT32_MIN, 10, "2147483648"}};
  CMARCFLT filter;
  for (const auto& each : cases) {
    char buffer[12] = "...........";
    EXPECT_EQ(filter.my_itoa(each.number, buffer, each.width), 0);
    const std::string rest(11 - std::max(each.width, 0), '.');
    EXPECT_EQ(std::string(buffer, 11), each.digits + rest);
  }
}

}  // namespace
}  // namespace karst::testing

// Records out as ISO 2709 by the class that hosts know: its exact bytes, and input of every shape.
#include "marc/marcflt.h"

#include <gtest/gtest.h>

#include <random>

#include "records/isorecord.h"
#include "support/readable.h"

namespace karst::testing {
namespace {

const std::string kHeader = "-----nam0 22-----   450 ";

// The result, out of a buffer of exactly the room that a caller has to give.
std::string Convert(const std::string& readable) {
  const std::string record = Marked(readable);
  const auto fields = static_cast<size_t>(std::count(record.begin(), record.end(), kFieldEnd)) +
                      (record.size() > 25 && record[record.size() - 2] != kFieldEnd);
  const auto room = std::make_unique<char[]>(record.size() + 9 * fields + 1);
  const int length = CMARCFLT().JineiToISO2709(record.c_str(), room.get());
  return Readable(std::string(room.get(), static_cast<size_t>(length)));
}

TEST(JineiToISO2709, WritesTheseBytes) {
  const std::string one = "00042nam0 2200037   450 001000400000^abc^|";
  const std::pair<std::string, std::string> cases[] = {
      {kHeader + "|", "00026nam0 2200025   450 ^|"},
      {kHeader + "-01abc^-$9x^|", "00026nam0 2200025   450 ^|"},
      {kHeader + "001abc^|", one},
      {kHeader + "001abc^-50x^2001 $aT^300^|",
       "00073nam0 2200061   450 001000400000200000600004300000100010^abc^1 $aT^^|"},
      // A field without a whole tag leaves no trace, and makes room for the end mark that the last field lacks.
      {kHeader + "0^001abc^|", one},
      {kHeader + "0^001abc|", one},
      {kHeader + "001abc^002d|", one},
      {kHeader + "001abc^00|", one},
      {"", ""},
      {kHeader, ""},
      {"short|", ""},
  };
  for (const auto& [record, iso] : cases) EXPECT_EQ(Convert(record), iso) << record;
  // Of what is too long the last digits are written.
  std::string nine;
  for (int i = 0; i < 9; ++i) nine += "001" + std::string(12344, 'x') + "^";
  const std::string iso = Convert(kHeader + nine + "|");
  EXPECT_EQ(iso.size(), 24u + 9 * 12 + 1 + 9 * 12345 + 1);
  EXPECT_EQ(iso.substr(0, 5), "11239");
  EXPECT_EQ(iso.substr(24 + 12 * 8, 12), "001234598760");
}

TEST(JineiToISO2709, TakesAnyBytes) {
  std::mt19937 random(5);
  for (int i = 0; i < 5000; ++i) {
    std::string record = kHeader;
    for (size_t left = random() % 60; left > 0; --left) record += "^-0ab"[random() % 5];
    const std::string iso = Marked(Convert(record + "|"));
    IsoRecord reader;
    ASSERT_EQ(reader.Examine(iso), nullptr) << record;
    ASSERT_FALSE(reader.NeedsRepair()) << record;
  }
}

}  // namespace
}  // namespace karst::testing

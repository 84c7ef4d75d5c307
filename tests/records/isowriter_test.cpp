// Writing ISO 2709: what is written reads back as the same record, and what cannot be written is refused.
#include "records/isowriter.h"

#include <gtest/gtest.h>

#include <random>

#include "records/isorecord.h"
#include "support/record_run.h"

namespace karst::testing {
namespace {

constexpr std::string_view kHeader = "99999nam0 2299999   450 ";

std::string ReadBack(std::string_view iso) {
  IsoRecord record;
  if (const char* fault = record.Examine(iso)) return fault;
  if (record.NeedsRepair()) return "needs repair";
  RecordText text;
  record.WriteInternalForm(text);
  return std::string(text.View());
}

// All but the computed numbers of the leader.
std::string Comparable(std::string record) { return record.replace(0, 5, "99999").replace(12, 5, "99999"); }

std::string RandomRecord(std::mt19937& random) {
  std::vector<IsoField> fields(random() % 30);
  for (IsoField& field : fields) {
    field.tag = Digits(random() % 1000, 3);
    if (random() % 4 == 0) field.tag[0] = '-';
    field.body.assign(random() % 3 == 0 ? random() % 4 : random() % 3000, static_cast<char>('a' + random() % 26));
  }
  return InternalText(kHeader, fields);
}

TEST(IsoWriter, WritesWhatReadsBackAsTheSameRecord) {
  std::mt19937 random(7);
  std::string all;
  for (int i = 0; i < 300; ++i) {
    const std::string record = RandomRecord(random);
    const size_t before = all.size();
    ASSERT_EQ(AppendIsoRecord(record, LocalFields::kWritten, all), IsoFault::kNone);
    ASSERT_EQ(all.size() - before, IsoLayout(record, LocalFields::kWritten).Length());
    ASSERT_EQ(Comparable(ReadBack(std::string_view(all).substr(before))), record);
  }
}

TEST(IsoWriter, RefusesWhatHasNoTrueForm) {
  const auto record = [](const std::string& fields) { return std::string(kHeader) + fields + "\x1d"; };
  const auto field = [](size_t body) { return "300" + std::string(body, 'x') + "\x1e"; };
  std::string many;
  for (int i = 0; i < 9; ++i) many += field(9998);
  const size_t room = 99999 - (24 + 9 * (12 + 9999) + 12 + 1 + 2);  // for one more body
  const struct {
    std::string record;
    IsoFault fault;
  } cases[] = {
      {record(field(9998)), IsoFault::kNone},
      {record(field(9999)), IsoFault::kFieldTooLong},
      {record("-" + field(9999)), IsoFault::kNone},
      {record(many + field(room)), IsoFault::kNone},
      {record(many + field(room + 1)), IsoFault::kRecordTooLong},
      {record("30\x1e"), IsoFault::kShortField},
      {record("\x1e"), IsoFault::kShortField},
      {record("2\t0abc\x1e"), IsoFault::kBadTag},
      {record("-\x1e"), IsoFault::kNone},
      {record("300abc"), IsoFault::kOpenField},
      {record("-00abc"), IsoFault::kNone},
      {std::string(kHeader), IsoFault::kNoRecord},
      {std::string(kHeader.substr(1)) + "\x1d", IsoFault::kNoRecord},
      {record("\x1d"), IsoFault::kNoRecord},
      {record("") + "x", IsoFault::kNoRecord},
      {"", IsoFault::kNoRecord},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.record.substr(0, 60));
    std::string target = "before";
    EXPECT_EQ(AppendIsoRecord(each.record, LocalFields::kLeftOut, target), each.fault);
    EXPECT_EQ(target == "before", each.fault != IsoFault::kNone);
  }
}

}  // namespace
}  // namespace karst::testing

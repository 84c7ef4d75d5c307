// Writing ISO 2709: what is written reads back as the same record, and what cannot be written is refused.
#include "records/isowriter.h"

#include <gtest/gtest.h>

#include <random>

#include "records/isorecord.h"
#include "support/readable.h"
#include "support/record_run.h"

namespace karst::testing {
namespace {

const std::string kHeader = "99999nam0 2299999   450 ";

TEST(IsoWriter, WritesWhatReadsBackAsTheSameRecord) {
  std::mt19937 random(7);
  std::string all;
  for (int i = 0; i < 300; ++i) {
    std::vector<IsoField> fields(random() % 30);
    for (IsoField& field : fields) {
      field.tag = Digits(random() % 1000, 3);
      if (random() % 4 == 0) field.tag[0] = '-';
      field.body.assign(random() % 3 == 0 ? random() % 4 : random() % 3000, static_cast<char>('a' + random() % 26));
    }
    const std::string record = InternalText(kHeader, fields);
    const size_t before = all.size();
    ASSERT_EQ(AppendIsoRecord(record, LocalFields::kWritten, all), IsoFault::kNone);
    ASSERT_EQ(all.size() - before, IsoLayout(record, LocalFields::kWritten).Length());
    IsoRecord reader;
    ASSERT_EQ(reader.Examine(std::string_view(all).substr(before)), nullptr);
    ASSERT_FALSE(reader.NeedsRepair());
    RecordText text;
    reader.WriteInternalForm(text);
    // All but the computed numbers of the leader.
    ASSERT_EQ(std::string(text.View()).replace(0, 5, "99999").replace(12, 5, "99999"), record);
  }
}

TEST(IsoWriter, RefusesWhatHasNoTrueForm) {
  const auto field = [](size_t body) { return "300" + std::string(body, 'x') + "^"; };
  std::string many;
  for (int i = 0; i < 9; ++i) many += field(9998);
  const size_t room = 99999 - (24 + 9 * (12 + 9999) + 12 + 1 + 2);  // for one more body
  const struct {
    IsoFault fault;
    std::vector<std::string> records;
  } cases[] = {
      {IsoFault::kNone,
       {kHeader + field(9998) + "|", kHeader + "-" + field(9999) + "|", kHeader + many + field(room) + "|",
        kHeader + "-^|", kHeader + "-00abc|"}},
      {IsoFault::kFieldTooLong, {kHeader + field(9999) + "|"}},
      {IsoFault::kRecordTooLong, {kHeader + many + field(room + 1) + "|"}},
      {IsoFault::kShortField, {kHeader + "30^|", kHeader + "^|"}},
      {IsoFault::kBadTag, {kHeader + "2\t0abc^|"}},
      {IsoFault::kOpenField, {kHeader + "300abc|"}},
      {IsoFault::kNoRecord, {kHeader, kHeader.substr(1) + "|", kHeader + "||", kHeader + "|x", ""}},
  };
  for (const auto& each : cases) {
    for (const std::string& record : each.records) {
      std::string target = "before";
      EXPECT_EQ(AppendIsoRecord(Marked(record), LocalFields::kLeftOut, target), each.fault) << record.substr(0, 60);
      EXPECT_EQ(target == "before", each.fault != IsoFault::kNone) << record.substr(0, 60);
    }
  }
}

}  // namespace
}  // namespace karst::testing

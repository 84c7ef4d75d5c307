// Writing ISO 2709: what cannot be written is refused.
#include "records/isowriter.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/readable.h"

namespace karst::testing {
namespace {

const std::string kHeader = "99999nam0 2299999   450 ";

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

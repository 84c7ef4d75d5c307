// Reading files of records: what stands beside a broken record is never lost, and every byte of a file is accounted
// for.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "records/cartulary.h"
#include "records/recordfault.h"
#include "support/places.h"
#include "support/readable.h"
#include "support/record_run.h"
#include "support/temp_folder.h"
#include "support/whole_files.h"

namespace karst::testing {
namespace {

using Texts = std::vector<std::string>;

// "001X2^2000 $aB": the fields of a record, and the record in both forms.
struct Made {
  explicit Made(std::string marked, std::string header = "00000nam0 2200000   450 ") {
    std::istringstream parts(marked);
    for (std::string part; std::getline(parts, part, '^');) {
      fields.push_back({part.substr(0, 3), Marked(part.substr(3))});
    }
    iso = IsoBytes(fields);
    internal = InternalText(header, fields);
    read_from_iso = InternalText(iso.substr(0, 24), fields);
  }
  std::vector<IsoField> fields;
  std::string iso, internal, read_from_iso;
};

const std::string kLongFields = "001CAL0012345^010  $a7-03$d12.50^2001 $a流水账$f李明著";
const Made kLong(kLongFields);
const Made kOther("001X2^2000 $aB");

std::string Changed(std::string text, size_t at, std::string_view bytes) {
  return text.replace(at, bytes.size(), bytes);
}
std::string Without(std::string text, size_t at, size_t count) { return text.erase(at, count); }

// The same run at several sizes of the window and of the portions that the source gives.
RecordRun ReadEverySize(const std::string& bytes) {
  const RecordRun run = ReadAll(bytes);
  EXPECT_EQ(AccountFault(run, bytes), "");
  for (const size_t window : {1, 2, 63, 200}) {
    for (const size_t portion : {size_t{1}, size_t{7}, SIZE_MAX}) {
      SCOPED_TRACE("window " + std::to_string(window) + " portion " + std::to_string(portion));
      const RecordRun other = ReadAll(bytes, {.window = window}, portion);
      EXPECT_EQ(AccountFault(other, bytes), "");
      EXPECT_EQ(other.Texts(), run.Texts());
      EXPECT_EQ(other.Reasons(), run.Reasons());
    }
  }
  return run;
}

TEST(RecordReader, TellsBothFormsApartRecordByRecord) {
  const std::string lookalikes[] = {
      Made("001123456789^2001 $aA", "00120nam0 2200037   450 ").internal,
      Made("").internal,
      Made("001").internal,
      Made(kLongFields, "123456789012345678901234").internal,
      Made(kLongFields, "a header of 24 bytes ...").internal,
      Made(kLongFields, "流水账李明著流水账李明著").internal,
      Made("001123456789^00520260101", "00069nam0 2200049   450 ").internal,
      Made("001123456789", "00048nam0 2200037   450 ").internal,
      Made("2001 $aA", "00127     2200000   450 ").internal,
      Made("001A1^009local", "00999nam0 2200049   450 ").internal,
      Made("-01local^0 2  $ax").internal,
      Made(kLongFields, "     nam0 22        450 ").internal,
      Made(kLongFields, std::string(24, ' ')).internal,
  };
  for (const std::string& internal : lookalikes) {
    for (const char* between : {"", "\r\n", "   \n"}) {
      const RecordRun run =
          ReadEverySize(between + kLong.iso + between + internal + between + internal + between + kOther.iso + between);
      EXPECT_EQ(run.Texts(), (Texts{kLong.read_from_iso, internal, internal, kOther.read_from_iso}));
      EXPECT_TRUE(run.Reasons().empty());
      EXPECT_EQ(run.repaired, 0u);
    }
  }
  for (const char* bytes : {"", " ", "\r\n\r\n", "\x1A", "\r\n \x1A\r\n\x1A ", "                                   "}) {
    EXPECT_TRUE(ReadEverySize(bytes).pieces.empty()) << bytes;
  }
}

struct Damage {
  const char* name;
  std::string bytes;
  std::string reason;  // empty: it is repaired, and gives
  std::string text = {};
};

std::vector<Damage> Damages() {
  const std::string &iso = kLong.iso, &text = kLong.read_from_iso, &internal = kLong.internal;
  const auto changed = [&](size_t at, std::string_view bytes) { return Changed(iso, at, bytes); };
  const size_t size = iso.size(), base = 24 + 36 + 1;
  std::vector<Damage> damages = {
      {"entries out of order", iso.substr(0, 24) + iso.substr(48, 12) + iso.substr(24, 24) + iso.substr(60), "",
       InternalText(text.substr(0, 24), {kLong.fields[2], kLong.fields[0], kLong.fields[1]})},
      {"both numbers wrong", Changed(changed(12, "99999"), 0, "00001"), "",
       Changed(Changed(text, 12, "99999"), 0, "00001")},
      {"last 0x1E missing", Without(iso, size - 2, 1), "", text},
      {"length without 0x1E", changed(27, "0010"), "", text},
      {"one length no number", changed(27, "00x1"), "", text},
      {"one start no number", changed(43, "    x"), "", text},
      {"internal, last 0x1E missing", Without(internal, internal.size() - 2, 1), "", internal},

      {"length no number", changed(0, "x0061"), fault::kLengthNotNumber},
      {"blank in the length", changed(0, "0 061"), fault::kLengthNotNumber},
      {"0x1D missing", iso.substr(0, size - 1), fault::kNoRecordEnd},
      {"cut in the data", iso.substr(0, size - 9), fault::kNoRecordEnd},
      {"cut in the directory", iso.substr(0, 41), fault::kNoRecordEnd},
      {"cut in the leader", iso.substr(0, 11), fault::kNoRecordEnd},
      {"entry points outside", changed(55, "00999"), fault::kEntryOutside},
      {"entry reaches outside", changed(51, "9999"), fault::kEntryOutside},
      {"entries overlap", changed(43, "00003"), fault::kEntriesOverlap},
      {"entries twice the same", changed(36, iso.substr(24, 12)), fault::kEntriesOverlap},
      {"data left out", changed(43, "00013"), fault::kDataNotListed},
      {"wrong length", changed(27, "0013"), fault::kEntryLength},
      {"no number at all", changed(27, "xxxxxxxxx"), fault::kEntryNotNumber},
      {"tag with a control byte", changed(36, "\x01"), fault::kBadTag},
      {"tag in Chinese", changed(36, "账"), fault::kBadTag},
      {"directory one byte short", Without(iso, 59, 1), fault::kDirectoryLength},
      {"directory without its end", changed(base - 1, "x"), fault::kDirectoryLength},
      {"NUL inside", changed(base + 2, std::string_view("\0", 1)), fault::kNulInside},
      {"0x1D inside", Made("001a^2001 $aA|B").iso, fault::kRecordEndInside},
      {"0x1E inside", IsoBytes({{"001", "a"}, {"200", Marked("1 $aA^B")}}), fault::kEntryLength},
      {"internal, 0x1D missing", internal.substr(0, internal.size() - 1), fault::kNoRecordEnd},
      {"internal, cut in a field", internal.substr(0, internal.size() - 7), fault::kNoRecordEnd},
      {"internal, tag with a control byte", Changed(internal, 24, "\x01"), fault::kBadTag},
      {"internal, NUL inside", Changed(internal, 30, std::string_view("\0", 1)), fault::kNulInside},
      {"internal, field too short", Marked("00000nam0 2200000   450 001a^2^|"), fault::kBadTag},
      {"text", "Hello, world. This is a line of text.\x1D", fault::kNoRecord},
      {"text without an end", "Hello, world. This is a line of text.", fault::kNoRecord},
      {"one 0x1D", "\x1D", fault::kNoRecord},
      {"NULs", std::string(700, '\0'), fault::kNoRecord},
      {"24 bytes", "00000nam0 2200000   450 ", fault::kNoRecordEnd},
      {"0x1A in the middle", "\x1A", fault::kEndMarkInside},
  };
  for (const char* length : {"00999", "99999", "00030", "00000"}) {
    damages.push_back({length, changed(0, length), "", Changed(text, 0, length)});
  }
  for (const char* address : {"00020", "x0061"}) {
    damages.push_back({address, changed(12, address), "", Changed(text, 12, address)});
  }
  return damages;
}

class DamagedRecord : public ::testing::TestWithParam<int> {};

TEST_P(DamagedRecord, LosesNoNeighbour) {
  const bool iso_before = GetParam() & 1, iso_after = GetParam() & 2;
  const std::string between = GetParam() & 4 ? "\r\n" : "";
  for (const Damage& damage : Damages()) {
    SCOPED_TRACE(damage.name);
    const bool mended = damage.reason.empty();
    const RecordRun run = ReadEverySize((iso_before ? kOther.iso : kOther.internal) + between + damage.bytes + between +
                                        (iso_after ? kOther.iso : kOther.internal) + between + kOther.iso);
    Texts expected{iso_before ? kOther.read_from_iso : kOther.internal,
                   iso_after ? kOther.read_from_iso : kOther.internal, kOther.read_from_iso};
    if (mended) expected.insert(expected.begin() + 1, damage.text);
    EXPECT_EQ(run.Texts(), expected);
    EXPECT_EQ(run.Reasons(), mended ? Texts() : Texts{damage.reason});
    EXPECT_EQ(run.repaired, mended ? 1u : 0u);
  }
}

INSTANTIATE_TEST_SUITE_P(Neighbours, DamagedRecord, ::testing::Range(0, 8));

TEST(RecordReader, LosesNoRecordAroundTwoDamages) {
  const std::vector<Damage> damages = Damages();
  for (const Damage& first : damages) {
    for (const Damage& second : damages) {
      SCOPED_TRACE(std::string(first.name) + " and " + second.name);
      const std::string bytes = kOther.iso + first.bytes + second.bytes + kOther.iso;
      const RecordRun run = ReadAll(bytes);
      EXPECT_EQ(AccountFault(run, bytes), "");
      ASSERT_GE(run.Texts().size(), 2u);
      EXPECT_EQ(run.Texts().front(), kOther.read_from_iso);
      EXPECT_EQ(run.Texts().back(), kOther.read_from_iso);
    }
    // With both numbers wrong nothing shows where such a record begins.
    if (!first.reason.empty() || first.name == std::string_view("both numbers wrong")) continue;
    for (const size_t length : {size_t{11}, size_t{41}, kLong.iso.size() - 9, kLong.iso.size() - 1}) {
      EXPECT_EQ(ReadAll(kLong.iso.substr(0, length) + first.bytes).Texts(), Texts{first.text}) << first.name;
    }
  }
}

// Read in the internal form, its directory and its data would pass for fields.
TEST(RecordReader, ABrokenIsoRecordOfPlainFieldsIsNoInternalRecord) {
  const Made made("001X1 and more^00520260101");
  const std::string& iso = made.iso;
  const std::string single = Made("0010023456789").iso;
  const std::pair<std::string, const char*> cases[] = {
      {Changed(iso, 43, "00003"), fault::kEntriesOverlap},
      {Changed(iso, 0, "x"), fault::kLengthNotNumber},
      {Without(iso, 24, 12), fault::kDataNotListed},
      {Without(iso, 36, 12), fault::kDataNotListed},
      {"    " + Without(iso, 36, 12), fault::kDataNotListed},
      {Without(iso, 48, 1), fault::kDirectoryLength},
      {Without(iso, 50, 2), fault::kEntryLength},
      {Changed(Without(single, 30, 2), 0, "00099"), fault::kDirectoryLength},
      {Without(single, 36, 1), fault::kDirectoryLength},
  };
  for (const auto& [bytes, reason] : cases) {
    const RecordRun run = ReadEverySize(bytes + iso);
    EXPECT_EQ(run.Reasons(), Texts{reason}) << bytes;
    EXPECT_EQ(run.Texts(), Texts{made.read_from_iso}) << bytes;
  }
  // Its directory fits, so that both numbers are mended.
  EXPECT_EQ(ReadEverySize(Changed(Changed(iso, 0, "00001"), 12, "00002") + iso).repaired, 1u);
}

// Bytes of sound records are overwritten, taken out and doubled.
TEST(RecordReader, AccountsForEveryByteOfGeneratedDamage) {
  std::mt19937 random(7);
  const std::string sound = kLong.iso + kOther.internal + "\r\n" + kOther.iso + "\x1A";
  const std::string_view bytes_to_put("\x1D\x1E\x1F\x1A\0 09x\r\n\xB0", 12);
  for (int i = 0; i < 1500; ++i) {
    std::string bytes = sound + sound;
    for (size_t count = random() % 6; count > 0; --count) {
      const size_t at = random() % bytes.size(), length = random() % 30;
      switch (random() % 3) {
        case 0: bytes[at] = bytes_to_put[random() % bytes_to_put.size()]; break;
        case 1: bytes.erase(at, length); break;
        default: bytes.insert(at, bytes.substr(random() % bytes.size(), length));
      }
    }
    const RecordRun run = ReadAll(bytes);
    ASSERT_EQ(AccountFault(run, bytes), "") << i;
    const RecordRun small = ReadAll(bytes, {.window = 1}, 3);
    ASSERT_EQ(small.Texts(), run.Texts()) << i;
    ASSERT_EQ(small.Reasons(), run.Reasons()) << i;
    ASSERT_EQ(AccountFault(ReadAll(bytes, {.window = 4, .longest = 50}), bytes), "") << i;
  }
}

TEST(RecordReader, ReadsARecordAsLongAsTheLimitAndReportsALongerOne) {
  const auto of_length = [](size_t length) { return Made("001" + std::string(length - 29, 'x')).internal; };
  for (const size_t before : {0, 1, 150, 199, 200, 201, 399, 400, 401, 1000}) {
    const std::string bytes = std::string(before, '#') + of_length(200) + of_length(201) + kOther.iso;
    const RecordRun run = ReadAll(bytes, {.window = 16, .longest = 200});
    EXPECT_EQ(AccountFault(run, bytes), "") << before;
    EXPECT_EQ(run.Texts(), (Texts{of_length(200), kOther.read_from_iso})) << before;
    EXPECT_LE(run.longest_report, 200u);
  }
}

// A method that looked at the rest anew for each candidate would take minutes for one of these.
TEST(RecordReader, TakesTimeInProportionToTheLength) {
  const std::string half = "00000nam0 2200000   450 001";
  for (const std::string& part : {std::string("^"), std::string("0"), std::string("00037"), std::string("^0"),
                                  std::string("2^^"), half, kOther.iso.substr(0, 49), half + "^", "   001" + half}) {
    std::string bytes;
    while (bytes.size() < 5 << 18) bytes += Marked(part);
    bytes += kOther.iso;
    const RecordRun run = ReadAll(bytes);
    EXPECT_EQ(AccountFault(run, bytes), "");
    EXPECT_EQ(run.Texts().back(), kOther.read_from_iso);
  }
}

TEST(RecordReader, AFailureOfTheSourceIsNoEnd) {
  const std::string two = kOther.iso + kOther.iso;
  for (const size_t held : {size_t{0}, size_t{10}, kOther.iso.size(), kOther.iso.size() + 10}) {
    RecordReader reader(std::make_unique<MemorySource>(std::string_view(two).substr(0, held), SIZE_MAX, true));
    if (held >= kOther.iso.size()) {
      EXPECT_EQ(reader.Next({}), ReadResult::kRecord);
    }
    for (int i = 0; i < 2; ++i) EXPECT_EQ(reader.Next({}), ReadResult::kFailed);
    EXPECT_EQ(reader.SkippedCount(), 0u);
  }
}

class MarcFile : public ::testing::Test {
 protected:
  TempFolder folder_;
};

TEST_F(MarcFile, ShowsWhatItReadsAndWhatItPassesOver) {
  const std::string& iso = kLong.iso;
  const std::string broken = Changed(iso, 55, "00999");
  const std::string mended = Changed(iso, 0, "00999");
  WriteWhole("records.iso", iso + "\r\n" + broken + mended + "\x1A");
  const uint64_t size = iso.size() * 3 + 3;
  CMARCFile file;
  CString record("before");
  std::string skipped;
  file.OnSkippedRecord([&](const SkippedRecord& stretch) {
    skipped += std::to_string(stretch.offset) + std::string(stretch.bytes) + std::string(stretch.reason);
  });
  EXPECT_EQ(file.NextRecord(record), -1);
  for (const char* name : {"missing.iso", "", "."}) EXPECT_EQ(file.Open(name), -1) << name;
  ASSERT_EQ(file.Open("records.iso"), 0);
  EXPECT_EQ(file.stream_size, size);
  EXPECT_EQ(file.ByteSize(), size);
  EXPECT_STREQ(file.GetCurRec(), "");
  ASSERT_EQ(file.NextRecord(record), 0);
  EXPECT_EQ(record.view(), kLong.read_from_iso);
  EXPECT_EQ(file.GetCurRec(), kLong.read_from_iso);
  EXPECT_EQ(file.CurrentRawBytes(), iso);
  EXPECT_EQ(file.stream_position, iso.size());
  record = "kept";
  ASSERT_EQ(file.NextRecord(record), 2);
  EXPECT_EQ(record, "kept");
  EXPECT_STREQ(file.GetCurRec(), "");
  EXPECT_EQ(skipped, std::to_string(iso.size() + 2) + broken + fault::kEntryOutside);
  ASSERT_EQ(file.NextRecord(record), 0);
  EXPECT_EQ(file.CurrentRawBytes(), mended);
  EXPECT_EQ(file.CurrentOffset(), iso.size() * 2 + 2);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(file.NextRecord(record), 1);
  EXPECT_EQ(file.stream_position, size);
  EXPECT_EQ(file.Close(), 0);
  EXPECT_EQ(file.RecordCount(), 2u);
  EXPECT_EQ(file.RepairedCount(), 1u);
  EXPECT_EQ(file.SkippedCount(), 1u);
  EXPECT_EQ(file.SkippedBytes(), broken.size());
  EXPECT_STREQ(file.GetCurRec(), "");
  EXPECT_EQ(file.NextRecord(record), -1);
  EXPECT_EQ(file.Close(), -1);
  ASSERT_EQ(file.Open("records.iso"), 0);
  EXPECT_EQ(file.RecordCount() + file.RepairedCount() + file.SkippedCount() + file.SkippedBytes(), 0u);
}

TEST_F(MarcFile, SizesBeyondFourGigabytesSaturate) {
  WriteWhole("large.iso", kOther.iso);
  std::filesystem::resize_file("large.iso", uint64_t{5} << 30);
  CMARCFile file;
  ASSERT_EQ(file.Open("large.iso"), 0);
  EXPECT_EQ(file.ByteSize(), uint64_t{5} << 30);
  EXPECT_EQ(file.stream_size, 0xFFFFFFFFu);
  CString record;
  EXPECT_EQ(file.NextRecord(record), 0);
  EXPECT_EQ(file.stream_position, kOther.iso.size());
}

// Real files, where they are at hand.
TEST(RealRecords, AreReadCompletely) {
  std::ifstream list(SourcePath("../shared/records/SOURCES.tsv"));
  std::string name;
  size_t size, sound, broken;
  std::getline(list, name);
  for (std::string rest; list >> name >> size >> sound >> broken; std::getline(list, rest)) {
    SCOPED_TRACE(name);
    const std::string bytes = ReadWhole(SourcePath("../shared/records/" + name));
    const RecordRun run = ReadAll(bytes);
    EXPECT_EQ(AccountFault(run, bytes), "");
    EXPECT_EQ(AccountFault(ReadAll(bytes, {.window = 100, .longest = 1000}, 33), bytes), "");
    if (name.starts_with("malformed")) continue;
    EXPECT_EQ(run.Texts().size(), sound);
    EXPECT_EQ(run.Reasons().size(), broken);
    EXPECT_EQ(run.repaired, 0u);
  }
}

}  // namespace
}  // namespace karst::testing

// Reading files of records: what stands beside a broken record is never lost, and every byte of a file is accounted
// for.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "records/cartulary.h"
#include "records/recordfault.h"
#include "support/places.h"
#include "support/record_run.h"
#include "support/temp_folder.h"

namespace {

namespace fault = karst::fault;
using karst::testing::AccountFault;
using karst::testing::Digits;
using karst::testing::InternalText;
using karst::testing::IsoBytes;
using karst::testing::IsoField;
using karst::testing::ReadAll;
using karst::testing::RecordRun;
using Texts = std::vector<std::string>;

const std::string kHeader = "00000nam0 2200000   450 ";
const std::vector<IsoField> kFields = {{"001", "CAL0012345"},
                                       {"010",
                                        "  \x1F"
                                        "a7-03\x1F"
                                        "d12.50"},
                                       {"200",
                                        "1 \x1F"
                                        "a流水账\x1F"
                                        "f李明著"}};
const std::vector<IsoField> kOther = {{"001", "X2"},
                                      {"200",
                                       "0 \x1F"
                                       "aB"}};

std::string Replaced(std::string text, size_t at, std::string_view bytes) {
  return text.replace(at, bytes.size(), bytes);
}
// The internal form of an ISO 2709 record of these fields.
std::string Expected(const std::string& iso, const std::vector<IsoField>& fields) {
  return InternalText(iso.substr(0, 24), fields);
}

// The same run at several sizes of the window and of the portions that the source gives.
RecordRun ReadEverySize(const std::string& bytes) {
  const RecordRun run = ReadAll(bytes);
  EXPECT_EQ(AccountFault(run, bytes), "");
  for (const size_t window : {1, 2, 63, 200}) {
    for (const size_t portion : {size_t{1}, size_t{7}, SIZE_MAX}) {
      const RecordRun other = ReadAll(bytes, {.window = window}, portion);
      EXPECT_EQ(AccountFault(other, bytes), "") << "window " << window << " portion " << portion;
      EXPECT_EQ(other.Texts(), run.Texts()) << "window " << window << " portion " << portion;
      EXPECT_EQ(other.Reasons(), run.Reasons()) << "window " << window << " portion " << portion;
    }
  }
  return run;
}

TEST(RecordReader, BothFormsAreToldApartRecordByRecord) {
  const std::string iso = IsoBytes(kFields);
  const std::string internal = InternalText(kHeader, kOther);
  const std::string tight = iso + internal + iso;
  const std::string loose = " \r\n" + iso + "\r\n \n" + internal + "   " + iso + "\r\n\x1A\x1A\r\n";
  for (const std::string& bytes : {tight, loose}) {
    const RecordRun run = ReadEverySize(bytes);
    EXPECT_EQ(run.Texts(), (Texts{Expected(iso, kFields), internal, Expected(iso, kFields)}));
    EXPECT_TRUE(run.Reasons().empty());
    EXPECT_EQ(run.repaired, 0u);
  }
}

TEST(RecordReader, NothingButSeparatorsHasNoRecord) {
  for (const char* bytes :
       {"", " ", "\r\n\r\n", "\x1A", "\r\n \x1A\r\n\x1A ", "                                        "}) {
    EXPECT_TRUE(ReadEverySize(bytes).pieces.empty()) << bytes;
  }
}

TEST(RecordReader, InternalRecordsThatLookLikeIsoAreReadAsTheyStand) {
  const std::string one_entry = InternalText("00120nam0 2200037   450 ", {{"001", "123456789"},
                                                                          {"200",
                                                                           "1 \x1F"
                                                                           "aA"}});
  const std::string texts[] = {
      one_entry,
      InternalText(kHeader, {}),
      InternalText(kHeader, {{"001", ""}}),
      InternalText("123456789012345678901234", kFields),
      InternalText("a header of 24 bytes ...", kFields),
      InternalText("流水账李明著流水账李明著", kFields),
      InternalText("00069nam0 2200049   450 ", {{"001", "123456789"}, {"005", "20260101"}}),
      InternalText("00048nam0 2200037   450 ", {{"001", "123456789"}}),
      InternalText(kHeader, {{"001", "123456789"}, {"005", "20260101"}}),
      InternalText("00127     2200000   450 ", {{"200",
                                                 "1 \x1F"
                                                 "aA"}}),
      InternalText("00999nam0 2200049   450 ", {{"001", "A1"}, {"009", "local"}}),
      InternalText(kHeader, {{"-01", "local"},
                             {"0 2",
                              "  \x1F"
                              "ax"}}),
  };
  for (const std::string& text : texts) {
    const RecordRun run = ReadEverySize(text + text);
    EXPECT_EQ(run.Texts(), (Texts{text, text}));
    EXPECT_TRUE(run.Reasons().empty());
  }
}

TEST(RecordReader, AHeaderMayBeginWithBlanks) {
  const std::string iso = IsoBytes(kOther);
  for (const std::string& header : {std::string("     nam0 22        450 "), std::string(24, ' ')}) {
    const std::string internal = InternalText(header, kFields);
    for (const char* between : {"", "\r\n"}) {
      const RecordRun run = ReadEverySize(internal + between + internal + between + iso);
      EXPECT_EQ(run.Texts(), (Texts{internal, internal, Expected(iso, kOther)}));
    }
  }
}

struct Damage {
  const char* name;
  std::string bytes;
  const char* reason;  // null: it is repaired, and gives
  std::string text;
};

std::vector<Damage> Damages() {
  const std::string iso = IsoBytes(kFields);
  const std::string text = Expected(iso, kFields);
  const std::string internal = InternalText(kHeader, kFields);
  const size_t base = 24 + 36 + 1;
  const auto changed = [&](size_t at, std::string_view bytes) { return Replaced(iso, at, bytes); };
  const auto mended = [&](size_t at, std::string_view bytes) { return Replaced(text, at, bytes); };
  const std::string swapped = iso.substr(0, 24) + iso.substr(48, 12) + iso.substr(24, 24) + iso.substr(60);
  const std::string no_last_mark = iso.substr(0, iso.size() - 2) + "\x1D";
  const std::string with_nul = IsoBytes({{"001", std::string("a\0b", 3)},
                                         {"200",
                                          "1 \x1F"
                                          "aA"}});
  const std::string with_end = IsoBytes({{"001", "a"},
                                         {"200",
                                          "1 \x1F"
                                          "aA\x1D"
                                          "B"}});
  const std::string with_mark = IsoBytes({{"001", "a"},
                                          {"200",
                                           "1 \x1F"
                                           "aA\x1E"
                                           "B"}});
  return {
      {"length too large", changed(0, "00999"), nullptr, mended(0, "00999")},
      {"length beyond the file", changed(0, "99999"), nullptr, mended(0, "99999")},
      {"length too small", changed(0, "00030"), nullptr, mended(0, "00030")},
      {"length 0", changed(0, "00000"), nullptr, mended(0, "00000")},
      {"base address wrong", changed(12, "00020"), nullptr, mended(12, "00020")},
      {"base address no number", changed(12, "x0061"), nullptr, mended(12, "x0061")},
      {"both numbers wrong", Replaced(changed(12, "99999"), 0, "00001"), nullptr,
       Replaced(mended(12, "99999"), 0, "00001")},
      {"entries out of order", swapped, nullptr,
       InternalText(text.substr(0, 24), {kFields[2], kFields[0], kFields[1]})},
      {"last 0x1E missing", no_last_mark, nullptr, text},
      {"length without 0x1E", changed(27, "0010"), nullptr, text},
      {"one length no number", changed(27, "00x1"), nullptr, text},
      {"one start no number", changed(43, "    x"), nullptr, text},
      {"internal, last 0x1E missing", internal.substr(0, internal.size() - 2) + "\x1D", nullptr, internal},

      {"length no number", changed(0, "x0061"), fault::kLengthNotNumber, ""},
      {"blank in the length", changed(0, "0 061"), fault::kLengthNotNumber, ""},
      {"0x1D missing", iso.substr(0, iso.size() - 1), fault::kNoRecordEnd, ""},
      {"cut in the data", iso.substr(0, iso.size() - 9), fault::kNoRecordEnd, ""},
      {"cut in the directory", iso.substr(0, 41), fault::kNoRecordEnd, ""},
      {"cut in the leader", iso.substr(0, 11), fault::kNoRecordEnd, ""},
      {"entry points outside", changed(55, "00999"), fault::kEntryOutside, ""},
      {"entry reaches outside", changed(51, "9999"), fault::kEntryOutside, ""},
      {"entries overlap", changed(43, "00003"), fault::kEntriesOverlap, ""},
      {"entries twice the same", changed(36, iso.substr(24, 12)), fault::kEntriesOverlap, ""},
      {"data left out", changed(43, "00013"), fault::kDataNotListed, ""},
      {"wrong length", changed(27, "0013"), fault::kEntryLength, ""},
      {"no number at all", changed(27, "xxxxxxxxx"), fault::kEntryNotNumber, ""},
      {"tag with a control byte", changed(36, "\x01"), fault::kBadTag, ""},
      {"tag in Chinese", changed(36, "账"), fault::kBadTag, ""},
      {"directory one byte short", iso.substr(0, 59) + iso.substr(60), fault::kDirectoryLength, ""},
      {"directory without its end", changed(base - 1, "x"), fault::kDirectoryLength, ""},
      {"NUL inside", with_nul, fault::kNulInside, ""},
      {"0x1D inside", with_end, fault::kRecordEndInside, ""},
      {"0x1E inside", with_mark, fault::kEntryLength, ""},
      {"internal, 0x1D missing", internal.substr(0, internal.size() - 1), fault::kNoRecordEnd, ""},
      {"internal, cut in a field", internal.substr(0, internal.size() - 7), fault::kNoRecordEnd, ""},
      {"internal, tag with a control byte", Replaced(internal, 24, "\x01"), fault::kBadTag, ""},
      {"internal, NUL inside", Replaced(internal, 30, std::string_view("\0", 1)), fault::kNulInside, ""},
      {"internal, field too short",
       kHeader + "001a\x1E"
                 "2\x1E\x1D",
       fault::kBadTag, ""},
      {"text", "Hello, world. This is a line of text.\x1D", fault::kNoRecord, ""},
      {"text without an end", "Hello, world. This is a line of text.", fault::kNoRecord, ""},
      {"one 0x1D", "\x1D", fault::kNoRecord, ""},
      {"NULs", std::string(700, '\0'), fault::kNoRecord, ""},
      {"24 bytes", kHeader, fault::kNoRecordEnd, ""},
      {"0x1A in the middle", "\x1A", fault::kEndMarkInside, ""},
  };
}

class DamagedRecord : public ::testing::TestWithParam<int> {};

TEST_P(DamagedRecord, LosesNoNeighbour) {
  const std::string iso = IsoBytes(kOther);
  const std::string internal = InternalText(kHeader, kOther);
  const std::string iso_text = Expected(iso, kOther);
  const bool iso_ahead = GetParam() & 1, iso_behind = GetParam() & 2, apart = GetParam() & 4;
  const std::string between = apart ? "\r\n" : "";
  for (const Damage& damage : Damages()) {
    SCOPED_TRACE(damage.name);
    const RecordRun run = ReadEverySize((iso_ahead ? iso : internal) + between + damage.bytes + between +
                                        (iso_behind ? iso : internal) + between + iso);
    Texts expected{iso_ahead ? iso_text : internal, iso_behind ? iso_text : internal, iso_text};
    if (!damage.reason) expected.insert(expected.begin() + 1, damage.text);
    EXPECT_EQ(run.Texts(), expected);
    EXPECT_EQ(run.Reasons(), damage.reason ? Texts{damage.reason} : Texts());
    EXPECT_EQ(run.repaired, damage.reason ? 0u : 1u);
  }
}

INSTANTIATE_TEST_SUITE_P(Neighbours, DamagedRecord, ::testing::Range(0, 8));

TEST(RecordReader, DamagedRecordsOneBehindTheOtherLoseNoRecord) {
  const std::string iso = IsoBytes(kOther);
  const std::string text = Expected(iso, kOther);
  const std::vector<Damage> damages = Damages();
  for (const Damage& first : damages) {
    for (const Damage& second : damages) {
      const std::string bytes = iso + first.bytes + second.bytes + iso;
      const RecordRun run = ReadAll(bytes);
      EXPECT_EQ(AccountFault(run, bytes), "") << first.name << " and " << second.name;
      const Texts texts = run.Texts();
      ASSERT_GE(texts.size(), 2u) << first.name << " and " << second.name;
      EXPECT_EQ(texts.front(), text);
      EXPECT_EQ(texts.back(), text) << first.name << " and " << second.name;
    }
  }
}

TEST(RecordReader, ARecordToBeRepairedIsFoundBehindOneThatBrokeOff) {
  const std::string iso = IsoBytes(kFields);
  for (const Damage& damage : Damages()) {
    // With both numbers wrong nothing tells where such a record begins.
    if (damage.reason || damage.name == std::string_view("both numbers wrong")) continue;
    SCOPED_TRACE(damage.name);
    for (const size_t length : {size_t{11}, size_t{41}, iso.size() - 9, iso.size() - 1}) {
      EXPECT_EQ(ReadEverySize(iso.substr(0, length) + damage.bytes).Texts(), Texts{damage.text});
    }
  }
}

// Read in the internal form, its directory and its data would pass for fields.
TEST(RecordReader, ABrokenIsoRecordOfPlainFieldsIsNoInternalRecord) {
  const std::string iso = IsoBytes({{"001", "X1 and more"}, {"005", "20260101"}});
  const std::string single = IsoBytes({{"001", "0023456789"}});
  const struct {
    std::string bytes;
    const char* reason;
  } kCases[] = {
      {Replaced(iso, 43, "00003"), fault::kEntriesOverlap},
      {Replaced(iso, 0, "x"), fault::kLengthNotNumber},
      {std::string(iso).erase(24, 12), fault::kDataNotListed},
      {std::string(iso).erase(36, 12), fault::kDataNotListed},
      {"    " + std::string(iso).erase(36, 12), fault::kDataNotListed},
      {std::string(iso).erase(48, 1), fault::kDirectoryLength},
      {std::string(iso).erase(50, 2), fault::kEntryLength},
      {Replaced(std::string(single).erase(30, 2), 0, "00099"), fault::kDirectoryLength},
      {std::string(single).erase(36, 1), fault::kDirectoryLength},
  };
  for (const auto& one : kCases) {
    const RecordRun run = ReadEverySize(one.bytes + iso);
    EXPECT_EQ(run.Reasons(), Texts{one.reason}) << one.bytes;
    EXPECT_EQ(run.Texts(), Texts{Expected(iso, {{"001", "X1 and more"}, {"005", "20260101"}})}) << one.bytes;
  }
  // Its directory fits, so that both numbers are mended.
  const RecordRun mended = ReadEverySize(Replaced(Replaced(iso, 0, "00001"), 12, "00002") + iso);
  EXPECT_EQ(mended.Texts().size(), 2u);
  EXPECT_EQ(mended.repaired, 1u);
}

// Bytes of sound records are overwritten, taken out and doubled.
TEST(RecordReader, AccountsForEveryByteOfGeneratedDamage) {
  std::mt19937 random(7);
  const std::string sound = IsoBytes(kFields) + InternalText(kHeader, kOther) + "\r\n" + IsoBytes(kOther) + "\x1A";
  const std::string_view bytes_to_put("\x1D\x1E\x1F\x1A\0 09x\r\n\xB0", 12);
  for (int i = 0; i < 1500; ++i) {
    std::string bytes = sound + sound;
    for (size_t count = random() % 6; count > 0; --count) {
      const size_t at = random() % bytes.size();
      const size_t length = random() % 30;
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

TEST(RecordReader, ARecordAsLongAsTheLimitIsReadAndALongerOneIsReported) {
  constexpr size_t kLongest = 200;
  const std::string iso = IsoBytes(kOther);
  const auto of_length = [](size_t length) {
    return InternalText(kHeader, {{"001", std::string(length - kHeader.size() - 5, 'x')}});
  };
  for (const size_t ahead : {0, 1, 150, 199, 200, 201, 399, 400, 401, 1000}) {
    SCOPED_TRACE(ahead);
    const std::string bytes = std::string(ahead, '#') + of_length(kLongest) + of_length(kLongest + 1) + iso;
    const RecordRun run = ReadAll(bytes, {.window = 16, .longest = kLongest});
    EXPECT_EQ(AccountFault(run, bytes), "");
    EXPECT_EQ(run.Texts(), (Texts{of_length(kLongest), Expected(iso, kOther)}));
    EXPECT_LE(run.longest_report, kLongest);
  }
}

// A method that looked at the rest anew for each candidate would take minutes for one of these.
TEST(RecordReader, TakesTimeInProportionToTheLength) {
  constexpr size_t kLength = 5 << 18;
  const std::string half = InternalText(kHeader, {}).substr(0, 24) + "001";
  const std::string parts[] = {"\x1E",
                               "0",
                               " ",
                               "00037",
                               "45",
                               "\x1E"
                               "0",
                               "2\x1E\x1E",
                               half,
                               IsoBytes(kOther).substr(0, 49),
                               half + "\x1E",
                               "   001\x1E"};
  for (const std::string& part : parts) {
    std::string bytes;
    while (bytes.size() < kLength) bytes += part;
    bytes += IsoBytes(kOther);
    const RecordRun run = ReadAll(bytes);
    EXPECT_EQ(AccountFault(run, bytes), "");
    EXPECT_EQ(run.Texts().back(), Expected(IsoBytes(kOther), kOther));
  }
}

TEST(RecordReader, AFailureOfTheSourceIsNoEnd) {
  const std::string iso = IsoBytes(kOther);
  for (const size_t held : {size_t{0}, size_t{10}, iso.size(), iso.size() + 10}) {
    const std::string bytes = (iso + iso).substr(0, held);
    karst::RecordReader reader(std::make_unique<karst::testing::MemorySource>(bytes, SIZE_MAX, true));
    if (held >= iso.size()) {
      EXPECT_EQ(reader.Next({}), karst::ReadResult::kRecord);
    }
    EXPECT_EQ(reader.Next({}), karst::ReadResult::kFailed);
    EXPECT_EQ(reader.Next({}), karst::ReadResult::kFailed);
    EXPECT_EQ(reader.SkippedCount(), 0u);
  }
}

class MarcFile : public ::testing::Test {
 protected:
  static void Write(const char* name, std::string_view bytes) { std::ofstream(name, std::ios::binary) << bytes; }
  karst::testing::TempFolder folder_;
};

TEST_F(MarcFile, TellsWhatItReadsAndWhatItPassesOver) {
  const std::string iso = IsoBytes(kFields);
  const std::string broken = Replaced(iso, 55, "00999");
  const std::string mended = Replaced(iso, 0, "00999");
  Write("records.iso", iso + "\r\n" + broken + mended + "\x1A");
  const uint64_t size = iso.size() * 3 + 3;

  CMARCFile file;
  std::vector<std::string> skipped;
  std::vector<uint64_t> offsets;
  file.OnSkippedRecord([&](const karst::SkippedRecord& stretch) {
    skipped.emplace_back(stretch.bytes);
    skipped.emplace_back(stretch.reason);
    offsets.push_back(stretch.offset);
  });
  ASSERT_EQ(file.Open("records.iso"), 0);
  EXPECT_EQ(file.stream_size, size);
  EXPECT_EQ(file.ByteSize(), size);
  EXPECT_STREQ(file.GetCurRec(), "");
  CString record("before");
  ASSERT_EQ(file.NextRecord(record), 0);
  EXPECT_EQ(record.view(), Expected(iso, kFields));
  EXPECT_EQ(file.GetCurRec(), Expected(iso, kFields));
  EXPECT_EQ(file.CurrentRawBytes(), iso);
  EXPECT_EQ(file.stream_position, iso.size());
  record = "kept";
  ASSERT_EQ(file.NextRecord(record), 2);
  EXPECT_EQ(record, "kept");
  EXPECT_STREQ(file.GetCurRec(), "");
  EXPECT_EQ(skipped, (std::vector<std::string>{broken, fault::kEntryOutside}));
  EXPECT_EQ(offsets, std::vector<uint64_t>{iso.size() + 2});
  ASSERT_EQ(file.NextRecord(record), 0);
  EXPECT_EQ(file.CurrentRawBytes(), mended);
  EXPECT_EQ(file.CurrentOffset(), iso.size() * 2 + 2);
  EXPECT_EQ(file.NextRecord(record), 1);
  EXPECT_EQ(file.NextRecord(record), 1);
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

TEST_F(MarcFile, OpensNothingThatIsNoFile) {
  CMARCFile file;
  CString record;
  EXPECT_EQ(file.NextRecord(record), -1);
  for (const char* name : {"missing.iso", "", "."}) {
    EXPECT_EQ(file.Open(name), -1) << name;
    EXPECT_EQ(file.NextRecord(record), -1) << name;
  }
  Write("empty.iso", "");
  EXPECT_EQ(file.Open("empty.iso"), 0);
  EXPECT_EQ(file.NextRecord(record), 1);
}

TEST_F(MarcFile, AHandlerThatThrowsLeavesTheStretchBehindIt) {
  Write("records.iso", "garbage\x1D" + IsoBytes(kOther));
  CMARCFile file;
  file.OnSkippedRecord([](const karst::SkippedRecord&) { throw std::runtime_error("enough"); });
  ASSERT_EQ(file.Open("records.iso"), 0);
  CString record;
  EXPECT_THROW(file.NextRecord(record), std::runtime_error);
  EXPECT_EQ(file.stream_position, 8u);
  EXPECT_EQ(file.NextRecord(record), 0);
}

TEST_F(MarcFile, ReadsAPipe) {
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const std::string iso = IsoBytes(kFields);
  constexpr int kCount = 5000;
  std::thread writer([&] {
    std::ofstream pipe("pipe", std::ios::binary);
    for (int i = 0; i < kCount; ++i) pipe << iso << "\n";
  });
  CMARCFile file;
  ASSERT_EQ(file.Open("pipe"), 0);
  EXPECT_EQ(file.ByteSize(), 0u);
  CString record;
  while (file.NextRecord(record) == 0) EXPECT_EQ(record.view(), Expected(iso, kFields));
  writer.join();
  EXPECT_EQ(file.RecordCount(), static_cast<uint64_t>(kCount));
  EXPECT_EQ(file.BytePosition(), kCount * (iso.size() + 1));
}

TEST_F(MarcFile, SizesBeyondFourGigabytesSaturate) {
  Write("large.iso", IsoBytes(kOther));
  std::filesystem::resize_file("large.iso", uint64_t{5} << 30);
  CMARCFile file;
  ASSERT_EQ(file.Open("large.iso"), 0);
  EXPECT_EQ(file.ByteSize(), uint64_t{5} << 30);
  EXPECT_EQ(file.stream_size, 0xFFFFFFFFu);
  CString record;
  EXPECT_EQ(file.NextRecord(record), 0);
  EXPECT_EQ(file.stream_position, IsoBytes(kOther).size());
}

std::string FileBytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Fields of a record by its own directory, taken at its word.
std::string InternalFormOf(const std::string& iso) {
  const size_t base = std::stoul(iso.substr(12, 5));
  std::string text = iso.substr(0, 24);
  for (size_t entry = 24; entry + 12 < base; entry += 12) {
    text += iso.substr(entry, 3) +
            iso.substr(base + std::stoul(iso.substr(entry + 7, 5)), std::stoul(iso.substr(entry + 3, 4)));
  }
  return text + '\x1D';
}

struct KnownFile {
  std::string name;
  size_t sound;
  size_t broken;
};

std::vector<KnownFile> KnownFiles(const std::filesystem::path& folder) {
  std::vector<KnownFile> files;
  std::ifstream list(folder / "SOURCES.tsv");
  std::string line;
  std::getline(list, line);
  while (std::getline(list, line)) {
    std::istringstream columns(line);
    KnownFile file;
    size_t bytes;
    if (columns >> file.name >> bytes >> file.sound >> file.broken) files.push_back(file);
  }
  return files;
}

TEST(RealRecords, AreReadCompletely) {
  const std::filesystem::path folder = karst::testing::SourcePath("../shared/records");
  if (!std::filesystem::exists(folder)) {
    std::cout << "no real records: " << folder << " is not there\n";
    return;
  }
  const std::vector<KnownFile> files = KnownFiles(folder);
  EXPECT_FALSE(files.empty());
  for (const KnownFile& known : files) {
    SCOPED_TRACE(known.name);
    const std::string bytes = FileBytes(folder / known.name);
    const RecordRun run = ReadAll(bytes);
    EXPECT_EQ(AccountFault(run, bytes), "");
    EXPECT_EQ(AccountFault(ReadAll(bytes, {.window = 100, .longest = 1000}, 33), bytes), "");
    if (known.name.starts_with("malformed")) continue;
    EXPECT_EQ(run.Texts().size(), known.sound);
    EXPECT_EQ(run.Reasons().size(), known.broken);
    EXPECT_EQ(run.repaired, 0u);
    for (const RecordRun::Piece& piece : run.pieces) {
      if (piece.is_record) {
        ASSERT_EQ(piece.text, InternalFormOf(piece.bytes));
      }
    }
  }
}

}  // namespace

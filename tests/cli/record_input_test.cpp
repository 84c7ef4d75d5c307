// RecordInput: any file as a stream of GBK records.
#include "cli/records/record_input.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <numeric>
#include <vector>

#include "cli/record_maker.h"
#include "cli/records/line_format.h"
#include "cli/records/reversible.h"
#include "cli/records/xml_format.h"
#include "support/child_process.h"
#include "support/places.h"
#include "support/temp_folder.h"

namespace karst::cli {
namespace {

using testing::InternalText;
using testing::IsoBytes;
using testing::MemorySource;
using testing::ReadWhole;
using testing::SourcePath;
using testing::TempFolder;
using testing::WriteWhole;

std::string Gzip(std::string_view bytes) {
  constexpr int kGzip = 16 + MAX_WBITS;
  z_stream stream{};
  deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzip, 8, Z_DEFAULT_STRATEGY);
  std::string packed(bytes.size() + 1000, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

struct Reading {
  std::vector<std::string> records;
  std::vector<std::string> passed_over;
  int last = 0;
  std::string failure;
  uint64_t references = 0;
};

Reading ReadFrom(std::string_view bytes, RecordInputOptions options = {}, size_t portion = SIZE_MAX,
                 bool fails = false) {
  RecordInput input(options);
  Reading reading;
  input.OnSkippedRecord([&](const SkippedRecord& skipped) { reading.passed_over.emplace_back(skipped.bytes); });
  reading.last = input.OpenSource(std::make_unique<MemorySource>(bytes, portion, fails), bytes.size());
  CString record;
  while (reading.last == 0 || reading.last == 2) {
    reading.last = input.NextRecord(record);
    if (reading.last == 0) {
      EXPECT_STREQ(input.GetCurRec(), record);
      reading.records.emplace_back(record);
    }
  }
  reading.failure = input.Failure();
  reading.references = input.ReferenceCount();
  return reading;
}

const std::string kUtf8Title =
    "1 \x1F"
    "a\xE4\xB8\xAD\xE5\x9B\xBD\xE6\x96\x87\xE5\x8C\x96 \xC2\xA9 &#169;";
const std::string kGbkTitle =
    "1 \x1F"
    "a\xD6\xD0\xB9\xFA\xCE\xC4\xBB\xAF &#169; &#38;#169;";

TEST(RecordInput, GivesTheSameRecordsWhateverTheyArePackedIn) {
  const std::string iso = ReadWhole(SourcePath("examples/books.iso"));
  const std::vector<std::string> expected = ReadFrom(iso).records;
  ASSERT_EQ(expected.size(), 32u);
  EXPECT_EQ(expected, testing::ReadAll(iso).Texts());
  std::string internal;
  std::string xml = std::string(kXmlStart);
  for (const std::string& record : expected) {
    internal += record + "\r\n";
    std::string utf8;
    ToUtf8Reversibly(record, utf8);
    AppendXmlRecord(utf8, xml);
  }
  xml += kXmlEnd;
  std::string gbk_xml = "<?xml version='1.0' encoding='GBK'?>";
  ToGbkReversibly(std::string_view(xml).substr(xml.find('\n')), gbk_xml);
  for (const std::string& file :
       {internal, xml, gbk_xml, Gzip(iso), Gzip(xml), Gzip(iso.substr(0, 8000)) + Gzip(iso.substr(8000)),
        Gzip(iso) + std::string(100, '\0')}) {
    for (const size_t portion : {size_t{1}, size_t{1000}, SIZE_MAX}) {
      const Reading reading = ReadFrom(file, {}, portion);
      EXPECT_EQ(reading.last, 1) << reading.failure;
      EXPECT_EQ(reading.records, expected);
      EXPECT_TRUE(reading.passed_over.empty());
    }
  }
}

TEST(RecordInput, CharsetsAreFoundOutRecordByRecord) {
  const std::string utf8 = IsoBytes({{"200", kUtf8Title}});
  const std::string gbk = IsoBytes({{"200", kGbkTitle}});
  const std::string ascii = IsoBytes({{"200",
                                       "1 \x1F"
                                       "a&#169;"}});
  const Reading reading = ReadFrom(utf8 + ascii + gbk + ascii);
  ASSERT_EQ(reading.records.size(), 4u);
  const auto title = [&](size_t i) { return reading.records[i].substr(27, reading.records[i].size() - 29); };
  EXPECT_EQ(title(0), kGbkTitle);
  EXPECT_EQ(title(1),
            "1 \x1F"
            "a&#38;#169;");
  EXPECT_EQ(title(2), kGbkTitle);
  EXPECT_EQ(title(3),
            "1 \x1F"
            "a&#169;");
  EXPECT_EQ(reading.references, 1u);
  const Reading forced = ReadFrom(utf8, {.charset = RecordCharset::kGbk});
  EXPECT_EQ(forced.records.at(0).substr(27, kUtf8Title.size()), kUtf8Title);
}

TEST(RecordInput, WhatStandsInFrontOfTheFirstRecordHidesNone) {
  const std::string iso = IsoBytes({{"001", "a"}, {"200", kGbkTitle}}) + IsoBytes({{"001", "b"}});
  const std::vector<std::string> expected = ReadFrom(iso).records;
  std::string lines = "\n\n";
  std::string xml = "<collection>";
  for (const std::string& record : expected) AppendLines(record, lines);
  for (const std::string& record : expected) AppendXmlRecord(record, xml);
  xml += "</collection>";
  const std::string page = "<html>" + std::string(70000, 'x') + "</html>";
  const struct {
    std::string front;
    std::string file;
    std::string passed_over;
  } kCases[] = {
      {"<", iso, "<"},
      {"\r\n \xEF\xBB\xBF<", iso, "\xEF\xBB\xBF<"},
      {"LDR", iso, "LDR"},
      {"LDR ", iso, "LDR "},
      {"\xFF\xFE", iso, "\xFF\xFE"},
      {"\x1F\x8B", iso, "\x1F\x8B"},
      {"\x1F\x8B\x08", iso, "\x1F\x8B\x08"},
      {page, iso, page},
      {"<", lines, "<\n\n"},
      {"LDR", lines, "LDR\n\n"},
      {"00123 a line\n001 b", lines, "00123 a line\n001 b\n\n"},
      {"<", xml, "<"},
      {"LDR 00123", xml, "LDR 00123"},
      {"", xml + iso, iso},
      {"", iso + xml, xml},
  };
  for (const auto& one : kCases) {
    for (const size_t portion : {size_t{100}, SIZE_MAX}) {
      const Reading reading = ReadFrom(one.front + one.file, {}, portion);
      EXPECT_EQ(reading.records.size(), expected.size()) << one.front.substr(0, 9);
      EXPECT_EQ(std::accumulate(reading.passed_over.begin(), reading.passed_over.end(), std::string()),
                one.passed_over);
      EXPECT_EQ(reading.last, 1);
    }
  }
  for (const std::string empty : {"", " \r\n\n"}) EXPECT_EQ(ReadFrom(empty).last, 1);
}

TEST(RecordInput, DamageOfTheFileIsAFailureBehindWhatCouldBeRead) {
  const std::string iso = ReadWhole(SourcePath("examples/books.iso"));
  const std::string packed = Gzip(iso);
  std::string xml;
  AppendXmlRecord(InternalText("00000nam0 2200000   450 ", {{"001", "x"}}), xml);
  std::string flipped = packed;
  flipped[flipped.size() - 6] ^= 1;  // in the checksum
  std::string utf16 = "\xFF\xFE";
  for (const char byte : std::string("<collection>")) utf16 += {byte, '\0'};
  utf16 += std::string("\0\xD8<\0", 4);
  const struct {
    std::string file;
    bool fails;
    size_t least;
    const char* failure;
  } kCases[] = {
      {packed.substr(0, packed.size() - 9), false, 30, "break off"},
      {packed.substr(0, 400), false, 0, "break off"},
      {flipped, false, 30, "damaged"},
      {packed + "other", false, 32, "other bytes"},
      {packed.substr(0, packed.size() - 9), true, 30, "cannot be read on"},
      {iso.substr(0, 5000), true, 5, "cannot be read on"},
      {"<?xml version='1.0' encoding='no-such'?><collection/>", false, 0, "unknown charset no-such"},
      {utf16, false, 0, "do not belong to the charset"},
      {"<c:collection><c/>" + xml, false, 1, "the element c:collection has no end"},
      {"<html><body>a page</body></html>", false, 0, "no record in any format"},
  };
  for (const auto& one : kCases) {
    const Reading reading = ReadFrom(one.file, {}, SIZE_MAX, one.fails);
    EXPECT_EQ(reading.last, -1) << one.failure;
    EXPECT_GE(reading.records.size(), one.least) << one.failure;
    EXPECT_NE(reading.failure.find(one.failure), std::string::npos) << reading.failure << " for " << one.failure;
  }
}

TEST(RecordInput, FilesAreOpenedByNameAndTellTheirPlace) {
  const TempFolder folder;
  const std::string iso = IsoBytes({{"001", "x"}});
  WriteWhole("\xE4\xB9\xA6.gz", Gzip(iso + "junk" + iso));  // the name in UTF-8
  RecordInput input;
  EXPECT_EQ(input.Open("none"), -1);
  EXPECT_NE(input.Failure(), "");
  EXPECT_EQ(input.Open("."), -1);
  ASSERT_EQ(input.Open("书.gz"), 0);
  EXPECT_TRUE(input.IsCompressed());
  CString record = "before";
  EXPECT_EQ(input.NextRecord(record), 0);
  EXPECT_EQ(input.CurrentRawBytes(), iso);
  EXPECT_EQ(input.NextRecord(record), 2);
  EXPECT_STREQ(input.GetCurRec(), "");
  EXPECT_EQ(input.NextRecord(record), 0);
  EXPECT_EQ(input.CurrentOffset(), iso.size() + 4);
  EXPECT_EQ(input.NextRecord(record), 1);
  EXPECT_EQ(input.SkippedBytes(), 4u);
  EXPECT_EQ(input.RecordCount(), 2u);
  EXPECT_EQ(input.BytePosition(), input.ByteSize());
  EXPECT_EQ(input.Close(), 0);
  EXPECT_EQ(input.Close(), -1);
  EXPECT_EQ(input.NextRecord(record), -1);
}

}  // namespace
}  // namespace karst::cli

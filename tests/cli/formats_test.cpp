// The line form and MARCXML: what is written is read back byte by byte, and what is damaged is told, not lost.
#include <gtest/gtest.h>

#include "cli/base/encoding.h"
#include "cli/record_maker.h"
#include "cli/records/line_format.h"
#include "cli/records/record_parser.h"
#include "cli/records/xml_format.h"
#include "support/child_process.h"
#include "support/places.h"

namespace karst::cli {
namespace {

using testing::InternalText;
using testing::MemorySource;
using testing::RecordMaker;

struct Piece {
  bool is_record;
  std::string text;  // of a record in the internal form; of another stretch its bytes
  std::string raw;
  uint64_t offset;
  std::string reason;
};

std::vector<Piece> ReadPieces(std::unique_ptr<RecordParser> parser) {
  std::vector<Piece> pieces;
  while (true) {
    const ReadResult result = parser->Next([&](const SkippedRecord& skipped) {
      pieces.push_back({false, std::string(skipped.bytes), std::string(skipped.bytes), skipped.offset, skipped.reason});
    });
    if (result == ReadResult::kEnd || result == ReadResult::kFailed) return pieces;
    if (result != ReadResult::kRecord) continue;
    pieces.push_back({true, std::string(parser->Text()), std::string(parser->RawBytes()), parser->RecordOffset(), ""});
  }
}

std::vector<Piece> ReadLines(std::string_view bytes, size_t portion = SIZE_MAX) {
  return ReadPieces(MakeLineParser(std::make_unique<MemorySource>(bytes, portion)));
}
std::vector<Piece> ReadXml(std::string_view bytes, size_t portion = SIZE_MAX) {
  return ReadPieces(MakeXmlParser(std::make_unique<MemorySource>(bytes, portion)));
}

std::string LinesOf(std::string_view record) {
  std::string lines;
  AppendLines(record, lines);
  return lines;
}
std::string XmlOf(std::string_view record) {
  std::string xml;
  AppendXmlRecord(record, xml);
  return xml;
}

constexpr std::string_view kLeader = "00312nam0 2200133   450 ";

TEST(LineForm, SpellsWhatAnEditorWouldLose) {
  const std::string record = InternalText(kLeader, {{"001", " a\\b "},
                                                    {"200",
                                                     "1 \x1F"
                                                     "a\xCA\xE9\xC3\xFB $5\x1F"
                                                     "f\x81\x5C\xFF"},
                                                    {"300", "_ "},
                                                    {"301", ""},
                                                    {"LDR", "00\r\n"},
                                                    {"9 9",
                                                     "\x1B"
                                                     "x"}});
  const std::string lines =
      "LDR 00312nam0 2200133   450\\s\n"
      "001 \\sa\\\\b\\s\n"
      "200 1_$a\xCA\xE9\xC3\xFB \\$5$f\x81\x5C\\xFF\n"
      "300 \\__\n"
      "301\n"
      "\\x4CDR 00\\x0D\\x0A\n"
      "9\\s9 \\x1Bx\n"
      "\n";
  EXPECT_EQ(LinesOf(record), lines);
  const auto pieces = ReadLines(lines);
  ASSERT_EQ(pieces.size(), 1u);
  EXPECT_EQ(pieces[0].text, record);
}

TEST(LineForm, ReadsWhatAnEditorHasMadeOfIt) {
  const std::string expected = InternalText(kLeader, {{"001", "x"},
                                                      {"200",
                                                       "1 \x1F"
                                                       "aT"},
                                                      {"300", ""}});
  for (const std::string text : {
           "LDR 00312nam0 2200133   450\\s\r\n001 x   \r\n200 1_$aT\r\n300 \r\n \r\n\r\n",
           "\xEF\xBB\xBF\n\nLDR 00312nam0 2200133   450\\s\n001 x\n200 1 $a\\x54\n300",
       }) {
    for (const size_t portion : {size_t{1}, SIZE_MAX}) {
      const auto pieces = ReadLines(text, portion);
      ASSERT_EQ(pieces.size(), 1u) << text;
      EXPECT_EQ(pieces[0].text, expected) << text;
    }
  }
}

TEST(LineForm, TellsWhatIsWrongAndGoesOn) {
  const std::string good = "LDR 00312nam0 2200133   450\\s\n001 good\n";
  const struct {
    std::string bad;
    const char* reason;
  } kCases[] = {
      {"stray line\nanother\n", "行不在记录之内"},
      {"LDR 00312nam0 2200133   45\n001 x\n", "第1行：头标不是24个字节"},
      {"LDR\n001 x\n", "第1行：头标不是24个字节"},
      {"LDR 00312nam0 2200133   450\\s\n001 x\n20\n", "第3行：字段号不是三个可见字符"},
      {"001 without its leader\n200 1_$aT\n \r\n", "行不在记录之内"},
      {"LDR 00312nam0 2200133   450\\s\n2001_$aT\n", "第2行：字段号后面没有空格"},
      {"LDR 00312nam0 2200133   450\\s\n200 \\q\n", "第2行：“\\”后面不对"},
      {"LDR 00312nam0 2200133   450\\s\n200 \\x1\n", "第2行：“\\”后面不对"},
      {"LDR 00312nam0 2200133   450\\s\n200 a\\\n", "第2行：“\\”后面不对"},
      {"LDR 00312nam0 2200133   450\\s\n200 a\\x1E\n", "第2行：有不能写入记录的控制符"},
      {"LDR 00312nam0 2200133   45\\x00\\s\n", "第1行：有不能写入记录的控制符"},
  };
  for (const auto& one : kCases) {
    for (const bool in_front : {true, false}) {
      // Only a blank line parts stray lines from the record in front of them.
      const std::string text = in_front ? one.bad + good : good + " \t\n" + one.bad;
      const auto pieces = ReadLines(text);
      ASSERT_EQ(pieces.size(), 2u) << text;
      const Piece& fault = pieces[in_front ? 0 : 1];
      EXPECT_FALSE(fault.is_record);
      EXPECT_EQ(fault.reason, one.reason);
      EXPECT_EQ(fault.raw, one.bad);
      EXPECT_EQ(fault.offset, in_front ? 0 : good.size() + 3);
      EXPECT_TRUE(pieces[in_front ? 1 : 0].is_record);
    }
  }
}

std::string InXml(const std::string& inner) {
  return "<record><leader>" + std::string(kLeader) + "</leader>" + inner + "</record>";
}

TEST(MarcXml, HoldsWhatXmlCannot) {
  const std::string record = InternalText(kLeader, {{"001", "a\x1B<&>\"\r\n\t"},
                                                    {"200",
                                                     "1 \x1F"
                                                     "a&#27;\x1F"
                                                     "bc\xFF"},
                                                    {"300", "no marks"},
                                                    {"301", "  "},
                                                    {"302", "1"},
                                                    {"303", "  \x1F"}});
  const std::string xml = XmlOf(record);
  EXPECT_EQ(xml,
            "<record>\n  <leader>00312nam0 2200133   450 </leader>\n"
            "  <controlfield tag=\"001\">a&amp;#27;&lt;&amp;&gt;&quot;&#13;&#10;&#9;</controlfield>\n"
            "  <datafield tag=\"200\" ind1=\"1\" ind2=\" \">\n"
            "    <subfield code=\"a\">&amp;#38;#27;</subfield>\n"
            "    <subfield code=\"b\">c&amp;#56575;</subfield>\n"
            "  </datafield>\n"
            "  <controlfield tag=\"300\">no marks</controlfield>\n"
            "  <datafield tag=\"301\" ind1=\" \" ind2=\" \">\n  </datafield>\n"
            "  <controlfield tag=\"302\">1</controlfield>\n"
            "  <controlfield tag=\"303\">  &amp;#31;</controlfield>\n"
            "</record>\n");
  const auto pieces = ReadXml(xml);
  ASSERT_EQ(pieces.size(), 1u);
  EXPECT_EQ(pieces[0].text, record);
}

TEST(MarcXml, ReadsWhatOthersWrite) {
  const std::string expected = InternalText(kLeader, {{"001", "x"},
                                                      {"245",
                                                       "1 \x1F"
                                                       "aT & \xE4\xB8\xAD"}});
  const std::string inner =
      "<controlfield tag='001'>x</controlfield><datafield ind2='' ind1='1' tag='245' id='k>1'>"
      "<!-- </record> --><subfield code='a'>T <![CDATA[&]]> &#x4E2D;</subfield></datafield>";
  const std::string plain = InXml(inner);
  std::string prefixed = plain;
  for (const char* name : {"record", "leader", "controlfield", "datafield", "subfield"}) {
    for (const std::string start : {"<", "</"}) {
      for (size_t at = 0; (at = prefixed.find(start + name, at)) != std::string::npos; at += 3) {
        if (prefixed.compare(at + 9, 4, " -->") != 0) prefixed.insert(at + start.size(), "m:");
      }
    }
  }
  for (const std::string& text : {
           plain,
           "\xEF\xBB\xBF<?xml version='1.0'?><!DOCTYPE x [<!ENTITY e 'v'>]><!-- <record> --><c>" + plain + "</c>\n",
           "<m:c xmlns:m='u'>" + prefixed + "</m:c>",
           "<record><header>id</header><metadata>" + prefixed + "</metadata></record>",
           "<!DOCTYPE c [<!-- isn't > --><!ELEMENT c ANY>]><c/><c a='>'>a < b<c><br>" + plain + "</c></c>",
       }) {
    for (const size_t portion : {size_t{1}, size_t{7}, SIZE_MAX}) {
      const auto pieces = ReadXml(text, portion);
      ASSERT_EQ(pieces.size(), 1u) << text;
      EXPECT_EQ(pieces[0].text, expected) << text << pieces[0].reason;
      EXPECT_EQ(pieces[0].offset, text.find(pieces[0].raw));
    }
  }
}

TEST(MarcXml, TellsWhatIsWrongAndGoesOn) {
  const std::string good = InXml("<controlfield tag='001'>good</controlfield>");
  const struct {
    std::string bad;
    const char* reason;  // its begin
  } kCases[] = {
      {"<record></record>", "头标不是24个字节"},
      {"<record/>", "头标不是24个字节"},
      {"<record><leader>short</leader></record>", "头标不是24个字节"},
      {InXml("<datafield tag='20'/>"), "字段号不是三个可见字符"},
      {InXml("<datafield tag='200' ind1='11'/>"), "指示符不是一个可见字符"},
      {InXml("<datafield tag='200'><subfield>x</subfield></datafield>"), "子字段标识符不是一个可见字符"},
      {InXml("<datafield tag='200'>x</datafield>"), "字段之外有文字"},
      {InXml("<note>x</note>"), "记录内不能有元素<note>"},
      {InXml("<controlfield tag='001'>&e;</controlfield>"), "XML有错"},
      {InXml("<controlfield tag='001'>x</datafield>"), "XML有错"},
      {InXml("<controlfield tag='001'>\xD6\xD0</controlfield>"), "XML有错"},
      {InXml("<controlfield tag='001'>&amp;#30;</controlfield>"), "有不能写入记录的控制符"},
      {"<record><leader>x</leader><controlfield tag='001'>broken off\n", "记录没有结束标记"},
      {"<datafield tag='200'><subfield code='a'>lost its record</subfield></datafield>", "字段不在记录之内"},
      {"its record</subfield></datafield></record>", "不是XML的内容"},
      {"<00123nam0 2200049   450 001000300000\x1EX2\x1E\x1D", "不是XML的内容"},
  };
  for (const auto& one : kCases) {
    const auto pieces = ReadXml(one.bad + good);
    ASSERT_EQ(pieces.size(), 2u) << one.bad;
    EXPECT_FALSE(pieces[0].is_record) << one.bad;
    EXPECT_TRUE(pieces[0].reason.starts_with(one.reason)) << ToUtf8(pieces[0].reason);
    EXPECT_EQ(pieces[0].raw, one.bad);
    EXPECT_TRUE(pieces[1].is_record);
  }
  EXPECT_EQ(ReadXml(good + "<!-- no end " + good).size(), 3u);
  const auto pieces = ReadXml("<c>text" + good + "\x1EX2\x1E\x1D<record>no end</c>" + good);
  ASSERT_EQ(pieces.size(), 4u);
  EXPECT_EQ(pieces[1].raw, "\x1EX2\x1E\x1D");
  EXPECT_EQ(pieces[2].raw, "<record>no end");
  EXPECT_TRUE(pieces[3].is_record);
}

// With a search to the end for each of these, a file of this size would take hours.
TEST(RecordForms, BrokenMarkupCostsNoMoreThanReadingIt) {
  for (const std::string piece : {"<!--", "<![CDATA[", "<?", "<!x[", "<!x\"", "<x \"", "<record><x>", "<record>",
                                  "<record \"", "</record ", "<record><leader>", "<", "\nLDRx", " \r"}) {
    std::string text = piece.find("LDR") != std::string::npos || piece[0] == ' ' ? "LDR" : "<record><leader>";
    while (text.size() < size_t{1} << 20) text += piece;
    size_t records = 0;
    uint64_t bytes = 0;
    for (const Piece& found : text[0] == 'L' ? ReadLines(text) : ReadXml(text)) {
      records += found.is_record;
      bytes += found.raw.size();
    }
    EXPECT_EQ(records, 0u) << piece;
    EXPECT_GT(bytes, piece == "<record><x>" ? 0 : text.size() / 2) << piece;
  }
}

void ExpectBothForms(const std::string& record, size_t portion) {
  const auto lines = ReadLines(LinesOf(record), portion);
  ASSERT_EQ(lines.size(), 1u);
  ASSERT_EQ(lines[0].text, record) << LinesOf(record) << ToUtf8(lines[0].reason);
  const auto xml = ReadXml(XmlOf(record), portion);
  ASSERT_EQ(xml.size(), 1u);
  ASSERT_EQ(xml[0].text, record) << XmlOf(record) << ToUtf8(xml[0].reason);
}

TEST(RecordForms, AnyRecordComesBack) {
  RecordMaker maker(3);
  for (int i = 0; i < 5000; ++i) ExpectBothForms(maker.Record(), i % 7 == 0 ? 3 : SIZE_MAX);
}

TEST(RecordForms, WhatDamagedFilesStillHoldComesBack) {
  const std::string sound = testing::ReadWhole(testing::SourcePath("examples/books.iso")).substr(0, 6000);
  RecordMaker maker(4);
  size_t records = 0;
  for (int i = 0; i < 200; ++i) {
    std::string damaged = sound;
    for (size_t hits = 1 + maker.Below(20); hits > 0; --hits) {
      damaged[maker.Below(damaged.size())] = static_cast<char>(maker.Below(256));
    }
    for (const std::string& text : testing::ReadAll(damaged).Texts()) {
      ++records;
      ASSERT_NO_FATAL_FAILURE(ExpectBothForms(text, SIZE_MAX));
    }
  }
  EXPECT_GT(records, 200u);
}

}  // namespace
}  // namespace karst::cli

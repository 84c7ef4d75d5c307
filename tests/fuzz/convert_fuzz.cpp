// Fuzzes the readers of all formats, and the way of each record through the line form, MARCXML and the charsets: it has
// to come back byte by byte, and the portions in which a file comes must not matter.
#include <string>
#include <utility>
#include <vector>

#include "cli/base/reversible_encoding.h"
#include "cli/records/line_format.h"
#include "cli/records/record_input.h"
#include "cli/records/record_parser.h"
#include "cli/records/record_writer.h"
#include "cli/records/xml_format.h"
#include "support/fuzz_input.h"
#include "support/record_run.h"

namespace {

using namespace karst;
using namespace karst::cli;
using karst::testing::Require;

struct Found {
  std::vector<std::string> records;
  std::vector<std::pair<uint64_t, std::string>> passed_over;
  bool operator==(const Found&) const = default;
};

Found ReadThrough(const std::string& bytes, RecordInputOptions options, size_t portion) {
  Found found;
  RecordInput input(options);
  input.OnSkippedRecord([&](const SkippedRecord& skipped) {
    Require(skipped.reason && *skipped.reason && !skipped.bytes.empty());
    found.passed_over.emplace_back(skipped.offset, skipped.bytes);
  });
  int result = input.OpenSource(std::make_unique<karst::testing::MemorySource>(bytes, portion), bytes.size());
  CString record;
  while (result == 0 || result == 2) {
    result = input.NextRecord(record);
    if (result == 0) found.records.emplace_back(record.view());
  }
  Require(result == 1 || !input.Failure().empty());
  return found;
}

std::string Only(std::unique_ptr<RecordParser> parser) {
  Require(parser->Next({}) == ReadResult::kRecord);
  std::string text(parser->Text());
  Require(parser->Next({}) == ReadResult::kEnd);
  return text;
}

void CheckRecord(const std::string& record) {
  using karst::testing::MemorySource;
  std::string lines, xml, utf8, gbk;
  AppendLines(record, lines);
  Require(Only(MakeLineParser(std::make_unique<MemorySource>(lines, 5))) == record);
  AppendXmlRecord(record, xml);
  Require(Only(MakeXmlParser(std::make_unique<MemorySource>(xml, 5))) == record);
  ToUtf8Reversibly(record, utf8);
  ToGbkReversibly(utf8, gbk);
  Require(gbk == record);
  std::string iso;
  MakeRecordWriter(RecordFormat::kIso2709)->Append(record, iso);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr RecordFormat kFormats[] = {RecordFormat::kAuto, RecordFormat::kLines, RecordFormat::kMarcXml};
  constexpr RecordCharset kCharsets[] = {RecordCharset::kAuto, RecordCharset::kGbk, RecordCharset::kUtf8};
  if (size == 0) return 0;
  const RecordInputOptions options{kFormats[data[0] % 3], kCharsets[data[0] / 3 % 3]};
  const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const Found found = ReadThrough(bytes, options, SIZE_MAX);
  for (const std::string& record : found.records) CheckRecord(record);
  Require(found == ReadThrough(bytes, options, 1));
  return 0;
}

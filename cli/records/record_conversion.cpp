// RecordConversion: the charset of each record, then the writer.
#include "cli/records/record_conversion.h"

#include "cli/base/exit_status.h"
#include "cli/base/reversible_encoding.h"
#include "cli/records/charset_marks.h"
#include "records/cartulary.h"

namespace karst::cli {
namespace {

// The form of ISO 2709 is longer than the internal one: its directory ends with a byte of its own.
bool IsSoundIso(const RecordInFile& record) {
  return record.reader->Format() == RecordFormat::kIso2709 && !record.repaired &&
         record.raw.size() > record.text.size();
}

}  // namespace

void RecordConversion::Begin(RecordFormat read, std::string& out) {
  if (target_.format == RecordFormat::kAuto) target_.format = read;
  if (target_.format == RecordFormat::kMarcXml && target_.charset == RecordCharset::kGbk) {
    throw HostError(kWrongUsage, "MARCXML is always UTF-8: --to-charset gbk cannot be kept");
  }
  writer_ = MakeRecordWriter(target_.format);
  out += writer_->Start();
}

std::string RecordConversion::Append(const RecordInFile& record, std::string& out) {
  const bool xml = target_.format == RecordFormat::kMarcXml;
  const RecordCharset wanted = target_.charset;
  if (wanted == RecordCharset::kAuto && !xml) {
    if (!IsSoundIso(record) || target_.format != RecordFormat::kIso2709) return writer_->Append(record.text, out);
    // SPEED: the bytes of a record without fault are what writing it would make.
    out += record.raw;
    return "";
  }
  const RecordCharset target = xml ? RecordCharset::kUtf8 : wanted;
  const RecordCharset source = record.reader->GuessCurrentCharset();
  if (source == target && wanted == RecordCharset::kAuto) return writer_->Append(record.text, out);
  const uint64_t before = missing_;
  Convert(record.text, source, target);
  const std::string fault = writer_->Append(converted_, out);
  if (!fault.empty()) missing_ = before;
  return fault;
}

void RecordConversion::Convert(std::string_view text, RecordCharset source, RecordCharset target) {
  converted_.assign(text.substr(0, kHeaderLength));
  const std::string_view fields = text.substr(converted_.size());
  if (source == target) {
    converted_ += fields;
  } else if (target == RecordCharset::kUtf8) {
    missing_ += ToUtf8Reversibly(fields, converted_);
  } else {
    missing_ += ToGbkReversibly(fields, converted_);
  }
  SetCharsetMarks(converted_, target, target_.flavour);
}

}  // namespace karst::cli

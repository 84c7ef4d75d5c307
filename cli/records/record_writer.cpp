// The four writers.
#include "cli/records/record_writer.h"

#include "cli/base/encoding.h"
#include "cli/records/line_format.h"
#include "cli/records/xml_format.h"
#include "records/cartulary.h"
#include "records/isowriter.h"

namespace karst::cli {
namespace {

constexpr size_t kLongestIsoField = 9999;  // with its 0x1E

// Which field is the first that is too long.
std::string LongField(std::string_view record) {
  auto fields = FieldCursor::OverRecord(record);
  for (std::string_view field; fields.Next(field);) {
    const size_t length = field.size() - kTagLength + 1;
    if (length <= kLongestIsoField) continue;
    return "字段" + std::string(field.substr(0, kTagLength)) + "有" + std::to_string(length) + "字节";
  }
  return "字段太长";
}

class IsoWriter : public RecordWriter {
 public:
  std::string Append(std::string_view record, std::string& out) override {
    switch (AppendIsoRecord(record, LocalFields::kWritten, out)) {
      case IsoFault::kNone: return "";
      case IsoFault::kFieldTooLong: return ToGbk(LongField(record) + "，ISO 2709只容9999");
      case IsoFault::kRecordTooLong: return ToGbk("记录太长，ISO 2709只容99999字节");
      default: return ToGbk("不是记录");
    }
  }
};

class InternalWriter : public RecordWriter {
 public:
  std::string Append(std::string_view record, std::string& out) override {
    out += record;
    return "";
  }
};

class LineFormWriter : public RecordWriter {
 public:
  std::string Append(std::string_view record, std::string& out) override {
    AppendLines(record, out);
    return "";
  }
};

class XmlWriter : public RecordWriter {
 public:
  std::string_view Start() const override { return kXmlStart; }
  std::string_view End() const override { return kXmlEnd; }
  std::string Append(std::string_view record, std::string& out) override {
    AppendXmlRecord(record, out);
    return "";
  }
};

}  // namespace

std::unique_ptr<RecordWriter> MakeRecordWriter(RecordFormat format) {
  switch (format) {
    case RecordFormat::kInternal: return std::make_unique<InternalWriter>();
    case RecordFormat::kMarcXml: return std::make_unique<XmlWriter>();
    case RecordFormat::kLines: return std::make_unique<LineFormWriter>();
    default: return std::make_unique<IsoWriter>();
  }
}

}  // namespace karst::cli

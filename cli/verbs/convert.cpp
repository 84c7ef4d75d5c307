// The verb "convert": records from any format and charset into another.
#include <filesystem>

#include "cli/base/exit_status.h"
#include "cli/base/input_file.h"
#include "cli/base/stop_request.h"
#include "cli/records/charset_marks.h"
#include "cli/records/record_sink.h"
#include "cli/records/record_walk.h"
#include "cli/records/record_writer.h"
#include "cli/records/reversible.h"
#include "cli/verbs/verbs.h"
#include "records/cartulary.h"

namespace karst::cli {
namespace {

constexpr size_t kBuffer = size_t{256} << 10;

// What the name of a file says, where --to says nothing; kAuto for standard output and for what is no regular file.
RecordFormat FormatToWrite(const Options& options) {
  const RecordToolOptions& tools = options.record_tools;
  if (tools.to != RecordFormat::kAuto) return tools.to;
  const RecordFormat named = FormatOfFileName(tools.output);
  std::error_code fault;
  const auto kind = std::filesystem::status(SystemName(tools.output, options.encoding), fault).type();
  const bool is_file = kind == std::filesystem::file_type::regular || kind == std::filesystem::file_type::not_found;
  if (named != RecordFormat::kAuto || tools.output == "-" || !is_file) return named;
  throw HostError(kWrongUsage,
                  "the name " + tools.output + " stands for no format: give --to, or an ending such as .xml");
}

class Conversion {
 public:
  Conversion(const Options& options, Console& console)
      : tools_(options.record_tools),
        options_(options),
        console_(console),
        format_(FormatToWrite(options)),
        walk_(options, console),
        sink_(tools_.output, tools_.gzip || EndsInGz(tools_.output), options) {}

  int Run() {
    for (const std::string& name : options_.records) {
      if (StopRequested()) break;
      walk_.Read(name, [this](const WalkedRecord& record) { return Take(record); });
    }
    // What is written so far is no whole file.
    if (StopRequested() || !walk_.HasOpened()) return walk_.Finish();
    if (!writer_) Begin(walk_.Format());
    out_ += writer_->End();
    sink_.Write(out_);
    if (walk_.HasReadAll()) {
      sink_.Commit();
    } else if (const std::string part = sink_.CommitPart(); !part.empty()) {
      console_.Say(part);
    }
    TellCounts();
    return walk_.Finish();
  }

 private:
  // What is written is what the first file is, if nothing else is said.
  void Begin(RecordFormat read) {
    if (format_ == RecordFormat::kAuto) format_ = read;
    if (format_ == RecordFormat::kMarcXml && tools_.to_charset == RecordCharset::kGbk) {
      throw HostError(kWrongUsage, "MARCXML is always UTF-8: --to-charset gbk cannot be kept");
    }
    writer_ = MakeRecordWriter(format_);
    out_ += writer_->Start();
  }

  bool Take(const WalkedRecord& record) {
    if (!writer_) Begin(record.reader->Format());
    const std::string fault = Append(record);
    if (!fault.empty()) walk_.Refuse(record, Named(record) + fault);
    if (out_.size() >= kBuffer) {
      sink_.Write(out_);
      out_.clear();
    }
    return true;
  }

  std::string Append(const WalkedRecord& record) {
    const bool xml = format_ == RecordFormat::kMarcXml;
    const RecordCharset wanted = tools_.to_charset;
    if (wanted == RecordCharset::kAuto && !xml) {
      if (!IsSoundIso(record) || format_ != RecordFormat::kIso2709) return writer_->Append(record.text, out_);
      // SPEED: the bytes of a record without fault are what writing it would make.
      out_ += record.raw;
      return "";
    }
    const RecordCharset target = xml ? RecordCharset::kUtf8 : wanted;
    const RecordCharset source = record.reader->GuessCurrentCharset();
    if (source == target && wanted == RecordCharset::kAuto) return writer_->Append(record.text, out_);
    const uint64_t before = missing_;
    Convert(record.text, source, target);
    const std::string fault = writer_->Append(converted_, out_);
    if (!fault.empty()) missing_ = before;
    return fault;
  }

  // The form of ISO 2709 is longer than the internal one: its directory ends with a byte of its own.
  static bool IsSoundIso(const WalkedRecord& record) {
    return record.reader->Format() == RecordFormat::kIso2709 && !record.repaired &&
           record.raw.size() > record.text.size();
  }

  void Convert(std::string_view text, RecordCharset source, RecordCharset target) {
    converted_.assign(text.substr(0, kHeaderLength));
    const std::string_view fields = text.substr(converted_.size());
    if (source == target) {
      converted_ += fields;
    } else if (target == RecordCharset::kUtf8) {
      missing_ += ToUtf8Reversibly(fields, converted_);
    } else {
      missing_ += ToGbkReversibly(fields, converted_);
    }
    SetCharsetMarks(converted_, target, tools_.flavour);
  }

  // "第17条记录（KS00000001）："
  static std::string Named(const WalkedRecord& record) {
    std::string name = "第" + std::to_string(record.number) + "条记录";
    auto fields = FieldCursor::OverRecord(record.text);
    std::string_view field;
    const bool numbered = fields.Next(field) && field.starts_with("001");
    name = ToGbk(name);
    if (numbered) name += ToGbk("（") + std::string(field.substr(kTagLength)) + ToGbk("）");
    return name + ToGbk("：");
  }

  void TellCounts() {
    if (missing_ == 0 || options_.quiet) return;
    const bool one = missing_ == 1;
    const char* bytes = one ? " byte that belongs to no character of GBK" : " bytes that belong to no character of GBK";
    const char* characters = one ? " character that GBK has no place for" : " characters that GBK has no place for";
    console_.Say(std::to_string(missing_) + (tools_.to_charset == RecordCharset::kGbk ? characters : bytes) +
                 (one ? " was" : " were") + " written as &#N;");
  }

  const RecordToolOptions& tools_;
  const Options& options_;
  Console& console_;
  RecordFormat format_;
  RecordWalk walk_;
  RecordSink sink_;
  std::unique_ptr<RecordWriter> writer_;
  std::string converted_;
  std::string out_;
  uint64_t missing_ = 0;
};

void RefuseOutputAsRejects(const Options& options) {
  if (options.rejects.empty() || options.rejects != options.record_tools.output) return;
  throw HostError(kWrongUsage, options.rejects + " cannot be the output and the rejects");
}

}  // namespace

int ConvertRecords(const Options& options, Console& console) {
  RefuseOutputAsRejects(options);
  return Conversion(options, console).Run();
}

}  // namespace karst::cli

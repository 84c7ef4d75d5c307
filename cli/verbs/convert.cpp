// The verb "convert": records from any format and charset into another.
#include <filesystem>

#include "cli/base/exit_status.h"
#include "cli/base/input_file.h"
#include "cli/base/result_file.h"
#include "cli/base/stop_request.h"
#include "cli/records/record_conversion.h"
#include "cli/verbs/record_options.h"
#include "cli/verbs/verbs.h"
#include "records/cartulary.h"

namespace karst::cli {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  karst convert books.iso books.xml\n"
    "  karst convert --to-charset utf-8 old.mrc new.mrc.gz\n"
    "  karst convert --to lines --to-charset utf-8 books.iso | less";

constexpr size_t kBuffer = size_t{256} << 10;

struct ConvertOptions {
  RecordFilesOptions files;
  ConversionTarget target;
  std::string output;
  bool gzip = false;
};

// What the name of a file says, where --to says nothing; kAuto for standard output and for what is no regular file.
RecordFormat FormatToWrite(const ConvertOptions& options) {
  if (options.target.format != RecordFormat::kAuto) return options.target.format;
  const RecordFormat named = FormatOfFileName(options.output);
  std::error_code fault;
  const auto kind = std::filesystem::status(SystemName(options.output, options.files.inputs.encoding), fault).type();
  const bool is_file = kind == std::filesystem::file_type::regular || kind == std::filesystem::file_type::not_found;
  if (named != RecordFormat::kAuto || options.output == "-" || !is_file) return named;
  throw HostError(kWrongUsage,
                  "the name " + options.output + " stands for no format: give --to, or an ending such as .xml");
}

// "第17条记录（KS00000001）："
std::string NameOfRecord(const RecordInFile& record) {
  std::string name = ToGbk("第" + std::to_string(record.number) + "条记录");
  auto fields = FieldCursor::OverRecord(record.text);
  std::string_view field;
  const bool numbered = fields.Next(field) && field.starts_with("001");
  if (numbered) name += ToGbk("（") + std::string(field.substr(kTagLength)) + ToGbk("）");
  return name + ToGbk("：");
}

class Converting {
 public:
  Converting(const ConvertOptions& options, Console& console)
      : options_(options),
        console_(console),
        conversion_({FormatToWrite(options), options.target.charset, options.target.flavour}),
        files_(options.files, console),
        output_(options.output, options.gzip || EndsInGz(options.output), options.files.inputs) {}

  int Run() {
    for (const std::string& name : options_.files.inputs.names) {
      if (StopRequested()) break;
      files_.Read(name, [this](const RecordInFile& record) { return Take(record); });
    }
    // What is written so far is no whole file.
    if (StopRequested() || !files_.HasOpened()) return files_.Finish();
    if (!conversion_.HasBegun()) conversion_.Begin(files_.Format(), out_);
    conversion_.End(out_);
    output_.Write(out_);
    if (files_.HasReadAll()) {
      output_.Commit();
    } else if (const std::string part = output_.CommitPart(); !part.empty()) {
      console_.Say(part);
    }
    TellCounts();
    return files_.Finish();
  }

 private:
  bool Take(const RecordInFile& record) {
    if (!conversion_.HasBegun()) conversion_.Begin(record.reader->Format(), out_);
    const std::string fault = conversion_.Append(record, out_);
    if (!fault.empty()) files_.Refuse(record, NameOfRecord(record) + fault);
    if (out_.size() >= kBuffer) {
      output_.Write(out_);
      out_.clear();
    }
    return true;
  }

  void TellCounts() {
    const uint64_t missing = conversion_.Missing();
    if (missing == 0 || options_.files.report.quiet) return;
    const bool one = missing == 1;
    const char* bytes = one ? " byte that belongs to no character of GBK" : " bytes that belong to no character of GBK";
    const char* characters = one ? " character that GBK has no place for" : " characters that GBK has no place for";
    console_.Say(std::to_string(missing) + (options_.target.charset == RecordCharset::kGbk ? characters : bytes) +
                 (one ? " was" : " were") + " written as &#N;");
  }

  const ConvertOptions& options_;
  Console& console_;
  RecordConversion conversion_;
  RecordFiles files_;
  ResultFile output_;
  std::string out_;
};

class ConvertVerb : public Verb {
 public:
  ConvertVerb() : Verb("convert", "Convert files of records to another format or charset", kExamples) {}

  void Declare(OptionList& list, CommonOptions& common) override {
    ReportOptions& report = options_.files.report;
    AddReading(list, common, options_.files);
    list.Words("FILE", "Record files, and the file to write as the last; - is a standard file",
               options_.files.inputs.names);
    list.Text("-o,--output", "The file to write; every FILE is read then", "FILE", options_.output);
    list.Choice("--to", "Format to write (default: by the name of the file)", kFormatChoices, options_.target.format,
                OptionList::Letters::kAnyCase);
    list.Choice("--to-charset", "Charset to write (default: unchanged)", kCharsetChoices, options_.target.charset,
                OptionList::Letters::kAnyCase);
    list.Choice<Flavour>("--flavour", "Where a record names its charset (default: found out)",
                         {{"auto", Flavour::kAuto},
                          {"marc21", Flavour::kMarc21},
                          {"unimarc", Flavour::kUnimarc},
                          {"none", Flavour::kNone}},
                         options_.target.flavour, OptionList::Letters::kAnyCase);
    list.Flag("--gzip", "Compress what is written (default: if its name ends in .gz)", options_.gzip);
    AddRejects(list, report);
    AddQuiet(list, report);
  }

  int Run(const CommonOptions& common) override {
    options_.files.inputs.encoding = common.TextEncoding();
    TakeNames();
    Console console({common.messages, options_.files.inputs, {}});
    return RunToEnd(console, [&] {
      RefuseOutputAsRejects();
      return Converting(options_, console).Run();
    });
  }

 private:
  // The names that are given: IN... and OUT, or IN... where -o names OUT. One name alone goes to standard output.
  void TakeNames() {
    std::vector<std::string>& names = options_.files.inputs.names;
    std::string& output = options_.output;
    if (!output.empty()) return;
    output = names.size() > 1 ? names.back() : "-";
    if (names.size() > 1) names.pop_back();
  }

  void RefuseOutputAsRejects() const {
    const std::string& rejects = options_.files.report.rejects;
    if (rejects.empty() || (rejects != options_.output && !NameOneFile(rejects, options_.output))) return;
    throw HostError(kWrongUsage, rejects + " cannot be the output and the rejects");
  }

  // Neither needs to be there yet.
  bool NameOneFile(const std::string& one, const std::string& other) const {
    const auto path_of = [this](const std::string& name) {
      std::error_code fault;
      const std::filesystem::path path(SystemName(name, options_.files.inputs.encoding));
      const auto resolved = std::filesystem::weakly_canonical(std::filesystem::absolute(path, fault), fault);
      return fault ? path : resolved;
    };
    return one != "-" && other != "-" && path_of(one) == path_of(other);
  }

  ConvertOptions options_;
};

}  // namespace

std::unique_ptr<Verb> MakeConvertVerb() { return std::make_unique<ConvertVerb>(); }

}  // namespace karst::cli

// The verb "split": a file of records into files of so many each.
#include <optional>
#include <string>

#include "cli/base/result_file.h"
#include "cli/base/stop_request.h"
#include "cli/records/record_writer.h"
#include "cli/verbs/record_options.h"
#include "cli/verbs/verbs.h"

namespace karst::cli {
namespace {

constexpr const char* kExamples =
    "Example:\n"
    "  karst split --every 10000 --prefix part- books.iso";

constexpr size_t kBuffer = size_t{256} << 10;
constexpr size_t kDigits = 4;

struct SplitOptions {
  RecordFilesOptions files;
  uint64_t every = 0;
  std::string prefix;
};

class Splitting {
 public:
  Splitting(const SplitOptions& options, Console& console)
      : options_(options),
        console_(console),
        input_(options.files.inputs.names.front()),
        files_(options.files, console) {}

  int Run() {
    files_.Read(input_, [this](const RecordInFile& record) { return Take(record); });
    if (!part_ || StopRequested()) return files_.Finish();
    if (files_.HasReadAll()) {
      EndPart();
    } else {
      KeepPart();
    }
    return files_.Finish();
  }

 private:
  bool Take(const RecordInFile& record) {
    if (!part_) BeginPart(record.reader->Format());
    if (!IsWholeByItself(record)) {
      writer_->Append(record.text, out_);
    } else {
      out_ += record.raw;
      // The last record of a text file may have no line end of its own.
      if (record.reader->Format() != RecordFormat::kIso2709 && !out_.ends_with('\n')) out_ += '\n';
    }
    if (++in_part_ == options_.every) EndPart();
    if (out_.size() >= kBuffer) Flush();
    return true;
  }

  // An element with a prefix needs what declares it, which stands outside.
  static bool IsWholeByItself(const RecordInFile& record) {
    return record.reader->Format() != RecordFormat::kMarcXml || record.raw.starts_with("<record");
  }

  void BeginPart(RecordFormat format) {
    writer_ = MakeRecordWriter(format);
    part_.emplace(PartName(format), false, options_.files.inputs);
    out_ = writer_->Start();
  }
  // A part that the file would have gone on with.
  void KeepPart() {
    WriteEnd();
    const std::string told = part_->CommitPart();
    if (!told.empty()) console_.Say(told);
  }
  void WriteEnd() {
    out_ += writer_->End();
    Flush();
  }
  void EndPart() {
    WriteEnd();
    part_->Commit();
    part_.reset();
    in_part_ = 0;
  }
  void Flush() {
    part_->Write(out_);
    out_.clear();
  }

  // "books-0001.iso" for "folder/books.iso": parts go to the working directory. An ending that does not stand for the
  // format of the records gives way to one that does.
  std::string PartName(RecordFormat format) {
    std::string stem = input_ == "-" ? "records" : input_.substr(input_.rfind('/') + 1);
    if (EndsInGz(stem)) stem.resize(stem.size() - 3);
    std::string ending(FileEnding(format));
    const RecordFormat named = FormatOfFileName(stem);
    // The internal form is read as ISO 2709 is.
    if (named == format || (named == RecordFormat::kInternal && format == RecordFormat::kIso2709)) {
      const size_t dot = stem.rfind('.');
      ending = stem.substr(dot);
      stem.resize(dot);
    }
    const std::string number = std::to_string(++parts_);
    const std::string zeros(number.size() < kDigits ? kDigits - number.size() : 0, '0');
    return (options_.prefix.empty() ? stem + "-" : options_.prefix) + zeros + number + ending;
  }

  const SplitOptions& options_;
  Console& console_;
  const std::string& input_;
  RecordFiles files_;
  std::unique_ptr<RecordWriter> writer_;
  std::optional<ResultFile> part_;
  std::string out_;
  uint64_t in_part_ = 0;
  uint64_t parts_ = 0;
};

class SplitVerb : public Verb {
 public:
  SplitVerb() : Verb("split", "Split a file of records into files of some records each", kExamples) {}

  void Declare(OptionList& list, CommonOptions& common) override {
    AddReading(list, common, options_.files);
    list.Words("RECORDS", "The record file; - is standard input", options_.files.inputs.names, 1);
    list.Number("--every", "Records in each file", options_.every, OptionList::Need::kRequired);
    list.Text("--prefix", "What the names of the files begin with (default: the name of the file)", "TEXT",
              options_.prefix);
    AddRejects(list, options_.files.report);
    AddQuiet(list, options_.files.report);
  }

  int Run(const CommonOptions& common) override {
    options_.files.inputs.encoding = common.TextEncoding();
    Console console({common.messages, options_.files.inputs, {}});
    return RunToEnd(console, [&] { return Splitting(options_, console).Run(); });
  }

 private:
  SplitOptions options_;
};

}  // namespace

std::unique_ptr<Verb> MakeSplitVerb() { return std::make_unique<SplitVerb>(); }

}  // namespace karst::cli

// The verb "split": a file of records into files of so many each.
#include <optional>
#include <string>

#include "cli/base/stop_request.h"
#include "cli/records/record_sink.h"
#include "cli/records/record_walk.h"
#include "cli/records/record_writer.h"
#include "cli/verbs/verbs.h"

namespace karst::cli {
namespace {

constexpr size_t kBuffer = size_t{256} << 10;
constexpr size_t kDigits = 4;

class Splitting {
 public:
  Splitting(const Options& options, Console& console)
      : options_(options), console_(console), input_(options.records.front()), walk_(options, console) {}

  int Run() {
    walk_.Read(input_, [this](const WalkedRecord& record) { return Take(record); });
    if (!part_ || StopRequested()) return walk_.Finish();
    if (walk_.HasReadAll()) {
      EndPart();
    } else {
      KeepPart();
    }
    return walk_.Finish();
  }

 private:
  bool Take(const WalkedRecord& record) {
    if (!part_) BeginPart(record.reader->Format());
    if (!IsWholeByItself(record)) {
      writer_->Append(record.text, out_);
    } else {
      out_ += record.raw;
      // The last record of a text file may have no line end of its own.
      if (record.reader->Format() != RecordFormat::kIso2709 && !out_.ends_with('\n')) out_ += '\n';
    }
    if (++in_part_ == options_.record_tools.every) EndPart();
    if (out_.size() >= kBuffer) Flush();
    return true;
  }

  // An element with a prefix needs what declares it, which stands outside.
  static bool IsWholeByItself(const WalkedRecord& record) {
    return record.reader->Format() != RecordFormat::kMarcXml || record.raw.starts_with("<record");
  }

  void BeginPart(RecordFormat format) {
    writer_ = MakeRecordWriter(format);
    part_.emplace(PartName(format), false, options_);
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
    const std::string& prefix = options_.record_tools.prefix;
    const std::string number = std::to_string(++parts_);
    const std::string zeros(number.size() < kDigits ? kDigits - number.size() : 0, '0');
    return (prefix.empty() ? stem + "-" : prefix) + zeros + number + ending;
  }

  const Options& options_;
  Console& console_;
  const std::string& input_;
  RecordWalk walk_;
  std::unique_ptr<RecordWriter> writer_;
  std::optional<RecordSink> part_;
  std::string out_;
  uint64_t in_part_ = 0;
  uint64_t parts_ = 0;
};

}  // namespace

int SplitRecords(const Options& options, Console& console) { return Splitting(options, console).Run(); }

}  // namespace karst::cli

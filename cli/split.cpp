// The verb "split": a file of records into files of so many each.
#include <iomanip>
#include <optional>
#include <sstream>

#include "records/record_sink.h"
#include "records/record_walk.h"
#include "records/record_writer.h"
#include "stop_request.h"
#include "verbs.h"

namespace karst::cli {
namespace {

constexpr size_t kBuffer = size_t{256} << 10;
constexpr int kDigits = 4;

class Splitting {
 public:
  Splitting(const Options& options, Console& console)
      : options_(options), input_(options.records.front()), walk_(options, console) {}

  int Run() {
    walk_.Read(input_, [this](const WalkedRecord& record) { return Take(record); });
    if (part_ && !StopRequested()) EndPart();
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
  void EndPart() {
    out_ += writer_->End();
    Flush();
    part_->Commit();
    part_.reset();
    in_part_ = 0;
  }
  void Flush() {
    part_->Write(out_);
    out_.clear();
  }

  // "books-0001.iso" for "folder/books.iso": parts go to the working directory.
  std::string PartName(RecordFormat format) {
    std::string stem = input_ == "-" ? "records" : input_.substr(input_.rfind('/') + 1);
    if (EndsInGz(stem)) stem.resize(stem.size() - 3);
    std::string ending(FileEnding(format));
    const size_t dot = stem.rfind('.');
    if (dot != std::string::npos && dot > 0) {
      ending = stem.substr(dot);
      stem.resize(dot);
    }
    const std::string& prefix = options_.record_tools.prefix;
    std::ostringstream name;
    name << (prefix.empty() ? stem + "-" : prefix) << std::setw(kDigits) << std::setfill('0') << ++parts_ << ending;
    return name.str();
  }

  const Options& options_;
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

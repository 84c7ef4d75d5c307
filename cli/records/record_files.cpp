// RecordFiles: one reader for each file.
#include "cli/records/record_files.h"

#include "cli/base/exit_status.h"
#include "cli/base/input_file.h"
#include "cli/base/standard_input.h"
#include "cli/base/stop_request.h"

namespace karst::cli {

bool RecordFiles::Read(const std::string& name, const Use& use) {
  if (name == "-") PrepareStandardInput();
  const InputFile file(name == "-" ? InputFile::kStandardInput : name, options_.inputs.encoding);
  RecordFileReader reader(options_.format, options_.charset);
  report_.BeginRun();
  reached_ = {};
  refused_ = refused_bytes_ = 0;
  bool readable = reader.Open(file.ForLibrary());
  const bool opened = readable;
  has_opened_ = has_opened_ || opened;
  format_ = reader.Format();
  bool more = readable;
  while (more && !StopRequested()) readable = Step(reader, use, more);
  if (!readable) {
    const std::string reason = reader.Fault().empty() ? file.WhyUnreadable() : reader.Fault();
    console_.Say("cannot read " + file.Shown() + (reason.empty() ? "" : ": " + reason));
    has_read_all_ = false;
  }
  const RecordParser* parser = reader.Parser();
  if (!parser) return false;
  reached_ = {parser->RecordCount() - refused_, parser->SkippedCount() + refused_,
              parser->SkippedBytes() + refused_bytes_, parser->RepairedCount(), reader.Position()};
  has_passed_over_ = has_passed_over_ || reached_.passed_over > 0;
  // What comes after the last record of a whole file does not count.
  const bool told = summaries_ == Summaries::kOfFaults ? reached_.passed_over > 0 : summaries_ == Summaries::kAll;
  if (told) report_.Summarize(reached_, more || !readable ? reader.Size() : 0, file.Shown());
  return opened;
}

// False if the file cannot be read on.
bool RecordFiles::Step(RecordFileReader& reader, const Use& use, bool& more) {
  const RecordParser& parser = *reader.Parser();
  const uint64_t repaired = parser.RepairedCount();
  const ReadResult result = reader.Next([this](const SkippedRecord& skipped) { report_.Take(skipped); });
  more = result == ReadResult::kRecord || result == ReadResult::kPassedOver;
  if (result == ReadResult::kRecord) {
    more = use({parser.Text(), parser.RawBytes(), parser.RecordOffset(), parser.RecordCount(),
                parser.RepairedCount() != repaired, &reader});
  }
  return result != ReadResult::kFailed;
}

void RecordFiles::Refuse(const RecordInFile& record, const std::string& reason) {
  ++refused_;
  refused_bytes_ += record.raw.size();
  report_.Take({record.offset, record.raw, reason.c_str()});
}

int RecordFiles::Finish() {
  if (summaries_ == Summaries::kAll) report_.SummarizeAll();
  if (!report_.Finish()) return kOutputFailed;
  return has_read_all_ && !has_passed_over_ ? 0 : kNotAllRead;
}

}  // namespace karst::cli

// ReadingReport: the rejects file and the summaries.
#include "cli/records/reading_report.h"

#include <cerrno>
#include <cstring>

#include "cli/base/stop_request.h"

namespace karst::cli {
namespace {

constexpr size_t kPlacesShown = 5;

std::string Counted(uint64_t count, const char* noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

ReadingReport::ReadingReport(Console& console, const ReportOptions& options, const FilesRead& inputs)
    : console_(console), quiet_(options.quiet), rejects_name_(options.rejects) {
  if (rejects_name_.empty()) return;
  rejects_file_ = std::make_unique<OutputFile>(rejects_name_, inputs);
  rejects_ = std::make_unique<Writer>(rejects_file_->Descriptor(), Encoding::kGbk, Writer::Buffering::kBlocks,
                                      &rejects_line_, RequestStop);
}

void ReadingReport::Take(const SkippedRecord& skipped) {
  if (rejects_) rejects_->WriteRaw(skipped.bytes);
  // A long stretch comes in pieces, each right after the other.
  const bool goes_on = !stretches_.empty() && stretches_.back().offset + stretches_.back().size == skipped.offset;
  if (goes_on) {
    stretches_.back().size += skipped.bytes.size();
  } else if (stretches_.size() < kPlacesShown) {
    stretches_.push_back({skipped.offset, skipped.bytes.size(), skipped.reason ? skipped.reason : ""});
  } else {
    return;
  }
  ++pieces_shown_;
}

std::string ReadingReport::CountsText(uint64_t records, uint64_t stretches, uint64_t bytes) const {
  std::string text = Counted(records, "record") + ", " + std::to_string(stretches) + " passed over";
  if (stretches > 0) text += " (" + Counted(bytes, "byte") + ")";
  return text;
}

void ReadingReport::Summarize(const ReadState& reached, uint64_t size, const std::string& name) {
  ++files_;
  total_records_ += reached.records;
  total_stretches_ += reached.passed_over;
  total_bytes_ += reached.passed_bytes;
  if (quiet_ && reached.passed_over == 0) return;
  std::string text = name + ": " + CountsText(reached.records, reached.passed_over, reached.passed_bytes);
  if (reached.repaired > 0) text += ", " + std::to_string(reached.repaired) + " repaired";
  if (reached.position < size) {
    text += "; read up to byte " + std::to_string(reached.position) + " of " + std::to_string(size);
  }
  console_.Say(text);
  std::string places;
  for (const Stretch& stretch : stretches_) {
    places += "  at byte " + std::to_string(stretch.offset) + ", " + Counted(stretch.size, "byte") + ": " +
              console_.Displayed(stretch.reason) + "\n";
  }
  if (reached.passed_over > pieces_shown_) {
    places += "  and " + std::to_string(reached.passed_over - pieces_shown_) + " more\n";
  }
  if (!places.empty()) console_.Show(places);
}

void ReadingReport::SummarizeAll() {
  if (quiet_ || files_ < 2) return;
  console_.Say("together: " + CountsText(total_records_, total_stretches_, total_bytes_) + " in " +
               Counted(files_, "file"));
}

bool ReadingReport::Finish() {
  if (!rejects_) return true;
  rejects_->Finish();
  const int failure = rejects_->Failure() != 0 ? rejects_->Failure() : rejects_file_->Close() ? 0 : errno;
  if (failure == 0) return true;
  console_.Say("cannot write " + rejects_name_ + ": " + std::strerror(failure));
  return false;
}

}  // namespace karst::cli

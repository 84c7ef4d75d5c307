// PassedOver: the rejects file and the summaries.
#include "passed_over.h"

#include <cerrno>
#include <cstring>

#include "stop_request.h"

namespace karst::cli {
namespace {

constexpr size_t kPlacesShown = 5;

std::string Counted(uint64_t count, const char* noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

PassedOver::PassedOver(Console& console, const Options& options)
    : console_(console), quiet_(options.quiet), rejects_name_(options.rejects) {
  if (rejects_name_.empty()) return;
  rejects_file_ = std::make_unique<OutputFile>(rejects_name_, options);
  rejects_ = std::make_unique<Writer>(rejects_file_->Descriptor(), Encoding::kGbk, Writer::Buffering::kBlocks,
                                      &rejects_line_, RequestStop);
}

void PassedOver::Listen(CMARCTree& tree) {
  stretches_.clear();
  tree.OnSkippedRecord([this](const SkippedRecord& skipped) { Take(skipped); });
}

void PassedOver::Take(const SkippedRecord& skipped) {
  if (rejects_) rejects_->WriteRaw(skipped.bytes);
  // A long stretch comes in pieces, each right behind the other.
  const bool goes_on = !stretches_.empty() && stretches_.back().offset + stretches_.back().size == skipped.offset;
  if (goes_on) {
    stretches_.back().size += skipped.bytes.size();
  } else if (stretches_.size() < kPlacesShown) {
    stretches_.push_back({skipped.offset, skipped.bytes.size(), skipped.reason ? skipped.reason : ""});
  }
}

std::string PassedOver::CountsText(uint64_t records, uint64_t stretches, uint64_t bytes) const {
  std::string text = Counted(records, "record") + ", " + std::to_string(stretches) + " passed over";
  if (stretches > 0) text += " (" + Counted(bytes, "byte") + ")";
  return text;
}

void PassedOver::Summarize(const CMARCTree& tree, const std::string& name) {
  const CMARCFile* file = tree.RecordFile();
  if (!file) return;
  ++files_;
  total_records_ += file->RecordCount();
  total_stretches_ += file->SkippedCount();
  total_bytes_ += file->SkippedBytes();
  if (quiet_) return;
  std::string text = name + ": " + CountsText(file->RecordCount(), file->SkippedCount(), file->SkippedBytes());
  if (file->RepairedCount() > 0) text += ", " + std::to_string(file->RepairedCount()) + " repaired";
  if (file->BytePosition() < file->ByteSize()) {
    text += "; read up to byte " + std::to_string(file->BytePosition()) + " of " + std::to_string(file->ByteSize());
  }
  console_.Say(text);
  std::string places;
  for (const Stretch& stretch : stretches_) {
    places += "  at byte " + std::to_string(stretch.offset) + ", " + Counted(stretch.size, "byte") + ": " +
              console_.Displayed(stretch.reason) + "\n";
  }
  if (file->SkippedCount() > stretches_.size()) {
    places += "  and " + std::to_string(file->SkippedCount() - stretches_.size()) + " more\n";
  }
  if (!places.empty()) console_.Show(places);
}

void PassedOver::SummarizeAll() {
  if (quiet_ || files_ < 2) return;
  console_.Say("together: " + CountsText(total_records_, total_stretches_, total_bytes_) + " in " +
               Counted(files_, "file"));
}

bool PassedOver::Finish() {
  if (!rejects_) return true;
  rejects_->Finish();
  const int failure = rejects_->Failure() != 0 ? rejects_->Failure() : rejects_file_->Close() ? 0 : errno;
  if (failure == 0) return true;
  console_.Say("cannot write " + rejects_name_ + ": " + std::strerror(failure));
  return false;
}

}  // namespace karst::cli

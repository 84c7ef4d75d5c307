// What the reading of record files came to: how many records, and what was passed over as none: counted, kept, told.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/base/console.h"
#include "cli/base/output_file.h"
#include "cli/records/read_state.h"
#include "records/recordreader.h"

namespace karst::cli {

struct ReportOptions {
  bool quiet = false;   // no summary of what is sound
  std::string rejects;  // file for the passed-over bytes; empty: none
};

// One for all files of a command line. The rejects file holds the passed-over bytes of all of them, in order, and
// nothing else; it is made at once, so that it is there also when it stays empty.
class ReadingReport {
 public:
  ReadingReport(Console& console, const ReportOptions& options, const FilesRead& inputs);

  // Ahead of each run.
  void BeginRun() {
    stretches_.clear();
    pieces_shown_ = 0;
  }
  // A stretch, in the order of reading.
  void Take(const SkippedRecord& skipped);
  // After a run over a file of `size` bytes (0: not known): a line with the counts, and the first places that were
  // passed over. With --quiet only where something was.
  void Summarize(const ReadState& reached, uint64_t size, const std::string& name);
  // After all runs: the sums, if there was more than one run.
  void SummarizeAll();
  // True if something was passed over in what was summarized.
  bool HasAny() const { return total_stretches_ > 0; }
  // False, with a message, if a reject was lost.
  bool Finish();

 private:
  struct Stretch {
    uint64_t offset;
    uint64_t size;
    std::string reason;
  };

  std::string CountsText(uint64_t records, uint64_t stretches, uint64_t bytes) const;

  Console& console_;
  bool quiet_;
  std::string rejects_name_;
  std::unique_ptr<OutputFile> rejects_file_;
  LineState rejects_line_;
  std::unique_ptr<Writer> rejects_;
  std::vector<Stretch> stretches_;  // of the current run, the first few
  uint64_t pieces_shown_ = 0;       // that make these
  uint64_t files_ = 0;
  uint64_t total_records_ = 0;
  uint64_t total_stretches_ = 0;
  uint64_t total_bytes_ = 0;
};

}  // namespace karst::cli

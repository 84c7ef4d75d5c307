// RecordFiles: the record files of a command line, read in order, with the report of what is no record.
#pragma once

#include <functional>
#include <string>

#include "cli/records/reading_report.h"
#include "cli/records/record_file_reader.h"

namespace karst::cli {

// The record at which the reading stands.
struct RecordInFile {
  std::string_view text;     // internal form, in the charset of the file, NUL-terminated
  std::string_view raw;      // its bytes in the file
  uint64_t offset;           // of these
  uint64_t number;           // in its file, from 1
  bool repaired;             // the text is not what the bytes say
  RecordFileReader* reader;  // of its file
};

struct RecordFilesOptions {
  FilesRead inputs;  // the record files
  RecordFormat format = RecordFormat::kAuto;
  RecordCharset charset = RecordCharset::kAuto;
  ReportOptions report;
};

class RecordFiles {
 public:
  enum class Summaries { kAll, kOfFaults, kNone };
  // The options outlive the object.
  RecordFiles(const RecordFilesOptions& options, Console& console, Summaries summaries = Summaries::kAll)
      : options_(options), console_(console), report_(console, options.report, options.inputs), summaries_(summaries) {}

  // Calls `use` for each record of a file until it gives false. Tells when the file cannot be read, or not to its end.
  // False if it could not even be opened.
  using Use = std::function<bool(const RecordInFile&)>;
  bool Read(const std::string& name, const Use& use);
  // Counts and keeps the record at hand as one that was passed over; `reason` is GBK.
  void Refuse(const RecordInFile& record, const std::string& reason);
  // What has become of the file read last.
  const ReadState& Reached() const { return reached_; }
  RecordFormat Format() const { return format_; }
  // False as long as not one file could be opened.
  bool HasOpened() const { return has_opened_; }
  // False if a file could not be read, or not to its end.
  bool HasReadAll() const { return has_read_all_; }

  // After all files: the sums and the exit status, 0 or another.
  int Finish();

 private:
  bool Step(RecordFileReader& reader, const Use& use, bool& more);

  const RecordFilesOptions& options_;
  Console& console_;
  ReadingReport report_;
  Summaries summaries_;
  ReadState reached_;
  RecordFormat format_ = RecordFormat::kAuto;
  uint64_t refused_ = 0;
  uint64_t refused_bytes_ = 0;
  bool has_opened_ = false;
  bool has_read_all_ = true;
  bool has_passed_over_ = false;
};

}  // namespace karst::cli

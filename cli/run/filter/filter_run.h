// One run of a filter: over one record file, by one engine or by several.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/base/input_file.h"
#include "cli/base/stop_request.h"
#include "cli/records/reading_report.h"
#include "cli/run/filter_input.h"
#include "cli/run/named_output.h"
#include "cli/run/progress.h"
#include "marc/marctree.h"

namespace karst::cli {

class SourceFile;

struct FilterRunOptions {
  RecordCharset records_charset = RecordCharset::kAuto;  // kAuto: found out for each record
  std::optional<Encoding> output;                        // of what the filter writes by name; none: left as it is
  ProgressMode progress = ProgressMode::kAuto;
  bool progress_names_file = false;  // there are several
  int jobs = 1;                      // engines that share the records
};

class FilterRun {
 public:
  // All of them outlive the run.
  FilterRun(const FilterRunOptions& options, Console& console, const SourceFile& filter, ReadingReport& report);

  // Once for an object. Gives the run's result; what went wrong has been told.
  int Run(const InputFile& records);

  // False: the filter itself is at fault, and would be for every record file.
  bool HasTree() const { return has_tree_; }
  // True if all of the record file was passed over and it is in no format, which was told.
  bool IsInNoFormat() const { return is_open_ && !ended_early_ && records_.IsInNoFormat(); }
  // False if something that goes to named files was lost, which was told.
  bool OutputIsWhole() const { return named_output_.Whole(); }
  // After a run by several engines: what records changed that each engine has for itself.
  const std::vector<std::string>& Changes() const { return changes_; }

 private:
  int RunOver(const InputFile& records);
  int RefuseRecords(const InputFile& records);
  int RunAlone(Progress& progress);
  int RunShared(Progress& progress);
  int Told(int result);
  void ExplainUnreadable(const InputFile& records);

  const FilterRunOptions& options_;
  Console& console_;
  const SourceFile& filter_;
  ReadingReport& report_;
  CMARCTree tree_;
  const StoppableRun stoppable_;
  NamedOutput named_output_;
  FilterInput records_;
  bool has_tree_ = false;
  bool is_open_ = false;
  bool ended_early_ = false;  // before what the reader has read
  ReadState reached_;
  std::vector<std::string> changes_;
};

}  // namespace karst::cli

// What the verbs that make engines have in common: the options, and what an engine reaches through them.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/base/console.h"
#include "cli/records/record_format.h"
#include "cli/run/database/record_database.h"
#include "cli/verbs/common_options.h"
#include "cli/windows/script_windows.h"

namespace karst::cli {

struct ScriptOptions {
  std::string program;  // the script or filter
  SourceReading source = SourceReading::kEvident;
  std::vector<std::string> databases;                    // "NAME=FILE" each, neither part empty
  RecordCharset records_charset = RecordCharset::kAuto;  // of all record files; kAuto: found out for each record
  WindowsMode windows = WindowsMode::kBrowser;
};

void AddDatabases(OptionList& list, ScriptOptions& options);
void AddRecordsCharset(OptionList& list, ScriptOptions& options);
void AddWindows(OptionList& list, ScriptOptions& options);

// The databases, the console and the windows of one run.
class ScriptHost {
 public:
  // `records` are the record files that the run reads, `stream` is as ConsoleOptions has it. HostError if a database
  // cannot be read or the file for messages cannot be made.
  ScriptHost(const ScriptOptions& options, const CommonOptions& common, const std::vector<std::string>& records = {},
             std::optional<Encoding> stream = {});

  const FilesRead& Inputs() const { return inputs_; }
  // As RunToEnd.
  int Run(const std::function<int(Console&)>& body);

 private:
  FilesRead inputs_;
  RecordDatabases databases_;  // before the console, which empties files
  Console console_;
  ScriptWindows windows_;
};

}  // namespace karst::cli

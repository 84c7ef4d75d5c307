// What the command line asks for. Parsing it is the only place that knows the command line library.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "cli/base/encoding.h"
#include "cli/base/source_text.h"
#include "cli/records/record_format.h"
#include "cli/verbs/check_options.h"
#include "cli/verbs/tool_options.h"

namespace karst::cli {

enum class Verb { kRun, kFilter, kTree, kCheck, kConvert, kShow, kCount, kSplit };
enum class ProgressMode { kAuto, kAlways, kNever };
enum class WindowsMode { kBrowser, kMemory, kNone };

struct Options {
  Verb verb = Verb::kRun;
  Encoding encoding = Encoding::kUtf8;  // of standard output, standard error and the names below
  std::string messages = "stdout";      // "stdout", "stderr" or a file name: where the output control goes
  ProgressMode progress = ProgressMode::kAuto;
  RecordCharset records_charset = RecordCharset::kAuto;  // of all record files; kAuto: found out for each record
  RecordCharset output_charset = RecordCharset::kAuto;   // of what a filter writes by name; kAuto: left as it is
  int jobs = 1;                                          // engines that share the records
  bool quiet = false;                                    // no progress, and no summary of what is sound
  bool strict = false;                                   // what is passed over shows in the exit status
  std::string rejects;                                   // file for the passed-over bytes; empty: none
  std::string program;                                   // the script or filter
  SourceReading source = SourceReading::kEvident;        // as what scripts and filters are read
  std::vector<std::string> databases;                    // "NAME=FILE" each, neither part empty
  std::vector<std::string> records;                      // record files; "-" is standard input
  WindowsMode windows = WindowsMode::kBrowser;           // where windows that a script opens are shown
  CheckOptions check;
  RecordToolOptions record_tools;
};

// The options, or the exit status where nothing is to be run: help and version go to standard output with 0; wrong
// usage goes to standard error, with help, with 2.
std::variant<Options, int> ParseOptions(int argc, char** argv);

}  // namespace karst::cli

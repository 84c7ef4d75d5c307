// ScriptHost, and the options that it stands on.
#include "cli/verbs/script_host.h"

#include "cli/base/exit_status.h"
#include "cli/verbs/verb.h"

namespace karst::cli {
namespace {

std::string FaultOfDatabase(const std::string& option) {
  const size_t sign = option.find('=');
  const bool good = sign != std::string::npos && sign > 0 && sign + 1 < option.size();
  return good ? "" : option + " is not of the form NAME=FILE";
}

FilesRead InputsOf(const ScriptOptions& options, const CommonOptions& common, const std::vector<std::string>& records) {
  FilesRead inputs{common.TextEncoding(), {options.program}};
  for (const std::string& option : options.databases) inputs.names.push_back(FileOfDatabase(option));
  inputs.names.insert(inputs.names.end(), records.begin(), records.end());
  return inputs;
}

}  // namespace

void AddDatabases(OptionList& list, ScriptOptions& options) {
  list.Texts("--database", "Make a file of records known to ZebGetRcd under a name; may be given several times",
             "NAME=FILE", options.databases, FaultOfDatabase);
}

void AddRecordsCharset(OptionList& list, ScriptOptions& options) {
  list.Choice<RecordCharset>(
      "--records-charset", "Charset of record files (default: found out)",
      {{"gbk", RecordCharset::kGbk}, {"utf-8", RecordCharset::kUtf8}, {"auto", RecordCharset::kAuto}},
      options.records_charset, OptionList::Letters::kAnyCase);
}

void AddWindows(OptionList& list, ScriptOptions& options) {
  list.Choice<WindowsMode>(
      "--windows", "Where windows that a script opens are shown (default: browser, as pages in the user's browser)",
      {{"browser", WindowsMode::kBrowser}, {"memory", WindowsMode::kMemory}, {"none", WindowsMode::kNone}},
      options.windows);
}

ScriptHost::ScriptHost(const ScriptOptions& options, const CommonOptions& common,
                       const std::vector<std::string>& records, std::optional<Encoding> stream)
    : inputs_(InputsOf(options, common, records)),
      databases_({inputs_.encoding, options.databases, options.records_charset}),
      console_({common.messages, inputs_, stream}),
      windows_(options.windows, console_) {
  databases_.TellOn(console_);
}

int ScriptHost::Run(const std::function<int(Console&)>& body) {
  return RunToEnd(console_, [&] {
    const int status = body(console_);
    // A run whose look-ups may have missed a record is not sound, though its own result is 0.
    return status == 0 && !databases_.AllRead() ? kNotAllRead : status;
  });
}

}  // namespace karst::cli

// The verb "count": how many records files hold.
#include "cli/base/result_file.h"
#include "cli/base/stop_request.h"
#include "cli/verbs/record_options.h"
#include "cli/verbs/verbs.h"

namespace karst::cli {
namespace {

constexpr const char* kExamples =
    "Example:\n"
    "  karst count *.iso *.xml.gz";

std::string Line(const ReadState& counts, const std::string& name) {
  std::string line = std::to_string(counts.records) + "  " + name;
  if (counts.repaired > 0) line += ", " + std::to_string(counts.repaired) + " repaired";
  if (counts.passed_over > 0) {
    line += ", " + std::to_string(counts.passed_over) + " passed over (" + std::to_string(counts.passed_bytes) +
            (counts.passed_bytes == 1 ? " byte)" : " bytes)");
  }
  return line + "\n";
}

int Count(const RecordFilesOptions& options, Console& console) {
  RecordFiles files(options, console, RecordFiles::Summaries::kNone);
  ResultFile output("-", false, options.inputs);
  ReadState sum;
  for (const std::string& name : options.inputs.names) {
    if (StopRequested()) break;
    if (!files.Read(name, [](const RecordInFile&) { return true; })) continue;
    const ReadState& counts = files.Reached();
    sum.records += counts.records;
    sum.repaired += counts.repaired;
    sum.passed_over += counts.passed_over;
    sum.passed_bytes += counts.passed_bytes;
    output.Write(Line(counts, name));
  }
  if (options.inputs.names.size() > 1) output.Write(Line(sum, "together"));
  return files.Finish();
}

class CountVerb : public Verb {
 public:
  CountVerb() : Verb("count", "Count the records of files", kExamples) {}

  void Declare(OptionList& list, CommonOptions& common) override {
    AddReading(list, common, options_);
    list.Words("RECORDS", "Record files; - is standard input", options_.inputs.names);
  }

  int Run(const CommonOptions& common) override {
    options_.inputs.encoding = common.TextEncoding();
    Console console({common.messages, options_.inputs, {}});
    return RunToEnd(console, [&] { return Count(options_, console); });
  }

 private:
  RecordFilesOptions options_;
};

}  // namespace

std::unique_ptr<Verb> MakeCountVerb() { return std::make_unique<CountVerb>(); }

}  // namespace karst::cli

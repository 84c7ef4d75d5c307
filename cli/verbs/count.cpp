// The verb "count": how many records files hold.
#include "cli/base/stop_request.h"
#include "cli/records/record_sink.h"
#include "cli/records/record_walk.h"
#include "cli/verbs/verbs.h"

namespace karst::cli {
namespace {

std::string Line(const ReadState& counts, const std::string& name) {
  std::string line = std::to_string(counts.records) + "  " + name;
  if (counts.repaired > 0) line += ", " + std::to_string(counts.repaired) + " repaired";
  if (counts.passed_over > 0) {
    line += ", " + std::to_string(counts.passed_over) + " passed over (" + std::to_string(counts.passed_bytes) +
            (counts.passed_bytes == 1 ? " byte)" : " bytes)");
  }
  return line + "\n";
}

}  // namespace

int CountRecords(const Options& options, Console& console) {
  RecordWalk walk(options, console, RecordWalk::Summaries::kNone);
  RecordSink output("-", false, options);
  ReadState sum;
  for (const std::string& name : options.records) {
    if (StopRequested()) break;
    if (!walk.Read(name, [](const WalkedRecord&) { return true; })) continue;
    const ReadState& counts = walk.Reached();
    sum.records += counts.records;
    sum.repaired += counts.repaired;
    sum.passed_over += counts.passed_over;
    sum.passed_bytes += counts.passed_bytes;
    output.Write(Line(counts, name));
  }
  if (options.records.size() > 1) output.Write(Line(sum, "together"));
  return walk.Finish();
}

}  // namespace karst::cli

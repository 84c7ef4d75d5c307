// Any bytes as a filter and a file of records: the filter runs over the records with and without what is remembered
// beside the code, and nothing may tell the two apart. What follows the first NUL of an input are the records. Endless
// filters end after so many statements.
#include "fuzz/observed_run.h"
#include "marc/marctree.h"
#include "support/record_run.h"
#include "support/scratch_folder.h"

namespace karst::testing {
namespace {

constexpr const char* kFilterName = "fuzz.flt";
constexpr const char* kRecordsName = "fuzz.mrc";
constexpr long kMostStatements = 3000;
constexpr size_t kMostRecordBytes = 4096;

// For inputs that bring no records: enough of them that every piece runs often.
std::string OwnRecords() {
  std::string records;
  for (const std::string title : {"one", "two", "three", "four"}) {
    std::vector<IsoField> fields = {{"001", title},
                                    {"010", "  $a7-80$dCNY1"},
                                    {"200", "1 $a" + title + "$fx$ay"},
                                    {"461", " 0$12001 $av$1225  $aw"},
                                    {"606", "0 $as$xt"},
                                    {"606", "0 $au"}};
    for (IsoField& field : fields) std::replace(field.body.begin(), field.body.end(), '$', '\x1F');
    records += IsoBytes(fields);
  }
  return records;
}

// As a host's run of a filter over a file.
int RunFilter(CMARCTree& tree) {
  tree.Initial();
  if (tree.ReadCodeFromFile(kFilterName, 0) == -1) return -1;
  if (tree.BuildMARCTree() == -1) return -1;
  return tree.RunWholeTree(kRecordsName);
}

}  // namespace
}  // namespace karst::testing

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace karst::testing;
  const ScratchFolder folder;
  [[maybe_unused]] static const bool skipped = SkipSmallHandles();
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::string filter(input.substr(0, input.find('\0')));
  const std::string_view records = input.substr(std::min(size, filter.size() + 1));
  if (!IsWorthRunning(filter) || records.size() > kMostRecordBytes) return -1;
  WriteBytes(kFilterName, filter);
  WriteBytes(kRecordsName, records.empty() ? OwnRecords() : std::string(records));
  CompareRuns<CMARCTree>([](CMARCTree& tree) {
    karst::SetStatementBudgetForTests(kMostStatements);
    return ResultOf(tree, RunFilter);
  });
  return 0;
}

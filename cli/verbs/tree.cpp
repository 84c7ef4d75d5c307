// The verb "tree": a filter is loaded and its tree built and shown.
#include "cli/base/exit_status.h"
#include "cli/base/source_file.h"
#include "cli/base/stop_request.h"
#include "cli/run/filter/filter_tree.h"
#include "cli/verbs/script_host.h"
#include "cli/verbs/verbs.h"

namespace karst::cli {
namespace {

constexpr const char* kExamples =
    "Example:\n"
    "  karst tree titles.flt";

class TreeVerb : public Verb {
 public:
  TreeVerb() : Verb("tree", "Show the tree of a filter", kExamples) {}

  void Declare(OptionList& list, CommonOptions& common) override {
    list.Word("FILTER", "The filter (.flt)", options_.program);
    AddEncoding(list, common);
    AddMessages(list, common);
    AddSource(list, options_.source);
  }

  int Run(const CommonOptions& common) override {
    return ScriptHost(options_, common).Run([&](Console& console) { return ShowTree(console); });
  }

 private:
  int ShowTree(Console& console) const {
    const SourceFile filter(options_.program, options_.source, console);
    CMARCTree tree;
    console.Connect(tree);
    RecordDatabases::Connect(tree);
    const StoppableRun stoppable(tree);
    return StatusOf(ResultOrFault(console, tree, filter, [&] {
      const int built = LoadTree(console, tree, filter);
      return built == -1 || tree.IsStop() ? built : tree.DumpMARCTree();
    }));
  }

  ScriptOptions options_;
};

}  // namespace

std::unique_ptr<Verb> MakeTreeVerb() { return std::make_unique<TreeVerb>(); }

}  // namespace karst::cli

// Loading a filter, and the faults of one.
#include "cli/run/filter/filter_tree.h"

#include <new>

#include "cli/base/exit_status.h"
#include "cli/run/error_display.h"

namespace karst::cli {

int ResultOrFault(Console& console, CMARCTree& tree, const SourceFile& filter, const std::function<int()>& body) {
  try {
    return body();
  } catch (const HostError&) {
    throw;
  } catch (const std::bad_alloc&) {
    throw;  // the program's own: no place in the filter is at fault
  } catch (const MemoryError& error) {
    return ReportNoMemory(console, tree, filter, error);
  } catch (const CError& error) {
    return ReportScriptError(console, tree, filter, error.what(), tree.LineOf(error));
  } catch (const char* text) {
    return ReportScriptError(console, tree, filter, text, tree.GetCurLineNumber());
  } catch (...) {
    return ReportScriptError(console, tree, filter, ToGbk("未知错误...").c_str(), tree.GetCurLineNumber());
  }
}

int LoadTree(Console& console, CMARCTree& tree, const SourceFile& filter) {
  if (!filter.LoadInto(tree)) return -1;
  if (tree.IsStop()) return 0;
  const int result = tree.BuildMARCTree();
  if (result == -1) console.Say(filter.Shown() + ": the filter ended with the result -1 while it was built");
  return result;
}

}  // namespace karst::cli

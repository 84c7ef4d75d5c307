// A filter in an engine: loaded, with its tree built; and what it throws.
#pragma once

#include <functional>

#include "cli/base/console.h"
#include "cli/base/source_file.h"
#include "marc/marctree.h"

namespace karst::cli {

// Gives what `body` gives, or -1 for what it throws, which is told with its place in the filter. What is the program's
// own passes: HostError and std::bad_alloc.
int ResultOrFault(Console& console, CMARCTree& tree, const SourceFile& filter, const std::function<int()>& body);

// The filter's code and its tree, in the steps of the library's own entry point. -1 if there is no tree to run; the
// reason has been told.
int LoadTree(Console& console, CMARCTree& tree, const SourceFile& filter);

}  // namespace karst::cli

// The command line of the verbs around records.
#pragma once

#include <string>

#include "cli/verbs/options.h"

namespace CLI {
class App;
}

namespace karst::cli {

// Adds convert, show, count and split. What they are given goes to `options` and `encoding`, which have to outlive the
// parsing.
void AddRecordVerbs(CLI::App& app, Options& options, std::string& encoding);

}  // namespace karst::cli

// What the command line asks for.
#pragma once

#include <memory>
#include <variant>

#include "cli/verbs/verb.h"

namespace karst::cli {

struct Command {
  std::unique_ptr<Verb> verb;  // with its options
  CommonOptions common;
};

// The command, or the exit status where nothing is to be run: help and version go to standard output with 0; wrong
// usage goes to standard error, with help, with 2.
std::variant<Command, int> ParseCommandLine(int argc, char** argv);

}  // namespace karst::cli

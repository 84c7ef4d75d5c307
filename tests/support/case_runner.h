// Runs cases through the engine's own objects, as its entry points do, and compares what is left behind.
#pragma once

#include <map>
#include <string>

#include "support/case_file.h"

namespace karst::testing {

// What a run left behind, in the engine's bytes.
struct Observed {
  int result = 0;
  std::string output;                        // the host's output control
  std::string stream;                        // what went to "stdout"
  std::string tree;                          // a filter's tree, listed
  std::string code;                          // the whole code buffer
  std::string variables;                     // the variable table, one cell on a line
  std::map<std::string, std::string> files;  // the directory's files but "karst.log", which holds addresses
};

// Runs a case in a fresh directory, which becomes the working directory meanwhile.
Observed RunCase(const Case& test_case, bool remembering);

// Runs a case with and without what is remembered; both runs must agree, and give what the case expects. Reports to
// the running test.
void CheckCase(const Case& test_case);

}  // namespace karst::testing

// Where the tests find the project's files and the program.
#pragma once

#include <string>

namespace karst::testing {

// The path of a file or folder of the project, given from its root; the empty path is the root.
std::string SourcePath(const std::string& path);
// The program under test.
const char* ProgramPath();

}  // namespace karst::testing

// Runs the built program as a child process.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace karst::testing {

struct ChildSetup {
  std::vector<std::string> arguments = {};
  std::string input = {};                     // standard input, a pipe
  std::vector<std::string> environment = {};  // added to one with no locale, as "NAME=value"
  std::string output_path = {};               // where standard output goes instead of into the result
  bool output_closed = false;                 // standard output is a pipe that nobody reads
};

struct ChildResult {
  int status = 0;  // exit status; minus the signal's number if one ended the process
  std::string output;
  std::string error;
};

// Runs to the end. A child that uses up a minute of processor time is ended.
ChildResult RunProgram(const ChildSetup& setup);
// `while_running` gets the process id as soon as the child runs.
ChildResult RunProgram(const ChildSetup& setup, const std::function<void(pid_t)>& while_running);

std::string ReadWhole(const std::string& path);
void WriteWhole(const std::string& path, std::string_view bytes);

}  // namespace karst::testing

// Calls built-ins as a script does: variables in a table, arguments as cells after them, the row's handler, and the
// cells cut off again.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "builtins/funcarray.h"
#include "windows/window.h"

namespace karst::testing {

// An argument written &name.
struct Ref {
  std::string name;
};
using Argument = std::variant<std::string, int32_t, int64_t, Ref>;

class BuiltinCaller {
 public:
  BuiltinCaller() = default;
  ~BuiltinCaller();
  BuiltinCaller(const BuiltinCaller&) = delete;
  BuiltinCaller& operator=(const BuiltinCaller&) = delete;

  // Declares a variable.
  void Declare(const char* name, const Argument& value);

  // Calls a built-in that must not stop the script, and gives its result.
  int32_t Call(const char* name, const std::vector<Argument>& arguments);
  // Calls a built-in that must stop the script, and gives the message.
  std::string Refusal(const char* name, const std::vector<Argument>& arguments);

  std::string Text(const char* variable);
  int64_t Number(const char* variable);

  // Gives the interpreter an output control; its text is what the built-ins wrote to it.
  const CString& Output();

  CFuncArray self;

 private:
  // Gives the message, or sets `result` and gives the empty text.
  std::string Run(const char* name, const std::vector<Argument>& arguments, int32_t& result);
  void MakeCell(const char* name, const Argument& value);

  MemoryTextControl* output_ = nullptr;  // owned by the table of windows
};

// A file's bytes; "(none)" if there is no such file.
std::string FileBytes(const std::string& path);
void MakeFile(const std::string& path, const std::string& bytes);

}  // namespace karst::testing

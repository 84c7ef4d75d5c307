// Output to a name: an appended file from the handle cache, or what the host put in its place; for the name "stdout",
// the host's output stream.
#pragma once

#include <string_view>

#include "builtins/funcarray.h"

namespace karst {

class NamedOutput {
 public:
  // Finds what serves the name (which may open or make the file). The name has to outlive the object.
  NamedOutput(CFuncArray* self, const CString& name);

  // False if nothing serves the name. The text need not be made then: the built-in's result is -1.
  bool Served() const;

  // Delivers a whole text. Gives the bytes written, -1 on failure, or what the host's stream answered.
  int32_t Deliver(std::string_view text);

 private:
  int32_t Stream(std::string_view bytes);
  int32_t StreamChunk(std::string_view text);

  CFuncArray* self_;
  std::string_view name_;
  bool to_host_;
  FileHandle file_ = kNoFile;
};

}  // namespace karst

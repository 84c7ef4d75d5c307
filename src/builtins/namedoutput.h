// Output to a name: a file that is appended to, or what the host put in its place; for fnprintf and FnCat, the name
// "stdout" is the host's output stream.
#pragma once

#include <string_view>

#include "builtins/funcarray.h"

namespace karst {

// A file that a script names. That of a converted text is open for this one text and shared with nobody; any other is
// from the handle cache. Failures are told as CFuncArray::OnNamedOutputFailure says.
class NamedFile {
 public:
  explicit NamedFile(CFuncArray* self) : self_(self) {}
  NamedFile(const NamedFile&) = delete;
  NamedFile& operator=(const NamedFile&) = delete;
  ~NamedFile() { Close(); }

  // Opens or makes the file, once for an object. False if that fails. The name has to outlive the object.
  bool Open(const CString& name, bool converted);
  // The bytes written. -1 on failure; for a converted text also if these are not all.
  int32_t Write(std::string_view bytes);
  // Closes the file of a converted text.
  void Close();

 private:
  CFuncArray* self_;
  std::string_view name_;
  bool converted_ = false;
  FileHandle file_ = kNoFile;
};

class NamedOutput {
 public:
  enum class Kind { kPlain, kConverted };  // of fnprintf and FnCat; of bmprintf
  // Finds what serves the name (which may open or make the file). The name has to outlive the object.
  NamedOutput(CFuncArray* self, const CString& name, Kind kind = Kind::kPlain);
  NamedOutput(const NamedOutput&) = delete;
  NamedOutput& operator=(const NamedOutput&) = delete;

  // False if nothing serves the name. The text need not be made then: the built-in's result is -1.
  bool Served() const { return way_ != Way::kNone; }
  // Delivers a whole text. Gives the bytes written, -1 on failure, or what the host's stream answered.
  int32_t Deliver(std::string_view text);
  // Ends the output of a converted text before the object does.
  void Close() { file_.Close(); }

 private:
  enum class Way { kNone, kFile, kHandler, kStream };
  Way FindWay(const CString& name);
  int32_t Stream(std::string_view bytes);
  int32_t StreamChunk(std::string_view text);

  CFuncArray* self_;
  std::string_view name_;
  Kind kind_;
  NamedFile file_;
  Way way_;
};

}  // namespace karst

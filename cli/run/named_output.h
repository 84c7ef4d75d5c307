// The files that a script or a filter writes by name.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "builtins/funcarray.h"
#include "cli/base/console.h"
#include "cli/base/reversible_encoding.h"

namespace karst::cli {

// Of one run: what several engines write goes through the file handles of one of them. Each file that loses something
// is told once.
class NamedOutput {
 public:
  // With an `encoding`, what the engine writes comes here too; none leaves it to the engine. The engine outlives this.
  NamedOutput(CFuncArray& engine, Console& console, std::optional<Encoding> encoding);
  NamedOutput(const NamedOutput&) = delete;
  NamedOutput& operator=(const NamedOutput&) = delete;
  ~NamedOutput();

  // What an engine wrote when it was not its turn, and was told to be written.
  void DeliverLate(const OutputLog::Entry& entry);
  // After the run: writes what was held back, such as half a character that was never completed, and closes the files.
  void Finish();
  // False if something was lost, up to the last Finish.
  bool Whole() const { return whole_; }

 private:
  // Appends it in the charset of the files. The bytes that the text has, or -1.
  int32_t Deliver(const NamedText& text);
  void TellLoss(std::string_view file, int error);

  CFuncArray& engine_;
  Console& console_;
  const bool to_utf8_;
  std::map<std::string, ReversibleUtf8Stream, std::less<>> streams_;  // where files are UTF-8
  bool whole_ = true;
};

}  // namespace karst::cli

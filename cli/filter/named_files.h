// The files that a filter writes by name.
#pragma once

#include <map>
#include <set>
#include <string>

#include "builtins/funcarray.h"
#include "console.h"
#include "records/reversible.h"

namespace karst::cli {

// Of one run: what several engines write goes through the file handles of one of them.
class NamedFiles {
 public:
  // With a `charset`, what the engine writes comes here too; kAuto leaves it to the engine.
  NamedFiles(CFuncArray& engine, Console& console, RecordCharset charset);
  NamedFiles(const NamedFiles&) = delete;
  NamedFiles& operator=(const NamedFiles&) = delete;

  // Appends a text that an engine wrote when it was not its turn. The engine was told that all is well, so a failure is
  // told here, once for each file.
  void DeliverLate(const NamedText& text);
  // Behind the run: writes what was held back, such as half a character that was never completed.
  void Finish();
  // False if such a text was lost.
  bool Whole() const { return lost_.empty(); }

  // Takes a text into the log to which this thread's output is diverted.
  static int32_t Divert(const NamedText& text);

 private:
  // Appends it in the charset of the files. The bytes that the text has, or -1.
  int32_t Deliver(const NamedText& text);
  void TellLoss(std::string_view file);

  CFuncArray& engine_;
  Console& console_;
  const bool to_utf8_;
  std::map<std::string, ReversibleUtf8Stream, std::less<>> streams_;  // where files are UTF-8
  std::set<std::string, std::less<>> lost_;
};

}  // namespace karst::cli

// The script or filter that the command line names: read once, and loaded into as many engines as run it.
#pragma once

#include "cli/base/console.h"
#include "cli/base/input_file.h"
#include "cli/base/source_text.h"
#include "script/script.h"

namespace karst::cli {

class SourceFile {
 public:
  // Reads the file. What keeps it from being run, and what makes it doubtful how it was meant, is told.
  SourceFile(const std::string& name, SourceReading reading, Console& console);

  // The file's name for messages, in the user's encoding.
  const std::string& Shown() const { return file_.Shown(); }
  const SourceText& Text() const { return text_; }

  // As CCode::LoadCode: a literal that is still open is a CError. False if there is nothing to run, which was told.
  bool LoadInto(CCode& engine) const;

 private:
  std::string Place(size_t offset) const;
  void TellMisfit() const;
  void WarnOfDoubts() const;

  const InputFile file_;
  Console& console_;
  SourceText text_;
  bool good_ = false;
};

}  // namespace karst::cli

// Checking one source as a whole.
#pragma once

#include <string>
#include <string_view>

#include "cli/base/source_text.h"
#include "cli/check/findings.h"

namespace karst::cli::check {

enum class SourceKind { kScript, kFilter };

// By the ending of the name, in any case: .flt is a filter, .pro a script. Any other file is a filter if it has a word
// of a filter's blocks.
SourceKind KindOf(std::string_view file_name, std::string_view bytes);

struct CheckedSource {
  SourceText text;  // where the findings are
  Findings findings;
};

// All findings on a source, given by the bytes of its file, as the program reads it in that way. Nothing of the source
// is run. The time is in proportion to the size.
CheckedSource CheckSource(std::string_view bytes, SourceKind kind, SourceReading reading = SourceReading::kEvident);

}  // namespace karst::cli::check

// Mending line ends and charset of a source.
#pragma once

#include <string>
#include <string_view>

#include "cli/base/source_text.h"
#include "cli/check/findings.h"

namespace karst::cli::check {

struct MendedSource {
  std::string bytes;          // the whole file anew
  size_t line_ends = 0;       // so many were mended
  bool converted = false;     // from UTF-8 to GBK
  bool open_literal = false;  // nothing was mended: where literals stand is not known
  SourceText text;            // as it was, where the findings are
  Findings findings;          // what keeps the source from being mended

  bool Refused() const { return open_literal || findings.HasErrors(); }
  bool Changed() const { return line_ends > 0 || converted; }
};

// The source as the program reads it: where all line ends are LF they become CR LF, and UTF-8 without its mark becomes
// GBK. Where line ends are of several kinds, those outside literals become CR LF (in a literal, only where a backslash
// continues the line). Everything else keeps its bytes. Refused, with findings: a character that GBK lacks, a literal
// that is not closed.
MendedSource Mend(std::string_view bytes);

}  // namespace karst::cli::check

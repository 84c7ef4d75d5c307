// Mending line ends and charset of a source.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "check/findings.h"

namespace karst::cli::check {

struct MendedSource {
  std::string bytes;          // the whole file anew
  size_t line_ends = 0;       // so many were mended
  bool converted = false;     // from UTF-8 to GBK
  bool open_literal = false;  // nothing was mended: where literals stand is not known
  std::string checked_text;   // GBK, where the findings are
  Findings findings;          // what keeps the source from being mended

  bool Refused() const { return open_literal || findings.HasErrors(); }
  bool Changed() const { return line_ends > 0 || converted; }
};

// Line ends outside literals become CR LF (in a literal, only where a backslash continues the line), and UTF-8 without
// its mark becomes GBK. Everything else keeps its bytes. Refused, with findings: a character that GBK lacks, a literal
// that is not closed.
MendedSource Mend(std::string_view bytes);

}  // namespace karst::cli::check

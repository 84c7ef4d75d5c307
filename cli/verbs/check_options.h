// What the command line asks of the verb "check".
#pragma once

#include <string>
#include <vector>

namespace karst::cli {

struct CheckOptions {
  std::vector<std::string> files;
  std::string language;  // "zh" or "en"; empty: the locale's
  bool fix = false;      // mend line ends and charset first
  bool warnings_are_errors = false;
  bool only_errors = false;  // no warnings, no notes, no summary
};

}  // namespace karst::cli

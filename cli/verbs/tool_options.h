// What the command line asks of the verbs around records, beside the options that all verbs have.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/records/record_format.h"

namespace karst::cli {

enum class ColourMode { kAuto, kAlways, kNever };

struct RecordToolOptions {
  RecordFormat from = RecordFormat::kAuto;
  RecordCharset from_charset = RecordCharset::kAuto;

  // convert
  RecordFormat to = RecordFormat::kAuto;
  RecordCharset to_charset = RecordCharset::kAuto;  // kAuto: as they are
  Flavour flavour = Flavour::kAuto;
  std::string output;
  bool gzip = false;

  // show
  std::vector<std::string> fields;  // none: all
  uint64_t limit = 0;               // 0: none
  ColourMode colour = ColourMode::kAuto;

  // split
  uint64_t every = 0;
  std::string prefix;
};

}  // namespace karst::cli

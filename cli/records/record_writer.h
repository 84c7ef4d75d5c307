// RecordWriter: records into one of the formats.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "cli/records/record_format.h"

namespace karst::cli {

class RecordWriter {
 public:
  virtual ~RecordWriter() = default;
  // What goes before all records, and after them.
  virtual std::string_view Start() const { return {}; }
  virtual std::string_view End() const { return {}; }
  // Appends a record in the internal form; for MARCXML it has to be in UTF-8. Where the format cannot hold it, `out`
  // stays as it is, and the reason comes back, in GBK; else the empty text.
  virtual std::string Append(std::string_view record, std::string& out) = 0;
};

// kAuto stands for ISO 2709.
std::unique_ptr<RecordWriter> MakeRecordWriter(RecordFormat format);

}  // namespace karst::cli

// RecordConversion: records as one file has them, into the format and the charset of another.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "cli/records/record_files.h"
#include "cli/records/record_writer.h"

namespace karst::cli {

struct ConversionTarget {
  RecordFormat format = RecordFormat::kAuto;     // kAuto: what the first record is
  RecordCharset charset = RecordCharset::kAuto;  // kAuto: as they are
  Flavour flavour = Flavour::kAuto;
};

class RecordConversion {
 public:
  explicit RecordConversion(const ConversionTarget& target) : target_(target) {}

  // What goes before all records that are `read`, appended to `out`; once, before the first. HostError if the format
  // is not to be had in that charset.
  bool HasBegun() const { return writer_ != nullptr; }
  void Begin(RecordFormat read, std::string& out);
  // Appends a record. Gives the fault, in GBK, where the format cannot hold it; empty if all is well.
  std::string Append(const RecordInFile& record, std::string& out);
  // What goes after all records.
  void End(std::string& out) { out += writer_->End(); }

  // Characters that the charset has no place for, or bytes that belong to no character, in what was appended.
  uint64_t Missing() const { return missing_; }

 private:
  void Convert(std::string_view text, RecordCharset source, RecordCharset target);

  ConversionTarget target_;
  std::unique_ptr<RecordWriter> writer_;
  std::string converted_;
  uint64_t missing_ = 0;
};

}  // namespace karst::cli

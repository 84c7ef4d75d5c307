// RecordParser: what finds the records of one format in a stream of bytes.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "records/recordreader.h"

namespace karst::cli {

class RecordParser {
 public:
  virtual ~RecordParser() = default;
  // On to the next record, or over the next stretch that is none: `handler` gets it, if there is one.
  virtual ReadResult Next(const SkippedRecordHandler& handler) = 0;
  // Why Next gave kFailed, in UTF-8; empty where the source is to blame.
  virtual std::string Fault() const { return ""; }
  // True if something was read that only this format has, be it no whole record.
  virtual bool HasSign() const { return RecordCount() > 0; }
  // Lets go of the source. The counts and the position stay.
  virtual void Close() = 0;

  // The record given last: in the internal form, NUL-terminated, in the charset of the file; its bytes there; where.
  virtual std::string_view Text() const = 0;
  virtual std::string_view RawBytes() const = 0;
  virtual uint64_t RecordOffset() const = 0;

  virtual uint64_t Position() const = 0;
  virtual uint64_t RecordCount() const = 0;
  virtual uint64_t RepairedCount() const = 0;
  virtual uint64_t SkippedCount() const = 0;
  virtual uint64_t SkippedBytes() const = 0;
};

// ISO 2709 and the internal form.
std::unique_ptr<RecordParser> MakeBinaryParser(std::unique_ptr<ByteSource> source);
// The line form (line_format.h).
std::unique_ptr<RecordParser> MakeLineParser(std::unique_ptr<ByteSource> source);
// MARCXML in UTF-8 (xml_parser.h).
std::unique_ptr<RecordParser> MakeXmlParser(std::unique_ptr<ByteSource> source);

}  // namespace karst::cli

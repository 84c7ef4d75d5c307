// The reader behind the C interface.
#include "capi/reader.h"

using karst::capi::Failure;

karst_reader::karst_reader(karst_encoding encoding) : last_failure(encoding), encoding_(encoding) {
  file_.OnSkippedRecord([this](const karst::SkippedRecord& skipped) {
    offset_ = skipped.offset;
    raw_ = skipped.bytes;
    karst::capi::ToOutside(skipped.reason, encoding_, reason_);
  });
}

void karst_reader::Clear() {
  text_.clear();
  raw_.clear();
  reason_.clear();
  offset_ = 0;
}

karst_status karst_reader::Open(std::string_view file) {
  Clear();
  file_.Close();
  open_ = false;
  if (file.empty() || file.find('\0') != file.npos) throw Failure{KARST_ERROR_ARGUMENT, "no name of a file"};
  if (file_.Open(karst::capi::FileNameInside(file, encoding_).c_str()) == -1) {
    throw Failure{KARST_ERROR_FILE, "cannot read '" + std::string(file) + "'"};
  }
  open_ = true;
  return KARST_OK;
}

karst_status karst_reader::Next() {
  Clear();
  if (!open_) throw Failure{KARST_ERROR_FILE, "no file is open"};
  switch (file_.NextRecord(record_)) {
    case 0: return TakeRecord();
    case 1: return KARST_END;
    case 2: return KARST_SKIPPED;
    default: throw Failure{KARST_ERROR_FILE, "the file cannot be read on"};
  }
}

karst_status karst_reader::TakeRecord() {
  offset_ = file_.CurrentOffset();
  raw_ = file_.CurrentRawBytes();
  karst::capi::ToOutside(record_.view(), encoding_, text_);
  return KARST_OK;
}

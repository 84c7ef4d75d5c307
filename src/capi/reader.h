// The reader behind the C interface: the records of a file, one by one.
#pragma once

#include <string>
#include <string_view>

#include "capi/failure.h"
#include "capi/hosttext.h"
#include "records/cartulary.h"

struct karst_reader {
 public:
  explicit karst_reader(karst_encoding encoding);
  karst_reader(const karst_reader&) = delete;
  karst_reader& operator=(const karst_reader&) = delete;

  // Give a status or throw.
  karst_status Open(std::string_view file);
  karst_status Next();

  const std::string& Text() const { return text_; }
  const std::string& RawBytes() const { return raw_; }
  const std::string& Reason() const { return reason_; }
  uint64_t Offset() const { return offset_; }
  uint64_t Position() const { return file_.BytePosition(); }
  uint64_t Size() const { return file_.ByteSize(); }

  karst::capi::LastFailure last_failure;

 private:
  void Clear();
  karst_status TakeRecord();

  const karst_encoding encoding_;
  CMARCFile file_;
  bool open_ = false;
  CString record_;
  std::string text_;
  std::string raw_;
  std::string reason_;
  uint64_t offset_ = 0;
};

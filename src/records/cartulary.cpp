// One record text as a stream.
#include "records/cartulary.h"

int CMARCString::Open(const CString& record) {
  record_ = record;
  given_ = false;
  stream_size = static_cast<uint32_t>(record_.size());
  stream_position = 0;
  return 0;
}

int CMARCString::Close() {
  record_.Empty();
  given_ = true;
  return 0;
}

int CMARCString::NextRecord(CString& record) {
  if (given_) return 1;
  given_ = true;
  stream_position = stream_size;
  record = record_;
  return 0;
}

const char* CMARCString::GetCurRec() { return record_; }

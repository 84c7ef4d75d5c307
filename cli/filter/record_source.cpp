// RecordSource: a record file with a hook ahead of each record.
#include "filter/record_source.h"

namespace karst::cli {

ReadState RecordSource::State() const {
  return {file_.RecordCount(), file_.SkippedCount(), file_.SkippedBytes(), file_.RepairedCount(), file_.BytePosition()};
}

int RecordSource::Open(const CString& name) {
  const int result = file_.Open(name);
  stream_size = file_.stream_size;
  stream_position = 0;
  return result;
}

int RecordSource::NextRecord(CString& record) {
  if (hook_) hook_();
  const int result = file_.NextRecord(record);
  stream_position = file_.stream_position;
  return result;
}

}  // namespace karst::cli

// FilterInput: a record file with a hook before each record.
#include "cli/run/filter_input.h"

namespace karst::cli {

ReadState FilterInput::State() const {
  return {input_.RecordCount(), input_.SkippedCount(), input_.SkippedBytes(), input_.RepairedCount(),
          input_.BytePosition()};
}

int FilterInput::Open(const CString& name) {
  const int result = input_.Open(name);
  stream_size = input_.stream_size;
  stream_position = 0;
  return result;
}

int FilterInput::NextRecord(CString& record) {
  if (hook_) hook_();
  const int result = input_.NextRecord(record);
  stream_position = input_.stream_position;
  return result == -1 && IsInNoFormat() ? 1 : result;
}

}  // namespace karst::cli

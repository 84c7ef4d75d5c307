// Output to a name.
#include "builtins/namedoutput.h"

#include <cstdio>

#include "platform/mbtext.h"

namespace karst {

NamedOutput::NamedOutput(CFuncArray* self, const CString& name)
    : self_(self), name_(name.view()), to_host_(EqualIgnoringCase(name_, "stdout")) {
  if (to_host_) {
    // CHOICE: a stream without a callback is no stream.
    file_ = self->m_pfnStdOutWrite ? self->m_hStdOut : kNoFile;
  } else if (!self->NamedOutputTaker()) {
    file_ = self->GetFileHandleForAppend(name);
  }
}

bool NamedOutput::Served() const { return file_ != kNoFile || (!to_host_ && self_->NamedOutputTaker()); }

int32_t NamedOutput::Deliver(std::string_view text) {
  if (!to_host_) {
    const NamedOutputHandler& taker = self_->NamedOutputTaker();
    return taker ? taker({name_, text, false}) : static_cast<int32_t>(WriteFile(file_, text));
  }
  return self_->m_nStdOutChunked == 1 ? StreamChunk(text) : Stream(text);
}

int32_t NamedOutput::Stream(std::string_view bytes) {
  return self_->m_pfnStdOutWrite(file_, bytes.data(), static_cast<int32_t>(bytes.size()), self_->m_lStdOutParam);
}

// HTTP chunked framing. An empty text would read as the closing chunk, so it is not sent.
int32_t NamedOutput::StreamChunk(std::string_view text) {
  if (text.empty()) return 0;
  char size_line[20];
  const int length = std::snprintf(size_line, sizeof size_line, "%zX\r\n", text.size());
  Stream({size_line, static_cast<size_t>(length)});
  const int32_t answer = Stream(text);
  Stream("\r\n");
  return answer;
}

}  // namespace karst

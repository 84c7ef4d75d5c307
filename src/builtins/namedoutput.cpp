// Output to a name.
#include "builtins/namedoutput.h"

#include <cstdio>

#include "text/mbtext.h"

namespace karst {

bool NamedFile::Open(const CString& name, bool converted) {
  name_ = name.view();
  converted_ = converted;
  if (!converted) return (file_ = self_->GetFileHandleForAppend(name)) != kNoFile;
  file_ = OpenForAppendingAlone(name, self_->FileOwner());
  if (file_ == kNoFile) self_->TellNamedOutputFailure(name_);
  return file_ != kNoFile;
}

int32_t NamedFile::Write(std::string_view bytes) {
  const int64_t written = WriteFile(file_, bytes);
  const bool whole = written == static_cast<int64_t>(bytes.size());
  if (!whole) self_->TellNamedOutputFailure(name_);
  return whole || !converted_ ? static_cast<int32_t>(written) : -1;
}

void NamedFile::Close() {
  if (converted_ && file_ != kNoFile && CloseFile(file_) != 0) self_->TellNamedOutputFailure(name_);
  file_ = kNoFile;
}

NamedOutput::NamedOutput(CFuncArray* self, const CString& name, Kind kind)
    : self_(self), name_(name.view()), kind_(kind), file_(self), way_(FindWay(name)) {}

NamedOutput::Way NamedOutput::FindWay(const CString& name) {
  if (kind_ == Kind::kPlain && EqualIgnoringCase(name_, "stdout")) {
    // CHOICE: a stream without a callback is no stream.
    return self_->m_pfnStdOutWrite && self_->m_hStdOut != kNoFile ? Way::kStream : Way::kNone;
  }
  if (self_->NamedOutputTaker()) return Way::kHandler;
  return file_.Open(name, kind_ == Kind::kConverted) ? Way::kFile : Way::kNone;
}

int32_t NamedOutput::Deliver(std::string_view text) {
  if (way_ == Way::kFile) return file_.Write(text);
  if (way_ == Way::kHandler) return self_->NamedOutputTaker()({name_, text, kind_ == Kind::kConverted});
  return self_->m_nStdOutChunked == 1 ? StreamChunk(text) : Stream(text);
}

int32_t NamedOutput::Stream(std::string_view bytes) {
  return self_->m_pfnStdOutWrite(self_->m_hStdOut, bytes.data(), static_cast<int32_t>(bytes.size()),
                                 self_->m_lStdOutParam);
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

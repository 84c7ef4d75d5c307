// CCode: loading, the rewriting of the source, line numbers and the diagnostic copies.
#include <climits>
#include <cstring>
#include <memory>
#include <new>

#include "outside/zebutil.h"
#include "platform/files.h"
#include "platform/mbtext.h"
#include "script/code.h"
#include "script/token.h"

namespace {

constexpr char kNoMemory[] = "mem low";
constexpr size_t kLiteralHead = 5;  // the quote and the stored length

// The state of one rewrite. Bytes in, bytes out; it knows nothing of double-byte characters.
class SourceRewrite {
 public:
  explicit SourceRewrite(std::string_view source) : source_(source) {}

  // Fills `out`. False if a literal is still open at the end.
  bool Run(CString& out) {
    out.Empty();
    out.Reserve(source_.size() + 1);
    for (position_ = 0; position_ < source_.size() && source_[position_] != 0; ++position_) {
      TakeByte(out, source_[position_]);
    }
    return !in_string_;
  }

  // The line of the source on which the literal that is open begins.
  int OpenLiteralLine() const {
    int line = 1;
    for (size_t i = 0; i < literal_source_; ++i) line += source_[i] == '\r';
    return line;
  }

 private:
  void TakeByte(CString& out, char byte) {
    if (in_comment_) {
      if (byte != '\r') return;
      in_comment_ = false;
    }
    if (after_backslash_ && byte == '\r') return ContinueLine(out);
    if (in_string_) return TakeStringByte(out, byte);
    after_backslash_ = byte == '\\';
    switch (byte) {
      case '"': return OpenLiteral(out);
      case '#': in_comment_ = true; return;
      default: out += byte;
    }
    if (byte == '\n') PayLineEnds(out);
  }

  void TakeStringByte(CString& out, char byte) {
    if (after_backslash_) {
      out += OneEscChar(byte);
      after_backslash_ = false;
    } else if (byte == '\\') {
      after_backslash_ = true;
    } else if (byte == '"') {
      CloseLiteral(out);
    } else {
      out += byte;
    }
  }

  // A backslash right ahead of a line end joins the lines; the line end is owed behind the joined line.
  void ContinueLine(CString& out) {
    if (!in_string_) out.Resize(out.size() - 1);
    ++line_ends_owed_;
    after_backslash_ = false;
    ++position_;  // the LF
  }

  void PayLineEnds(CString& out) {
    for (; line_ends_owed_ > 0; --line_ends_owed_) out += "\r\n";
  }

  void OpenLiteral(CString& out) {
    head_ = out.size();
    literal_source_ = position_;
    in_string_ = true;
    out.Resize(head_ + kLiteralHead);
  }

  void CloseLiteral(CString& out) {
    in_string_ = false;
    out += '\0';
    const int32_t stored = static_cast<int32_t>(out.size() - head_ - kLiteralHead);
    out.data()[head_] = '"';
    std::memcpy(out.data() + head_ + 1, &stored, sizeof stored);
  }

  std::string_view source_;
  size_t position_ = 0;
  size_t head_ = 0;
  size_t literal_source_ = 0;
  bool in_string_ = false;
  bool in_comment_ = false;
  bool after_backslash_ = false;
  int line_ends_owed_ = 0;
};

// The readable form of rewritten code: literals in quotes, without their lengths.
CString ReadableCode(const char* code, int length) {
  CString readable;
  readable.Reserve(static_cast<size_t>(length));
  const karst::CodeSpan span{code, code + length};
  for (const char* p = code; p < span.end;) {
    if (*p != '"' || span.end - p <= static_cast<ptrdiff_t>(kLiteralHead)) {
      readable += *p++;
      continue;
    }
    const char* behind = karst::BehindLiteral(span, p);
    const char* content = p + kLiteralHead;
    readable += '"';
    if (behind > content) readable += std::string_view(content, static_cast<size_t>(behind - content - 1));
    readable += '"';
    p = behind > content ? behind : content;
  }
  return readable;
}

}  // namespace

CCode::CCode() {
  szCodeFile[0] = 0;
  szToken[0] = 0;
}

CCode::~CCode() { FreeCodeBuffer(); }

int CCode::LoadSource(const char* path, CString& source) {
  load_fault_line_ = 0;
  try {
    return LoadFileContentToString(path, source);
  } catch (const CError& refused) {
    load_fault_line_ = refused.second_code;
    throw CError(refused.text, -1, -1);
  }
}

int CCode::ReadCodeFromFile(const char* lpszFileName, int bReload) {
  CString path(lpszFileName);
  MakeFullPathName(path);
  if (!bReload && szCodeFile[0] && karst::EqualIgnoringCase(szCodeFile, path.view())) {
    lpProg = lpCodeBuffer;
    return 0;
  }
  CString source;
  if (LoadSource(path, source) == -1) {
    eprintf("\r\n文件[%s]未找到 或 打开、读入错误...", path.c_str());
    return -1;
  }
  if (source.size() >= INT_MAX) halt(kNoMemory);
  char* code = nullptr;
  const int length = ChangeCode(source.c_str(), source.GetLength(), &code);
  if (length == -1 || !code) return -1;
  FreeCodeBuffer();
  lpCodeBuffer = code;
  nCodeLen = length;
  // LIMIT: a path that does not fit with its NUL is not kept, so that the next load reads the file afresh.
  if (path.size() < sizeof szCodeFile) std::memcpy(szCodeFile, path.c_str(), path.size() + 1);
  lpProg = lpCodeBuffer;
  lpProgEnd = nullptr;
  return length;
}

int CCode::ChangeCode(const char* lpSource, int nSize, char** lpOut) {
  *lpOut = nullptr;
  CString rewritten;
  SourceRewrite rewrite(std::string_view(lpSource, static_cast<size_t>(nSize < 0 ? 0 : nSize)));
  bool closed = false;
  try {
    closed = rewrite.Run(rewritten);
  } catch (const std::bad_alloc&) {
    halt(kNoMemory);
  }
  if (!closed) {
    load_fault_line_ = rewrite.OpenLiteralLine();
    halt("字符串常量没有结束...");
  }
  char* code = new (std::nothrow) char[rewritten.size() + 1];
  if (!code) return -1;
  std::memcpy(code, rewritten.c_str(), rewritten.size() + 1);
  *lpOut = code;
  return rewritten.GetLength() + 1;
}

int CCode::ChangeCode(char** lpCode, int nSize) {
  char* rewritten = nullptr;
  const int length = ChangeCode(*lpCode, nSize, &rewritten);
  if (length == -1) return -1;
  std::unique_ptr<char[]> owner(rewritten);
  if (length <= nSize) {
    std::memcpy(*lpCode, rewritten, static_cast<size_t>(length));
    return length;
  }
  delete[] * lpCode;
  *lpCode = owner.release();
  return length;
}

int CCode::FreeCodeBuffer() {
  delete[] lpCodeBuffer;
  lpCodeBuffer = nullptr;
  szCodeFile[0] = 0;
  nCodeLen = 0;
  ++code_generation_;
  return 0;
}

int CCode::ClearCodeCatch() {
  szCodeFile[0] = 0;
  return 0;
}

int CCode::ClearFileCatch() {
  FreeCodeBuffer();
  // The read position is not valid until the next load; null keeps it from being followed by mistake.
  lpProg = nullptr;
  lpProgEnd = nullptr;
  return 0;
}

int CCode::ResetCodeStartPos() {
  lpProg = lpCodeBuffer;
  return 0;
}

int CCode::GetLineNumber(const char* lpPos, const char* lpStart) {
  int line = 1;
  if (!lpPos || !lpStart) return line;
  const karst::CodeSpan code{lpCodeBuffer, lpCodeBuffer + nCodeLen};
  for (const char* p = lpStart; p < lpPos;) {
    if (*p == '"' && p >= code.begin && p < code.end) {
      const char* behind = karst::BehindLiteral(code, p);
      p = behind > p ? behind : p + 1;
      continue;
    }
    line += *p++ == '\r';
  }
  return line;
}

int CCode::GetCurLineNumber() { return load_fault_line_ ? load_fault_line_ : GetLineNumber(lpProg, lpCodeBuffer); }

int CCode::DumpCode(const char* lpszFile, const char* lpCode, int nLen) {
  CString readable;
  try {
    readable = ReadableCode(lpCode, nLen < 0 ? 0 : nLen);
  } catch (const std::bad_alloc&) {
    halt("malloc error in CCode::DumpCode()");
  }
  DumpPackage(lpszFile, readable.c_str(), readable.size());
  return 0;
}

int CCode::DumpFile(const char* lpszFile, const char* lpCode, int nLen) {
  karst::DeleteFile(lpszFile);
  DumpPackage(lpszFile, lpCode, static_cast<size_t>(nLen < 0 ? 0 : nLen));
  return 0;
}

// CCode: loading, the rewriting of the source, line numbers and the diagnostic copies.
#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <new>

#include "helpers/zebutil.h"
#include "language/token.h"
#include "platform/files.h"
#include "script/code.h"
#include "text/mbtext.h"

namespace {

constexpr char kNoMemory[] = "mem low";
constexpr size_t kLiteralHead = 5;  // the quote and the stored length

// The state of one rewrite. Bytes in, bytes out; it knows nothing of double-byte characters.
class SourceRewrite {
 public:
  explicit SourceRewrite(std::string_view source) : source_(source) {}

  // Fills `out`, which is empty. False if a literal is still open at the end.
  bool Run(CString& out) {
    for (position_ = 0; position_ < source_.size() && source_[position_] != 0; ++position_) {
      TakeByte(out, source_[position_]);
    }
    return !in_string_;
  }

  size_t SourceSize() const { return source_.size(); }

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

  // A backslash right before a line end joins the lines; the line end is owed after the joined line.
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

bool TryReserve(CString& text, size_t bytes) {
  try {
    text.Reserve(bytes);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// The readable form of rewritten code: literals in quotes, without their lengths. The NUL of a literal that the bytes
// hold whole becomes its closing quote.
CString ReadableCode(std::string_view code) {
  CString readable;
  readable.Reserve(code.size());
  while (!code.empty()) {
    const size_t quote = std::min(code.find('"'), code.size());
    readable += code.substr(0, quote);
    code.remove_prefix(quote);
    if (code.empty()) break;
    readable += '"';
    const size_t literal = karst::LiteralLength(code);
    const std::string_view content = code.substr(std::min(kLiteralHead, code.size()));
    readable += literal > 0 ? content.substr(0, literal - kLiteralHead - 1) : content;
    if (literal > 0) readable += '"';
    code.remove_prefix(literal > 0 ? literal : code.size());
  }
  return readable;
}

}  // namespace

CCode::CCode() {
  szCodeFile[0] = 0;
  szToken[0] = 0;
}

CCode::~CCode() { FreeCodeBuffer(); }

int CCode::ReadCodeFromFile(const char* lpszFileName, int bReload) try {
  CString path(lpszFileName);
  MakeFullPathName(path);
  if (!bReload && szCodeFile[0] && karst::EqualIgnoringCase(szCodeFile, path.view())) {
    return ResetCodeStartPos();
  }
  CString source;
  return ReadSource(path, source) == -1 ? -1 : LoadCode(source.view(), path.view());
} catch (const std::bad_alloc&) {
  HaltForMemory();
}

int CCode::ReadSource(const char* path, CString& source) try {
  if (LoadFileContentToString(path, source) != -1) return 0;
  eprintf("\r\n文件[%s]未找到 或 打开、读入错误...", path);
  return -1;
} catch (const std::bad_alloc&) {
  HaltForMemory();
}

int CCode::LoadCode(std::string_view source, std::string_view name) try {
  if (source.size() >= INT_MAX) HaltForMemory(kNoMemory);
  const CString kept_name(name);  // it may be szCodeFile itself
  char* code = nullptr;
  const int length = ChangeCode(source.data(), static_cast<int>(source.size()), &code);
  if (length == -1 || !code) return -1;
  FreeCodeBuffer();
  lpCodeBuffer = code;
  nCodeLen = length;
  // LIMIT: a path that does not fit with its NUL is not kept, so that the next load reads the file afresh.
  if (kept_name.size() < sizeof szCodeFile) std::memcpy(szCodeFile, kept_name.c_str(), kept_name.size() + 1);
  lpProg = lpCodeBuffer;
  lpProgEnd = nullptr;
  return length;
} catch (const std::bad_alloc&) {
  HaltForMemory();
}

int CCode::ChangeCode(const char* lpSource, int nSize, char** lpOut) {
  *lpOut = nullptr;
  if (lpOut == &lpCodeBuffer) NoteNewBuffer();
  CString rewritten;
  SourceRewrite rewrite(std::string_view(lpSource, static_cast<size_t>(nSize < 0 ? 0 : nSize)));
  if (!TryReserve(rewritten, rewrite.SourceSize() + 1)) return -1;
  bool closed = false;
  try {
    closed = rewrite.Run(rewritten);
  } catch (const std::bad_alloc&) {
    HaltForMemory(kNoMemory);
  }
  if (!closed) {
    strError = "字符串常量没有结束...";
    throw CError(strError, -1, rewrite.OpenLiteralLine());
  }
  char* code = new (std::nothrow) char[rewritten.size() + 1];
  if (!code) HaltForMemory(kNoMemory);
  std::memcpy(code, rewritten.c_str(), rewritten.size() + 1);
  *lpOut = code;
  return rewritten.GetLength() + 1;
}

int CCode::ChangeCode(char** lpCode, int nSize) {
  char* rewritten = nullptr;
  const int length = ChangeCode(*lpCode, nSize, &rewritten);
  if (length == -1) return -1;
  std::unique_ptr<char[]> owner(rewritten);
  if (*lpCode == lpCodeBuffer) NoteNewBuffer();
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
  NoteNewBuffer();
  return 0;
}

void CCode::NoteNewBuffer() {
  ++code_generation_;
  ++text_generation_;
  seen_text_.Empty();
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
  NoteForeignEdits();
  return 0;
}

// SPEED: what is remembered of a text that nobody has changed stays; to compare it costs far less than to read it.
void CCode::NoteForeignEdits() {
  const std::string_view text(lpCodeBuffer, lpCodeBuffer ? static_cast<size_t>(nCodeLen) : 0);
  if (seen_text_.view() == text) return;
  ++text_generation_;
  try {
    seen_text_ = text;
  } catch (const std::bad_alloc&) {
    seen_text_.Empty();  // the next comparison takes the text for a new one
  }
}

void CCode::NoteOwnEdit(const char* begin, size_t length) {
  if (seen_text_.IsEmpty() || begin < lpCodeBuffer) return;
  const size_t offset = static_cast<size_t>(begin - lpCodeBuffer);
  if (offset + length <= seen_text_.size()) std::memcpy(seen_text_.data() + offset, begin, length);
}

int CCode::GetLineNumber(const char* lpPos, const char* lpStart) {
  int line = 1;
  if (!lpPos || !lpStart) return line;
  for (const char* p = lpStart; p < lpPos;) {
    if (*p != '"') {
      line += *p++ == '\r';
      continue;
    }
    const size_t literal = karst::LiteralLength({p, static_cast<size_t>(lpPos - p)});
    if (literal == 0) return line;  // the position is inside
    p += literal;
  }
  return line;
}

int CCode::GetCurLineNumber() { return GetLineNumber(lpProg, lpCodeBuffer); }

int CCode::DumpCode(const char* lpszFile, const char* lpCode, int nLen) try {
  const CString readable = ReadableCode({lpCode, static_cast<size_t>(nLen < 0 ? 0 : nLen)});
  DumpPackage(lpszFile, readable.c_str(), readable.size());
  return 0;
} catch (const std::bad_alloc&) {
  HaltForMemory(kNoDumpMemory);
}

int CCode::DumpFile(const char* lpszFile, const char* lpCode, int nLen) {
  karst::DeleteFile(lpszFile);
  DumpPackage(lpszFile, lpCode, static_cast<size_t>(nLen < 0 ? 0 : nLen));
  return 0;
}

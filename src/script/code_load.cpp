// CCode: loading, line numbers and the diagnostic copies.
#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <new>

#include "helpers/zebutil.h"
#include "language/source_rewrite.h"
#include "platform/files.h"
#include "script/code.h"
#include "text/mbtext.h"

namespace {

constexpr char kNoMemory[] = "mem low";

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
    const std::string_view content = code.substr(std::min(karst::kLiteralHead, code.size()));
    readable += literal > 0 ? content.substr(0, literal - karst::kLiteralHead - 1) : content;
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
  const std::string_view source(lpSource, static_cast<size_t>(nSize < 0 ? 0 : nSize));
  if (!TryReserve(rewritten, source.size() + 1)) return -1;
  karst::SourceRewrite rewrite(rewritten);
  try {
    rewrite.TakeAll(source);
  } catch (const std::bad_alloc&) {
    HaltForMemory(kNoMemory);
  }
  if (rewrite.InLiteral()) {
    strError = "字符串常量没有结束...";
    const std::string_view before = source.substr(0, rewrite.OpenLiteral());
    throw CError(strError, -1, 1 + static_cast<int>(std::count(before.begin(), before.end(), '\r')));
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

// CCode: the read position: tokens, the one token that can be put back, and the scans over bytes.
#include <cstdio>
#include <cstring>

#include "helpers/zebutil.h"
#include "language/bytewalk.h"
#include "language/token.h"
#include "script/code.h"
#include "text/mbtext.h"

using karst::ScanFault;
using karst::ScannedToken;

namespace {

constexpr int kLiteralExtra = karst::kLiteralHead + 1;  // with the NUL

// Overwrites a reserved word by its number form, blanks behind it. The length stays.
void WriteNumberForm(char* word, size_t length, int number) {
  char form[16];
  const int form_length = std::snprintf(form, sizeof form, "`%d", number);
  std::memset(word, ' ', length);
  std::memcpy(word, form, static_cast<size_t>(form_length));
}

}  // namespace

int CCode::GetToken() {
  nTok = nTokenType = nPutBackExtra = bPutBack = 0;
  const ScannedToken token = karst::ScanToken({lpCodeBuffer, lpCodeBuffer + nCodeLen}, lpProg, lpProgEnd);
  lpProg = const_cast<char*>(token.fault == ScanFault::kNone ? token.end : token.start);
  if (token.fault != ScanFault::kNone) RefuseToken(token);
  std::memcpy(szToken, token.text.data(), token.text.size());
  szToken[token.text.size()] = 0;
  nTok = token.number;
  nTokenType = token.cls;
  if (token.cls == karst::STRING) {
    nPutBackExtra = kLiteralExtra;
    literal_length_ = static_cast<int>(token.text.size());
  }
  const bool reserved_word = token.cls == karst::COMMAND && szToken[0] != '`' && szToken[0] != '{' && szToken[0] != '}';
  if (reserved_word) {
    WriteNumberForm(const_cast<char*>(token.start), token.text.size(), token.number);
    NoteOwnEdit(token.start, token.text.size());
  }
  return token.cls;
}

void CCode::RefuseToken(const ScannedToken& token) {
  switch (token.fault) {
    case ScanFault::kLongName: return halt("名字太长，超过%d字符!", karst::kTokenLimit);
    case ScanFault::kLongNumber: return halt("数字常量内容太长，超过%d字符!", karst::kTokenLimit);
    case ScanFault::kLongLiteral: return halt("字符串常量内容太长，超过%d字符!", karst::kTokenLimit);
    case ScanFault::kBadCharacter:
      lpProg = const_cast<char*>(token.end);
      return halt(" 字符型常量%s用法不正确", CString(token.text).c_str());
    default: return RefuseByte(*token.start);
  }
}

void CCode::RefuseByte(char byte) {
  DumpPackage("dumpcode.bin", lpCodeBuffer, static_cast<size_t>(nCodeLen));
  DumpCode("dumpcode.flt", lpCodeBuffer, nCodeLen);
  const auto low_bits = [](const char* p) { return static_cast<unsigned>(reinterpret_cast<uintptr_t>(p)); };
  fnprintf("karst.log", "lpCodeBuffer pointer = 0x%08x, nCodeLen = 0x%x, lpProg pointer = 0x%08x",
           low_bits(lpCodeBuffer), static_cast<unsigned>(nCodeLen), low_bits(lpProg));
  fnprintf("karst.log", "lpProg - lpCodeBuffer = [0x%x]", static_cast<unsigned>(lpProg - lpCodeBuffer));
  const int code = static_cast<signed char>(byte);
  halt("不能识别的符号[%c] 内码[%d]", code, code);
}

int CCode::PutBack() {
  if (bPutBack) halt("连续PutBack()");
  // A literal's text may hold a NUL, which its length in the code counts and the text's own does not.
  lpProg -= nPutBackExtra ? static_cast<size_t>(literal_length_) : std::strlen(szToken);
  lpProg -= nPutBackExtra;
  nPutBackExtra = 0;
  bPutBack = 1;
  nTokenType = -1;
  return 0;
}

int CCode::LookUpReserve(const char* lpszWord) { return karst::ReservedWordNumber(lpszWord); }

int CCode::FindEOL() {
  const char* position = lpProg;
  const auto found = karst::FindLineFeed({lpCodeBuffer, lpCodeBuffer + nCodeLen}, position, lpProgEnd);
  lpProg = const_cast<char*>(found == karst::LineEnd::kFound ? position + 1 : position);
  return found == karst::LineEnd::kLimit ? 1 : 0;
}

int CCode::SkipBlankLine() {
  do {
    GetToken();
  } while (nTok == karst::EOL);
  return PutBack();
}

int CCode::SkipBlock() {
  for (int depth = 0;;) {
    GetToken();
    if (nTok == karst::FINISHED) halt("花括号不配对('}'少)...");
    if (nTokenType != karst::COMMAND) continue;
    if (nTok == karst::kTokBegin) ++depth;
    if (nTok == karst::kTokEnd && depth-- == 0) return 0;
  }
}

int CCode::FindElse() {
  SkipBlankLine();
  GetToken();
  if (nTok == karst::kTokBegin) SkipBlock();
  FindEOL();
  SkipBlankLine();
  GetToken();
  if (nTok == karst::kTokElse) return 1;
  PutBack();
  return 0;
}

char* CCode::FindLabel(const char* lpszLabel) {
  const std::string_view label(lpszLabel);
  const char* code_end = lpCodeBuffer + nCodeLen - 1;
  karst::ByteWalk walk({lpCodeBuffer, lpCodeBuffer + nCodeLen}, lpCodeBuffer);
  for (; walk.AtByte(); walk.Advance()) {
    walk.NoteQuote();
    if (*walk.Position() != ':' || !walk.OutsideQuotes()) continue;
    const char* name = walk.Position() + 1;
    if (static_cast<size_t>(code_end - name) < label.size()) continue;
    const char* behind = name + label.size();
    if (karst::EndsWord(*behind) && karst::EqualIgnoringCase(std::string_view(name, label.size()), label))
      return const_cast<char*>(behind);
  }
  return nullptr;
}

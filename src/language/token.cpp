// The scanner: byte classes, and one small function for each kind of token.
#include "language/token.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "text/integer.h"

namespace karst {

namespace {

enum ByteKind : uint8_t {
  kDelimiterByte = 1,
  kWordEndByte = 2,
  kDigitByte = 4,
  kWordStartByte = 8,
};

constexpr std::array<uint8_t, 256> MakeByteKinds() {
  std::array<uint8_t, 256> kinds{};
  for (const char c : std::string_view("+-*^/%=;(),><[]&|!{}")) kinds[static_cast<uint8_t>(c)] |= kDelimiterByte;
  for (const char c : std::string_view(" ;,+-<>/*%^=()[]&|!{}\t\r")) kinds[static_cast<uint8_t>(c)] |= kWordEndByte;
  kinds[0] |= kWordEndByte;
  for (int c = '0'; c <= '9'; ++c) kinds[static_cast<size_t>(c)] |= kDigitByte;
  for (int c = 'a'; c <= 'z'; ++c) kinds[static_cast<size_t>(c)] |= kWordStartByte;
  for (int c = 'A'; c <= 'Z'; ++c) kinds[static_cast<size_t>(c)] |= kWordStartByte;
  for (const char c : std::string_view("_@`")) kinds[static_cast<uint8_t>(c)] |= kWordStartByte;
  return kinds;
}

constexpr std::array<uint8_t, 256> kByteKinds = MakeByteKinds();

bool Has(char byte, ByteKind kind) { return (kByteKinds[static_cast<uint8_t>(byte)] & kind) != 0; }

struct ReservedWord {
  std::string_view word;
  int number;
};

constexpr ReservedWord kReservedWords[] = {
    {"if", kTokIf},       {"goto", kTokGoto},     {"return", kTokReturn},     {"stop", kTokStop},
    {"loop", kTokLoop},   {"circle", kTokLoop},   {"endloop", kTokEndLoop},   {"endcir", kTokEndLoop},
    {"int", kTokInt},     {"string", kTokString}, {"delete", kTokDelete},     {"begin", kTokBegin},
    {"end", kTokEnd},     {"call", kTokCall},     {"intarray", kTokIntArray}, {"stringarray", kTokStringArray},
    {"else", kTokElse},   {"break", kTokBreak},   {"jump", kTokJump},         {"Start", kTokStart},
    {"Final", kTokFinal}, {"Field", kTokField},   {"SubField", kTokSubField}, {"Common", kTokCommon},
    {"Chain", kTokChain}, {"Group", kTokGroup},   {"Record", kTokRecord},     {"Continue", kTokContinue},
    {"int64", kTokInt64},
};

constexpr bool EveryWordHoldsItsNumberForm() {
  for (const ReservedWord& entry : kReservedWords) {
    if (entry.word.size() < (entry.number < 10 ? 2u : 3u)) return false;
  }
  return true;
}
static_assert(EveryWordHoldsItsNumberForm());

ScannedToken& Finish(ScannedToken& token, const char* end) {
  token.end = end;
  token.text = std::string_view(token.start, static_cast<size_t>(end - token.start));
  return token;
}

ScannedToken& Refuse(ScannedToken& token, ScanFault fault, const char* where) {
  token.fault = fault;
  token.end = where;
  return token;
}

ScannedToken& EndOfCode(ScannedToken& token, const char* where) {
  token.number = FINISHED;
  token.start = token.end = where;
  token.text = std::string_view(where, 0);
  return token;
}

ScannedToken& LineEnd(ScannedToken& token) {
  const char* second = token.start + 1;
  if (*second == 0) return EndOfCode(token, second);
  token.number = EOL;
  token.end = second + 1;
  token.text = "\r\n";
  return token;
}

ScannedToken& Literal(const CodeSpan& code, ScannedToken& token) {
  token.cls = STRING;
  const char* content = token.start + kLiteralHead;
  int32_t length = 0;
  if (code.end > content) std::memcpy(&length, token.start + 1, sizeof length);
  const bool sane = length >= 1 && length < kTokenLimit && length <= code.end - content && content[length - 1] == 0;
  if (!sane) return Refuse(token, ScanFault::kLongLiteral, token.start);
  token.text = std::string_view(content, static_cast<size_t>(length) - 1);
  token.end = content + length;
  return token;
}

ScannedToken& Word(ScannedToken& token) {
  token.cls = VARIABLE;
  const char* end = WordEnd(token.start + 1);
  if (end - token.start > kTokenLimit) return Refuse(token, ScanFault::kLongName, token.start);
  Finish(token, end);
  token.number = ReservedWordNumber(token.text);
  if (token.number != 0) token.cls = COMMAND;
  return token;
}

ScannedToken& Number(ScannedToken& token) {
  token.cls = NUMBER;
  const char* end = WordEnd(token.start + 1);
  if (end - token.start > kTokenLimit) return Refuse(token, ScanFault::kLongNumber, token.start);
  return Finish(token, end);
}

ScannedToken& Label(ScannedToken& token) {
  token.cls = LABEL;
  const char* end = WordEnd(token.start + 1);
  if (end - token.start > kTokenLimit + 1) return Refuse(token, ScanFault::kLongName, token.start);
  return Finish(token, end);
}

ScannedToken& CharacterConstant(const CodeSpan& code, ScannedToken& token) {
  token.cls = CHARCONST;
  const char* start = token.start;
  const int64_t room = code.end - 1 - start;  // the final NUL is no part of a constant
  if (room >= 3 && start[2] == '\'') return Finish(token, start + 3);
  if (room >= 4 && start[3] == '\'') return Finish(token, start + 4);
  const char* behind = start + (room < 4 ? room : 4);
  Finish(token, behind);
  return Refuse(token, ScanFault::kBadCharacter, behind);
}

ScannedToken& Delimiter(ScannedToken& token) {
  const char byte = *token.start;
  if (byte == '{' || byte == '}') {
    token.cls = COMMAND;
    token.number = byte == '{' ? kTokBegin : kTokEnd;
  }
  return Finish(token, token.start + 1);
}

}  // namespace

bool BeginsWord(char byte) { return Has(byte, kWordStartByte); }
bool EndsWord(char byte) { return Has(byte, kWordEndByte); }

const char* WordEnd(const char* position) {
  while (!EndsWord(*position)) ++position;
  return position;
}

int ReservedWordNumber(std::string_view word) {
  if (!word.empty() && word[0] == '`') return ReadInteger<int>(std::string(word.substr(1)).c_str());
  for (const ReservedWord& entry : kReservedWords) {
    if (entry.word == word) return entry.number;
  }
  return 0;
}

size_t LiteralLength(std::string_view code) {
  if (code.size() < kLiteralHead) return 0;
  int32_t length = 0;
  std::memcpy(&length, code.data() + 1, sizeof length);
  const bool whole = length >= 1 && static_cast<size_t>(length) <= code.size() - kLiteralHead;
  return whole ? kLiteralHead + static_cast<size_t>(length) : 0;
}

const char* BehindLiteral(const CodeSpan& code, const char* quote) {
  const char* end = code.end - 1;
  const size_t length = quote < end ? LiteralLength({quote, static_cast<size_t>(end - quote)}) : 0;
  return length > 0 ? quote + length : end;
}

ScannedToken ScanToken(const CodeSpan& code, const char* position, const char* limit) {
  ScannedToken token;
  while (*position == ' ' || *position == '\t') ++position;
  token.start = position;
  const char byte = *position;
  if ((limit && position >= limit) || byte == 0 || byte == 0x1A) return EndOfCode(token, position);
  if (BeginsWord(byte)) return Word(token);
  if (Has(byte, kDelimiterByte)) return Delimiter(token);
  if (Has(byte, kDigitByte)) return Number(token);
  switch (byte) {
    case '\r':
    case '\n': return LineEnd(token);
    case '"': return Literal(code, token);
    case ':': return Label(token);
    case '\'': return CharacterConstant(code, token);
    default: return Refuse(token, ScanFault::kUnknownByte, position);
  }
}

}  // namespace karst

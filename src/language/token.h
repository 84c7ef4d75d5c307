// Scanning of one token, without any effect: what CCode::GetToken reads and what is remembered about the code both
// come from here, so that they cannot differ.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "language/token_kinds.h"

namespace karst {

// LIMIT: names, labels (behind the colon) and numbers have at most this many bytes; a literal's stored length, its
// NUL included, stays below it.
constexpr int kTokenLimit = 490;

enum class ScanFault : uint8_t { kNone, kLongName, kLongNumber, kLongLiteral, kBadCharacter, kUnknownByte };

struct ScannedToken {
  int cls = DELIMITER;
  int number = 0;
  const char* start = nullptr;  // the first byte, behind the blanks
  const char* end = nullptr;    // where reading goes on
  std::string_view text;        // in the code itself, but for the line end
  ScanFault fault = ScanFault::kNone;

  bool Is(char delimiter) const { return !text.empty() && text[0] == delimiter; }
  bool IsDelimiter(char delimiter) const { return cls == DELIMITER && Is(delimiter); }
  bool IsCommand(int wanted) const { return cls == COMMAND && number == wanted; }
};

// The code between `begin` and `end`; the byte at end - 1 is its final NUL.
struct CodeSpan {
  const char* begin = nullptr;
  const char* end = nullptr;
};

// Reads the token at `position`, which lies inside the code. `limit`, if not null, is the end of a piece: a token that
// would begin there or behind it is the end of the code.
ScannedToken ScanToken(const CodeSpan& code, const char* position, const char* limit);

// The token number of a word in word form or number form, or 0.
int ReservedWordNumber(std::string_view word);

// What stands before the text of a literal: the quote and the length of the text with its NUL, an int32_t.
constexpr size_t kLiteralHead = 1 + sizeof(int32_t);

// The bytes of the literal with whose quote `code` begins, from the quote to its NUL; 0 if they are not all there.
size_t LiteralLength(std::string_view code);

// Behind the literal whose quote stands at `quote`, never behind the code's final NUL.
const char* BehindLiteral(const CodeSpan& code, const char* quote);

// True for the bytes that a name can begin with.
bool BeginsWord(char byte);

// True for the bytes that end a name, a number and a label.
bool EndsWord(char byte);
// The first of them at `position` or after it.
const char* WordEnd(const char* position);

}  // namespace karst

// The scans over bytes that make no tokens: they see literals, by their length, and single quotes.
#pragma once

#include "language/token.h"

namespace karst {

// Walks code byte by byte, over literals, and knows whether it stands in single quotes.
class ByteWalk {
 public:
  ByteWalk(CodeSpan code, const char* start) : code_(code), position_(start) {}

  // Passes literals; false at the end of the code.
  bool AtByte() {
    while (*position_ == '"') position_ = BehindLiteral(code_, position_);
    return *position_ != 0;
  }
  bool OutsideQuotes() const { return !in_quotes_; }
  const char* Position() const { return position_; }
  void Advance() { ++position_; }
  void NoteQuote() {
    if (*position_ == '\'') in_quotes_ = !in_quotes_;
  }

 private:
  CodeSpan code_;
  const char* position_;
  bool in_quotes_ = false;
};

enum class LineEnd { kFound, kLimit, kEndOfCode };

// Moves `position` to the next line feed outside literals and quotes, or to what comes first: the limit (if not null)
// or the end of the code.
inline LineEnd FindLineFeed(CodeSpan code, const char*& position, const char* limit) {
  ByteWalk walk(code, position);
  LineEnd found = LineEnd::kEndOfCode;
  for (; walk.AtByte(); walk.Advance()) {
    if (limit && walk.Position() >= limit) {
      found = LineEnd::kLimit;
      break;
    }
    walk.NoteQuote();
    if (*walk.Position() == '\n' && walk.OutsideQuotes()) {
      found = LineEnd::kFound;
      break;
    }
  }
  position = walk.Position();
  return found;
}

}  // namespace karst

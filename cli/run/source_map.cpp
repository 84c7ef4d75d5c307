// The walk beside loading's own, and just enough of the token rules to mark one token of a line.
#include "cli/run/source_map.h"

#include <algorithm>

namespace karst::cli {
namespace {

constexpr size_t kLiteralHead = 5;  // the quote and the length
constexpr std::string_view kDelimiters = "+-*^/%=;(),><[]&|!{}";
constexpr std::string_view kWordEnds = " ;,+-<>/*%^=()[]&|!{}\t\r";

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Behind the closing quote of the literal that opens at `begin`, or the end of the line.
size_t LiteralEnd(std::string_view line, size_t begin) {
  size_t at = begin + 1;
  while (at < line.size() && line[at] != '"') at += line[at] == '\\' ? 2 : 1;
  return std::min(at + 1, line.size());
}

size_t CharacterEnd(std::string_view line, size_t begin) {
  for (const size_t length : {3, 4}) {
    if (begin + length <= line.size() && line[begin + length - 1] == '\'') return begin + length;
  }
  return begin + 1;
}

size_t TokenEnd(std::string_view line, size_t begin) {
  const char first = line[begin];
  if (first == '#') return line.size();
  if (first == '"') return LiteralEnd(line, begin);
  if (first == '\'') return CharacterEnd(line, begin);
  if (kDelimiters.find(first) != std::string_view::npos || first == ' ' || first == '\t') return begin + 1;
  return std::min(line.find_first_of(kWordEnds, begin + 1), line.size());
}

}  // namespace

bool SourceWalk::Step() {
  if (read_ >= source_.size()) return false;
  const char byte = source_[read_];
  if (place_ == Place::kComment && byte != '\r') {
    ++read_;
  } else if (place_ == Place::kLiteral) {
    StepInLiteral(byte);
  } else {
    place_ = Place::kCode;
    StepInCode(byte);
  }
  return true;
}

// A backslash, a CR and the byte behind it.
bool SourceWalk::SkipContinuation() {
  if (source_[read_] != '\\' || read_ + 1 >= source_.size() || source_[read_ + 1] != '\r') return false;
  read_ = std::min(read_ + 3, source_.size());
  ++owed_line_ends_;
  return true;
}

void SourceWalk::StepInLiteral(char byte) {
  if (SkipContinuation()) return;
  if (byte == '"') place_ = Place::kCode;
  const bool escape = byte == '\\';
  if (!escape || read_ + 1 < source_.size()) ++written_;
  read_ = std::min(read_ + (escape ? 2 : 1), source_.size());
}

void SourceWalk::StepInCode(char byte) {
  if (SkipContinuation()) return;
  ++read_;
  if (byte == '#') {
    place_ = Place::kComment;
  } else if (byte == '"') {
    place_ = Place::kLiteral;
    written_ += kLiteralHead;
  } else {
    ++written_;
  }
  if (byte != '\n') return;
  written_ += 2 * owed_line_ends_;
  owed_line_ends_ = 0;
}

std::optional<size_t> FindSourceOffset(std::string_view source, size_t code_offset, size_t code_length) {
  SourceWalk walk(source);
  std::optional<size_t> found;
  for (size_t before = 0; walk.Step(); before = walk.SourceOffset()) {
    if (!found && walk.CodeOffset() > code_offset) found = before;
  }
  if (walk.CodeOffset() + 1 != code_length) return std::nullopt;
  return found ? found : walk.SourceOffset();
}

std::optional<size_t> FindOpenLiteral(std::string_view source) {
  SourceWalk walk(source);
  size_t opening = 0;
  bool was_inside = false;
  for (size_t before = 0; walk.Step(); before = walk.SourceOffset()) {
    if (walk.InLiteral() && !was_inside) opening = before;
    was_inside = walk.InLiteral();
  }
  return was_inside ? std::optional(opening) : std::nullopt;
}

TokenBounds FindToken(std::string_view line, size_t offset) {
  for (size_t begin = 0; begin < line.size();) {
    const size_t end = TokenEnd(line, begin);
    if (offset < end) return {line[begin] == '#' ? offset : begin, line[begin] == '#' ? offset + 1 : end};
    begin = end;
  }
  return {offset, offset + 1};
}

bool IsReadable(char byte) {
  constexpr std::string_view kOthers(" \t\r\n\"'_@`:\0\x1A", 12);
  return IsLetter(byte) || IsDigit(byte) || kDelimiters.find(byte) != std::string_view::npos ||
         kOthers.find(byte) != std::string_view::npos;
}

}  // namespace karst::cli

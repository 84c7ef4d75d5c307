// From a position in the code as the engine holds it back to the source as it was written.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace karst::cli {

// Goes through a source as loading does: comments vanish, continued lines are joined, literals get 5 bytes in front
// and a NUL at the end. Nothing is written; only the two positions move.
class SourceWalk {
 public:
  explicit SourceWalk(std::string_view source) : source_(source.substr(0, source.find('\0'))) {}

  // Passes the next piece of the source that is treated as one. False at the end.
  bool Step();
  size_t SourceOffset() const { return read_; }
  size_t CodeOffset() const { return written_; }
  bool InLiteral() const { return place_ == Place::kLiteral; }

 private:
  bool SkipContinuation();
  void StepInComment(char byte);
  void StepInLiteral(char byte);
  void StepInCode(char byte);

  std::string_view source_;
  size_t read_ = 0;
  size_t written_ = 0;
  size_t owed_line_ends_ = 0;
  enum class Place { kCode, kLiteral, kComment } place_ = Place::kCode;
};

// The source offset of the byte at `code_offset`. Nothing if the code, `code_length` bytes with its final NUL, cannot
// come from this source.
std::optional<size_t> FindSourceOffset(std::string_view source, size_t code_offset, size_t code_length);

// Where the literal opens that is still open at the end of the source. Nothing if all are closed.
std::optional<size_t> FindOpenLiteral(std::string_view source);

// The token of a source line that holds the byte at `offset` of the line: its bounds.
struct TokenBounds {
  size_t begin;
  size_t end;
};
TokenBounds FindToken(std::string_view line, size_t offset);

// True if a token can begin with this byte, or if it is white space, a line end or an end of the code.
bool IsReadable(char byte);

}  // namespace karst::cli

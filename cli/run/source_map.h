// From the rewritten code back to the source: where something that the engine read stands in the text.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace karst::cli {

// A token, or a part of one, in a source: a byte of it, and its bounds.
struct TokenPlace {
  size_t at;
  size_t begin;
  size_t end;
};

// The token that holds the byte of the code at `code_offset`. Nothing if the code, `code_length` bytes with its final
// NUL, cannot come from this source.
std::optional<TokenPlace> FindToken(std::string_view source, size_t code_offset, size_t code_length);

// The literal that is still open at the end of the source. Nothing if all are closed.
std::optional<TokenPlace> FindOpenLiteral(std::string_view source);

}  // namespace karst::cli

// The source is rewritten once more, with the origin of each byte: the engine keeps none.
#include "cli/run/source_map.h"

#include <algorithm>

#include "language/source_rewrite.h"

namespace karst::cli {
namespace {

// Gives the length of the source that was taken.
size_t TakeAll(std::string_view source, TracedRewrite& rewrite) {
  size_t at = 0;
  while (at < source.size() && rewrite.Take(source[at], at)) ++at;
  return at;
}

// Behind the last line end before `place` that is in no literal.
const char* LineBegin(const CodeSpan& code, const char* place) {
  const char* begin = code.begin;
  for (const char* at = code.begin; at < place;) {
    if (*at == '"') {
      at = BehindLiteral(code, at);
    } else if (*at++ == '\n') {
      begin = at;
    }
  }
  return begin;
}

// Behind a token as a reader of the source sees it: a word to its end, whatever it begins with, and a literal whole,
// also where it follows a word or a single quote directly.
const char* TokenEnd(const CodeSpan& code, const ScannedToken& token) {
  if (token.cls == STRING) return BehindLiteral(code, token.start);
  const bool no_character = token.fault == ScanFault::kBadCharacter;
  const bool whole = token.fault == ScanFault::kNone || no_character;
  const char* end = whole ? token.end : WordEnd(token.start + 1);
  const char* quote = std::find(token.start, end, '"');
  if (quote != end) return BehindLiteral(code, quote);
  return no_character ? token.start + 1 : end;
}

}  // namespace

std::optional<TokenPlace> FindToken(std::string_view source, size_t code_offset, size_t code_length) {
  TracedRewrite rewrite;
  const size_t taken = TakeAll(source, rewrite);
  const size_t length = rewrite.Code().size();
  if (length + 1 != code_length) return std::nullopt;
  if (code_offset >= length) return TokenPlace{taken, taken, taken + 1};
  const CodeSpan code = rewrite.Span();
  const char* place = code.begin + code_offset;
  const auto origin = [&](const char* byte) { return rewrite.OriginOf(static_cast<size_t>(byte - code.begin)); };
  for (const char* at = LineBegin(code, place);;) {
    const ScannedToken token = ScanToken(code, at, nullptr);
    at = TokenEnd(code, token);
    if (token.start > place || token.start == at) return TokenPlace{origin(place), origin(place), origin(place) + 1};
    if (place < at) return TokenPlace{origin(place), origin(token.start), origin(at - 1) + 1};
  }
}

std::optional<TokenPlace> FindOpenLiteral(std::string_view source) {
  TracedRewrite rewrite;
  TakeAll(source, rewrite);
  if (!rewrite.Rewrite().InLiteral()) return std::nullopt;
  const size_t begin = rewrite.Rewrite().OpenLiteral();
  return TokenPlace{begin, begin, source.size()};
}

}  // namespace karst::cli

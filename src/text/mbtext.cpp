// Multi-byte text calls. Each walks by characters through TakeCharacter, which never passes a NUL.
#include "text/mbtext.h"

#include <charconv>
#include <cstring>

#include "text/integer.h"
#include "text/partmatcher.h"

namespace {

unsigned char ByteAt(const char* at) { return static_cast<unsigned char>(*at); }

// The character at `at`, which moves behind it; 0 at the end, where `at` stays.
unsigned TakeCharacter(const char*& at) {
  const unsigned char first = ByteAt(at);
  if (first == 0) return 0;
  ++at;
  const unsigned char second = ByteAt(at);
  if (!IsDBCSLeadByte(first) || second == 0) return first;
  ++at;
  return first * 256u + second;
}

unsigned Folded(unsigned character) { return character >= 'A' && character <= 'Z' ? character + 32 : character; }

// Where `part` begins at a character of `text`, at `from` or after it, or npos.
size_t FindAtCharacter(std::string_view text, std::string_view part, size_t from) {
  karst::PartMatcher matcher(part, karst::PartMatcher::Case::kExact);
  size_t boundary = 0;
  for (size_t end = from; end < text.size(); ++end) {
    if (!matcher.Take(text[end])) continue;
    const size_t start = end + 1 - part.size();
    while (boundary < start) boundary += IsDBCSLeadByte(ByteAt(&text[boundary])) ? 2 : 1;
    if (boundary == start) return start;
  }
  return std::string_view::npos;
}

}  // namespace

int _mbscmp(const char* left, const char* right) {
  for (;;) {
    const unsigned a = TakeCharacter(left);
    const unsigned b = TakeCharacter(right);
    if (a != b) return a < b ? -1 : 1;
    if (a == 0) return 0;
  }
}

int _mbsicmp(const char* left, const char* right) {
  for (;;) {
    const unsigned a = Folded(TakeCharacter(left));
    const unsigned b = Folded(TakeCharacter(right));
    if (a != b) return a < b ? -1 : 1;
    if (a == 0) return 0;
  }
}

const char* _mbsstr(const char* text, const char* part) {
  const size_t at = karst::FindByCharacters(text, part);
  return at == std::string_view::npos ? nullptr : text + at;
}

const char* _mbschr(const char* text, unsigned character) {
  for (const char* at = text;;) {
    const char* start = at;
    const unsigned here = TakeCharacter(at);
    if (here == character) return start;
    if (here == 0) return nullptr;
  }
}

char* _mbsnbcpy(char* target, const char* text, size_t count) {
  if (count == 0) return target;
  // One byte behind the limit tells whether the text goes on there.
  const size_t length = karst::WholeCharacters({text, strnlen(text, count + (count < SIZE_MAX))}, count);
  std::memcpy(target, text, length);
  std::memset(target + length, 0, count - length);
  return target;
}

char* _ltoa(int32_t value, char* target, int radix) {
  if (radix < 2 || radix > 36) {
    *target = 0;
    return target;
  }
  constexpr int kRoom = 33;
  const auto result = radix == 10 ? std::to_chars(target, target + kRoom - 1, value, radix)
                                  : std::to_chars(target, target + kRoom - 1, static_cast<uint32_t>(value), radix);
  *result.ptr = 0;
  return target;
}

int64_t _atoi64(const char* text) { return karst::ReadInteger<int64_t>(text); }

namespace karst {

int32_t TextToInt(const char* text) { return ReadInteger<int32_t>(text); }

// SPEED: most texts are done with the library's search of bytes, which is linear; only where its hit begins inside a
// character the rest of the text is searched by characters, in one pass.
size_t FindByCharacters(std::string_view text, std::string_view part) {
  if (part.empty()) return 0;
  const void* hit = memmem(text.data(), text.size(), part.data(), part.size());
  if (!hit) return std::string_view::npos;
  const size_t at = static_cast<size_t>(static_cast<const char*>(hit) - text.data());
  return WholeCharacters(text, at) == at ? at : FindAtCharacter(text, part, at + 1);
}

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
  if (left.size() != right.size()) return false;
  for (size_t i = 0; i < left.size(); ++i) {
    const unsigned char a = static_cast<unsigned char>(left[i]);
    const unsigned char b = static_cast<unsigned char>(right[i]);
    if (Folded(a) != Folded(b)) return false;
    if (!IsDBCSLeadByte(a) || i + 1 == left.size()) continue;
    ++i;
    if (left[i] != right[i]) return false;
  }
  return true;
}

size_t WholeCharacters(std::string_view text, size_t limit) {
  if (text.size() <= limit) return text.size();
  // A byte that cannot be a lead byte ends a character wherever it stands. Behind it lead-like bytes go in pairs, so
  // an odd number of them leaves a lead byte without its trail byte.
  size_t lead_like = 0;
  while (lead_like < limit && IsDBCSLeadByte(static_cast<unsigned char>(text[limit - 1 - lead_like]))) ++lead_like;
  return limit - lead_like % 2;
}

}  // namespace karst

// The tables of both directions, the references, and the quick way through text that has none.
#include "cli/base/reversible_encoding.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "cli/base/ascii.h"
#include "text/charset.h"
#include "text/numeric_reference.h"

namespace karst::cli {
namespace {

constexpr uint32_t kUtf8ByteCode = 0xDC00;  // plus a byte of UTF-8 text that belongs to no character
constexpr uint32_t kGbkByteCode = 0xDD00;   // plus one of GBK text
constexpr size_t kLongestUtf8 = 4;

// One character of GBK as UTF-8: its bytes and their number. No bytes: it is no character.
struct Utf8Bytes {
  std::array<char, kLongestUtf8> bytes{};
  uint8_t length = 0;
};

// Only what comes back to the same bytes is in the tables: where two places of GBK have one character, that of two
// bytes has it, and the other one is no character here.
class Tables {
 public:
  Tables() {
    for (unsigned lead = 0x81; lead <= 0xFE; ++lead) {
      for (unsigned trail = 0x40; trail <= 0xFE; ++trail) Enter(lead << 8 | trail);
    }
    for (unsigned byte = 0x80; byte <= 0xFF; ++byte) Enter(byte);
  }
  // The byte itself, or lead times 256 plus trail.
  const Utf8Bytes& ToUtf8(unsigned gbk) const { return to_utf8_[gbk]; }
  // 0 if the character has no place.
  uint16_t ToGbk(char32_t code) const {
    if (code < to_gbk_.size()) return to_gbk_[code];
    for (const auto& [beyond, gbk] : beyond_) {
      if (beyond == code) return gbk;
    }
    return 0;
  }

 private:
  void Enter(unsigned gbk) {
    const char bytes[2] = {static_cast<char>(gbk >> 8), static_cast<char>(gbk)};
    const std::string_view text = gbk < 0x100 ? std::string_view(bytes + 1, 1) : std::string_view(bytes, 2);
    const DecodedCharacter character = DecodeGbk(text);
    if (character.code == kNoCharacter || character.length != text.size() || ToGbk(character.code) != 0) return;
    std::string utf8;
    AppendUtf8(utf8, character.code);
    std::memcpy(to_utf8_[gbk].bytes.data(), utf8.data(), utf8.size());
    to_utf8_[gbk].length = static_cast<uint8_t>(utf8.size());
    if (character.code < to_gbk_.size()) {
      to_gbk_[character.code] = static_cast<uint16_t>(gbk);
    } else {
      beyond_.emplace_back(character.code, static_cast<uint16_t>(gbk));
    }
  }

  std::array<Utf8Bytes, 0x10000> to_utf8_{};
  std::array<uint16_t, 0x10000> to_gbk_{};
  std::vector<std::pair<char32_t, uint16_t>> beyond_;
};

const Tables& TheTables() {
  static const auto tables = std::make_unique<const Tables>();
  return *tables;
}

bool IsByteCode(uint32_t code, uint32_t base) { return code >= base + 0x80 && code <= base + 0xFF; }

bool NeedsReference(uint32_t code) {
  if (IsByteCode(code, kUtf8ByteCode) || IsByteCode(code, kGbkByteCode)) return true;
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  return code >= 0x80 && code <= 0x10FFFF && !surrogate && TheTables().ToGbk(code) == 0;
}

// What a reference in UTF-8 comes to in GBK.
void PutReferenceInGbk(std::string_view spelt, const NumericReference& reference, std::string& gbk) {
  if (!IsByteCode(reference.code, kGbkByteCode)) return PutReferenceLonger(spelt, gbk);
  if (reference.more > 0) return PutReferenceShorter(spelt, gbk);
  gbk += static_cast<char>(reference.code - kGbkByteCode);
}

void PutReferenceInUtf8(std::string_view spelt, const NumericReference& reference, std::string& utf8) {
  if (IsByteCode(reference.code, kGbkByteCode)) return PutReferenceLonger(spelt, utf8);
  if (reference.more > 0) return PutReferenceShorter(spelt, utf8);
  if (IsByteCode(reference.code, kUtf8ByteCode)) {
    utf8 += static_cast<char>(reference.code - kUtf8ByteCode);
  } else {
    AppendUtf8(utf8, reference.code);
  }
}

// SPEED: characters of GBK and ASCII go through a table into a small buffer. What is none of these ends it, and is left
// to the caller, as is what the buffer has no room for. Gives the number of bytes of `gbk` that were converted.
size_t ConvertPlainGbk(std::string_view gbk, std::string& utf8) {
  constexpr size_t kChunk = 2048;
  char buffer[2 * kChunk + kLongestUtf8];
  const Tables& tables = TheTables();
  gbk = gbk.substr(0, kChunk);
  char* to = buffer;
  size_t at = 0;
  while (at < gbk.size()) {
    const size_t ascii = AsciiLength(gbk.substr(at));
    std::memcpy(to, gbk.data() + at, ascii);
    to += ascii;
    at += ascii;
    const size_t start = at;
    for (; at + 1 < gbk.size() && !IsAsciiByte(gbk[at]); at += 2) {
      const Utf8Bytes& bytes =
          tables.ToUtf8(static_cast<unsigned char>(gbk[at]) * 256u + static_cast<unsigned char>(gbk[at + 1]));
      if (bytes.length == 0) break;
      std::memcpy(to, bytes.bytes.data(), kLongestUtf8);
      to += bytes.length;
    }
    if (at == start) break;
  }
  utf8.append(buffer, static_cast<size_t>(to - buffer));
  return at;
}

// Text without references.
uint64_t PlainToUtf8(std::string_view gbk, std::string& utf8) {
  uint64_t bad = 0;
  while (!gbk.empty()) {
    const size_t plain = ConvertPlainGbk(gbk, utf8);
    gbk.remove_prefix(plain);
    if (plain > 0) continue;
    const Utf8Bytes& single = TheTables().ToUtf8(static_cast<unsigned char>(gbk[0]));
    if (single.length > 0) {
      utf8.append(single.bytes.data(), single.length);
    } else {
      PutNumericReference(kGbkByteCode + static_cast<unsigned char>(gbk[0]), utf8);
      ++bad;
    }
    gbk.remove_prefix(1);
  }
  return bad;
}

uint64_t PlainToGbk(std::string_view utf8, std::string& gbk) {
  const Tables& tables = TheTables();
  uint64_t missing = 0;
  for (size_t at = 0; at < utf8.size();) {
    const size_t ascii = AsciiLength(utf8.substr(at));
    gbk.append(utf8.substr(at, ascii));
    at += ascii;
    if (at == utf8.size()) break;
    const DecodedCharacter character = DecodeUtf8(utf8.substr(at));
    const uint16_t place = character.code == kNoCharacter ? uint16_t{0} : tables.ToGbk(character.code);
    if (place > 0xFF) {
      gbk += {static_cast<char>(place >> 8), static_cast<char>(place)};
    } else if (place > 0) {
      gbk += static_cast<char>(place);
    } else {
      const auto byte = static_cast<unsigned char>(utf8[at]);
      PutNumericReference(character.code == kNoCharacter ? kUtf8ByteCode + byte : character.code, gbk);
      ++missing;
    }
    at += character.length;
  }
  return missing;
}

// Where a character begins whose second byte is still to come.
size_t OpenCharacter(std::string_view gbk) {
  for (size_t at = 0; at < gbk.size();) {
    at += AsciiLength(gbk.substr(at));
    if (at == gbk.size()) break;
    if (at + 1 == gbk.size()) return at;
    at += DecodeGbk(gbk.substr(at)).length;
  }
  return gbk.size();
}

}  // namespace

uint64_t ToGbkReversibly(std::string_view utf8, std::string& gbk) {
  return WalkReferences(
      utf8, NeedsReference, [&](std::string_view plain) { return PlainToGbk(plain, gbk); },
      [&](std::string_view spelt, const NumericReference& reference) { PutReferenceInGbk(spelt, reference, gbk); });
}

uint64_t ToUtf8Reversibly(std::string_view gbk, std::string& utf8) {
  return WalkReferences(
      gbk, NeedsReference, [&](std::string_view plain) { return PlainToUtf8(plain, utf8); },
      [&](std::string_view spelt, const NumericReference& reference) { PutReferenceInUtf8(spelt, reference, utf8); });
}

void ReversibleUtf8Stream::Convert(std::string_view gbk, std::string& utf8) {
  held_ += gbk;
  const size_t ready = std::min(OpenReference(held_), OpenCharacter(held_));
  ToUtf8Reversibly(std::string_view(held_).substr(0, ready), utf8);
  held_.erase(0, ready);
}

void ReversibleUtf8Stream::Finish(std::string& utf8) {
  ToUtf8Reversibly(held_, utf8);
  held_.clear();
}

bool IsValidUtf8(std::string_view text) {
  for (size_t at = 0; at < text.size();) {
    at += AsciiLength(text.substr(at));
    if (at == text.size()) break;
    const DecodedCharacter character = DecodeUtf8(text.substr(at));
    if (character.code == kNoCharacter) return false;
    at += character.length;
  }
  return true;
}

}  // namespace karst::cli

// Multi-byte text calls with GBK as the code page.
//
// A lead byte (0x81 to 0xFE) and the byte behind it are one character. No call reads a byte behind a text's NUL, also
// where the text ends in a lone lead byte: that byte then is a character of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// 1 if `byte` opens a double-byte character.
inline bool IsDBCSLeadByte(unsigned char byte) { return byte >= 0x81 && byte <= 0xFE; }

// Compares by characters: below 0, 0 or above 0. A double-byte character is its lead byte times 256 plus its trail
// byte, so that it stands behind every single-byte character.
int _mbscmp(const char* left, const char* right);
// The same without regard to the case of ASCII letters; the bytes of a double-byte character are never folded.
int _mbsicmp(const char* left, const char* right);
// The first place of `part` in `text` that begins at a character, or null. An empty `part` is found at the start.
const char* _mbsstr(const char* text, const char* part);
// The first place of the character `character` (a byte, or lead times 256 plus trail), or null. The character 0
// is the text's end.
const char* _mbschr(const char* text, unsigned character);
// Copies at most `count` bytes and never half a character; fills the rest of the `count` bytes with NUL. Nothing
// ends the copy where the text fills all `count` bytes. A lone lead byte at the text's end is copied as it stands.
char* _mbsnbcpy(char* target, const char* text, size_t count);
// Writes `value` in `radix` (2 to 36, lower-case digits; a minus sign only in radix 10) and gives `target`, which has
// room for 33 bytes. Any other radix gives the empty text.
char* _ltoa(int32_t value, char* target, int radix);
// Leading white space, a sign, digits; 0 if there are none. Values past the type's ends become its end.
int64_t _atoi64(const char* text);

namespace karst {

// True if `byte` and a lead byte before it are a character that has a code point.
inline bool IsTrailByte(unsigned char byte) { return byte >= 0x40 && byte != 0x7F && byte != 0xFF; }

// As _atoi64, in 32 bits.
int32_t TextToInt(const char* text);
// Where `part` first begins at a character of `text`, or npos. An empty `part` is found at the start. The time is in
// proportion to what was searched, whatever the two texts hold.
size_t FindByCharacters(std::string_view text, std::string_view part);
// True if the texts are equal without regard to the case of ASCII letters, by characters.
bool EqualIgnoringCase(std::string_view left, std::string_view right);
// The length in bytes of the longest piece of `text` that has at most `limit` bytes and cuts no character in two.
size_t WholeCharacters(std::string_view text, size_t limit);

}  // namespace karst

// Conversion between GBK and other charsets, on the C library's converter.
//
// CHOICE: GBK is code page 936 with every two-byte place filled: a byte below 0x80 is ASCII, 0x80 is the euro sign,
// 0xFF is no character, and the places that the code page leaves to the user are the private-use characters of
// GB18030. So each character of two proper bytes comes back unchanged from a trip to UTF-8. All calls are safe from
// any thread.
#pragma once

#include <string>
#include <string_view>

#include "export.h"

namespace karst {

// A byte or pair of bytes that is no character has this code.
constexpr char32_t kNoCharacter = 0xFFFFFFFF;

// What a file in UTF-8 may begin with.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct DecodedCharacter {
  char32_t code;
  size_t length;  // in bytes, at least 1; 1 or 2 in GBK, also where the code is kNoCharacter
};

// The character at the head of `gbk`, which is not empty. A lead byte that is followed by no trail byte (0x40 to 0xFE
// without 0x7F) is no character and one byte long.
KARST_API DecodedCharacter DecodeGbk(std::string_view gbk);
// True if every byte belongs to a GBK character.
KARST_API bool IsValidGbk(std::string_view gbk);
// GBK to UTF-8. What is no character becomes U+FFFD.
KARST_API std::string GbkToUtf8(std::string_view gbk);
// UTF-8 to GBK. False if a character has no place in GBK or the bytes are no UTF-8; `bad_offset` (may be null) then
// says where, and `gbk` holds what came before.
KARST_API bool Utf8ToGbk(std::string_view utf8, std::string& gbk, size_t* bad_offset);
// The code point at the head of `utf8`, which is not empty, and its length in bytes; kNoCharacter and 1 if the bytes
// are no UTF-8.
KARST_API DecodedCharacter DecodeUtf8(std::string_view utf8);
// Adds a code point, one of Unicode, in UTF-8.
KARST_API void AppendUtf8(std::string& out, char32_t code);

// Converts GBK to the charset `to` (any that the C library knows, case ignored) into `target`. A character with no
// place there becomes "&#N;" with its decimal code point; with `transliterate` a near text of ASCII characters is
// taken first, where the C library has one. A byte that is no character becomes "\xHH" with its two hexadecimal
// digits. Gives the bytes written, with the sequence that a charset with shifts needs at the end.
enum class ConversionFailure { kNone, kUnknownCharset, kNoRoom };
struct ConversionResult {
  size_t bytes = 0;
  ConversionFailure failure = ConversionFailure::kNone;
};
KARST_API ConversionResult ConvertGbk(std::string_view gbk, const std::string& to, bool transliterate, char* target,
                                      size_t room);

}  // namespace karst

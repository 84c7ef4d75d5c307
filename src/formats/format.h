// Formatted text: one engine for the printf dialect, fed from C values or from a word list, and the small format
// language of the host's messages. No format ever reaches the C library.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <string_view>

#include "export.h"
#include "text/bytestring.h"

namespace karst {

// One value word of a script's format call: 32 bits, or a text.
struct FormatWord {
  uint32_t bits;
  const char* text;  // null: `bits` is the value
};

// The words of one call. An int is one word, an int64 two (low word first), a text one.
class WordList {
 public:
  static constexpr int kCapacity = 50;

  void AddInt(int32_t value) { AddWord({static_cast<uint32_t>(value), nullptr}); }
  void AddInt64(int64_t value) {
    AddWord({static_cast<uint32_t>(value), nullptr});
    AddWord({static_cast<uint32_t>(static_cast<uint64_t>(value) >> 32), nullptr});
  }
  // `text` must stay as it is until the list has been used.
  void AddText(const char* text) { AddWord({0, text ? text : ""}); }
  // True once more words came than the list holds; the words over the limit were dropped.
  bool Overflowed() const { return overflowed_; }
  int Count() const { return count_; }
  const FormatWord& operator[](int index) const { return words_[index]; }

 private:
  void AddWord(FormatWord word) {
    if (count_ == kCapacity) {
      overflowed_ = true;
      return;
    }
    words_[count_++] = word;
  }

  FormatWord words_[kCapacity];  // SPEED: set as far as count_ only
  int count_ = 0;
  bool overflowed_ = false;
};

// The printf dialect: flags - + blank # 0, width, precision, *, the prefixes h hh l ll L I I32 I64 w, and the
// conversions d i u o x X c C s S p e E f F g G a A; %% is a percent sign. The bytes behind a percent sign that begin
// no directive are copied as they stand, without it; %n is a failure. LIMIT: so is a width or a precision above
// 1,048,576. Widths and precisions count bytes. A byte 0 from %c stays in the result as any other byte.
//
// CHOICE: a decimal exponent has at least three digits (1e+005); what is not finite reads "inf" or "nan"; the flag 0
// pads texts with zeros too; %a gives as many digits as the value needs.

// Formats a script's values into `out` (replaced), in which neither the format nor a text may lie. An int, a
// character, an address (8 digits) and * take one word, a directive with I64, ll or j two, a floating one the two
// words of a double's bytes, low word first. False, with `out` undefined, if format and words do not match: a text
// directive on a word that is no text, any other on a text's word, a directive for which words are missing, an
// overflowed list; and for a failure of the format itself. Words left over are ignored.
[[nodiscard]] KARST_API bool FormatWords(CString& out, const char* format, const WordList& words);

// Formats C values into `out` (replaced), in which neither the format nor a text may lie. Prefixes mean the types of
// the C compiler: %d int, %ld long, %I64d and %lld a 64-bit integer, %Lf long double, %p a pointer with all its
// digits. A null text is "(null)". A failure of the format is a std::invalid_argument.
KARST_API void FormatV(CString& out, const char* format, va_list values);

// The format language of the host's messages: %c %d %i %u %x %X %s %p and %%, with the flags - # 0, width, precision
// and the prefixes h and l. Anything else is copied as it stands, with its percent sign.
// LIMIT: the result is cut behind kMessageLimit bytes, wherever that is in a character.
constexpr size_t kMessageLimit = 1024;
KARST_API void FormatHostMessageV(CString& out, const char* format, va_list values);

}  // namespace karst

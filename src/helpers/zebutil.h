// Small helpers under the whole system: the script error, whole files, escapes. Texts are GBK.
#pragma once

#include <cstddef>

#include "export.h"
#include "text/bytestring.h"

// A script error, thrown by value. It owns no memory and is copied bytewise; its first member is the text, so that
// the object's address reads as the text.
class KARST_API CError {
 public:
  // LIMIT: a longer text is cut at a whole character.
  static constexpr size_t kTextSize = 2048;

  CError(const char* text, int first, int second);

  const char* what() const { return text; }

  char text[kTextSize];
  int first_code;
  int second_code;
};

namespace karst {

// The script error of a run that has no memory: what a failed allocation in a run becomes.
class KARST_API MemoryError : public CError {
 public:
  static constexpr char kText[] = "mem low...";

  explicit MemoryError(const char* text = kText) : CError(text, -1, -1) {}
};

}  // namespace karst

// Expands a file name to a full path, in place: from the working directory, with slashes, without "." and "..", which
// are resolved by the text alone. Not 0 on success; 0, with the name unchanged, for an empty name or where there is no
// working directory.
KARST_API int MakeFullPathName(CString& name);

// Puts the whole file into `content`. -1 if it cannot be read, 0 otherwise; std::bad_alloc where there is no memory for
// it. A file that begins with a UTF-8 byte order mark is turned into GBK, without the mark; a character that GBK lacks
// is a CError whose second code is its line.
KARST_API int LoadFileContentToString(const char* path, CString& content);

// The byte that an escape stands for, given the byte behind the backslash: a b f n r t v as in C, 0 is NUL, any
// other byte stands for itself.
inline char OneEscChar(char byte) {
  switch (byte) {
    case 'a': return '\a';
    case 'b': return '\b';
    case 'f': return '\f';
    case 'n': return '\n';
    case 'r': return '\r';
    case 't': return '\t';
    case 'v': return '\v';
    case '0': return '\0';
    default: return byte;
  }
}

// 1 for a text of one or more digits 0 to 9, else 0.
KARST_API int IsNumber(const char* text);

// Writes every byte of those characters of `text` that stand in `characters` as "%" and two lower-case hexadecimal
// digits. A double-byte character is one character, in both texts. 1 if anything changed, else 0.
KARST_API int EscapeString(CString& text, const char* characters);

// Writes the bytes to the file, in place of whatever it held. 0, or -1.
KARST_API int DumpPackage(const char* file_name, const char* bytes, size_t count);

// Converts GBK `text` to the charset that `conversion` names (case ignored, "//translit" allowed behind it; empty
// means unchanged) into `target`. A character with no place there becomes "&#N;", a byte that is no GBK
// character "\xHH" (with "gbk" such bytes stay as they are). Gives the number of bytes, which
// no NUL ends, or -1 if they do not fit in `size`. An unknown charset is a CError that names it.
KARST_API int MakeBM(const char* text, char* target, int size, const char* conversion);

// The day's number in its year by the Gregorian calendar, from 1; December 31 has the number of the year's days. A
// month above 12 counts as December 31, a month below 1 as January; days are added as they stand.
KARST_API int GetDaysInAYearFromDate(int year, int month, int day);

// Puts "first--second" into `name`, or the one of the two that is not empty; white space at the outer ends is cut, and
// a text of nothing else is empty. Gives the name's length.
KARST_API int MakeFufenName(const char* first, const char* second, CString& name);

// The printf engine: one loop over the format, fed by a source of values. A source answers false where the value asked
// for is not there; the loop then ends with false.
#include "formats/format.h"

#include <cstring>
#include <stdexcept>

#include "formats/numbers.h"
#include "formats/padding.h"

namespace karst {

namespace {

// The length prefix of a directive, by what it means to an integer.
enum class Length { kChar, kShort, kInt, kLong, kAddress, kInt64, kIntMax };

// An integer as a source gives it: its bits, and how many of them count.
struct Integer {
  uint64_t value;
  int bits;
};

// Values from the words of a script. The dialect's long and its addresses are one word.
class WordSource {
 public:
  explicit WordSource(const WordList& words) : words_(words) {}

  bool TakeInteger(Length length, Integer& integer) {
    const bool two_words = length == Length::kInt64 || length == Length::kIntMax;
    integer.bits = two_words ? 64 : 32;
    return two_words ? TakeTwo(integer.value) : TakeOne(integer.value);
  }
  bool TakeInt(int32_t& value) {
    uint64_t bits;
    if (!TakeOne(bits)) return false;
    value = static_cast<int32_t>(bits);
    return true;
  }
  bool TakeText(const char*& text) {
    if (next_ == words_.Count() || words_[next_].text == nullptr) return false;
    text = words_[next_++].text;
    return true;
  }
  bool TakeDouble(bool, double& value) {
    uint64_t bits;
    if (!TakeTwo(bits)) return false;
    std::memcpy(&value, &bits, sizeof value);
    return true;
  }
  bool TakePointer(Integer& integer) { return TakeInteger(Length::kAddress, integer); }

 private:
  bool TakeOne(uint64_t& bits) {
    if (next_ == words_.Count() || words_[next_].text != nullptr) return false;
    bits = words_[next_++].bits;
    return true;
  }
  bool TakeTwo(uint64_t& bits) {
    uint64_t low, high;
    if (!TakeOne(low) || !TakeOne(high)) return false;
    bits = high << 32 | low;
    return true;
  }

  const WordList& words_;
  int next_ = 0;
};

// Values from a C call.
class ArgumentSource {
 public:
  explicit ArgumentSource(va_list values) { va_copy(values_, values); }
  ArgumentSource(const ArgumentSource&) = delete;
  ArgumentSource& operator=(const ArgumentSource&) = delete;
  ~ArgumentSource() { va_end(values_); }

  bool TakeInteger(Length length, Integer& integer) {
    switch (length) {
      case Length::kLong: integer = Of(va_arg(values_, long)); break;
      case Length::kAddress: integer = Of(va_arg(values_, intptr_t)); break;
      case Length::kInt64: integer = Of(va_arg(values_, long long)); break;
      case Length::kIntMax: integer = Of(va_arg(values_, intmax_t)); break;
      default: integer = Of(va_arg(values_, int)); break;
    }
    return true;
  }
  bool TakeInt(int32_t& value) {
    value = va_arg(values_, int);
    return true;
  }
  bool TakeText(const char*& text) {
    text = va_arg(values_, const char*);
    if (text == nullptr) text = "(null)";
    return true;
  }
  bool TakeDouble(bool is_long, double& value) {
    value = is_long ? static_cast<double>(va_arg(values_, long double)) : va_arg(values_, double);
    return true;
  }
  bool TakePointer(Integer& integer) {
    integer = Of(reinterpret_cast<intptr_t>(va_arg(values_, const void*)));
    return true;
  }

 private:
  template <typename Value>
  static Integer Of(Value value) {
    return {static_cast<uint64_t>(value), static_cast<int>(sizeof value * 8)};
  }

  va_list values_;
};

struct PrefixedDirective : Directive {
  Length length = Length::kInt;
  bool long_double = false;
};

void TakeFlags(const char*& at, Directive& directive) {
  for (;; ++at) {
    switch (*at) {
      case '-': directive.left = true; break;
      case '+': directive.plus = true; break;
      case ' ': directive.blank = true; break;
      case '#': directive.alternate = true; break;
      case '0': directive.zeros = true; break;
      default: return;
    }
  }
}

bool IsWithinLimit(int number) { return number <= kMostField; }

template <typename Source>
bool TakeWidth(const char*& at, Source& source, Directive& directive) {
  if (*at != '*') {
    directive.width = TakeFieldNumber(at);
    return IsWithinLimit(directive.width);
  }
  ++at;
  int32_t width;
  if (!source.TakeInt(width)) return false;
  if (width < -kMostField) return false;
  if (width < 0) directive.left = true;
  directive.width = width < 0 ? -width : width;
  return IsWithinLimit(directive.width);
}

template <typename Source>
bool TakePrecision(const char*& at, Source& source, Directive& directive) {
  if (*at != '.') return true;
  if (*++at != '*') {
    directive.precision = TakeFieldNumber(at);
  } else {
    ++at;
    int32_t precision;
    if (!source.TakeInt(precision)) return false;
    directive.precision = precision < 0 ? -1 : precision;
  }
  return IsWithinLimit(directive.precision);
}

bool StartsWith(const char* text, std::string_view head) { return std::strncmp(text, head.data(), head.size()) == 0; }

// The prefixes I64, I32 and the bare I, which only means something to an integer. False at any other I.
bool TakeCapitalI(const char*& at, PrefixedDirective& directive) {
  const bool is_64 = StartsWith(at, "I64");
  if (is_64 || StartsWith(at, "I32")) {
    directive.length = is_64 ? Length::kInt64 : Length::kInt;
    at += 3;
    return true;
  }
  if (at[1] == 0 || std::strchr("diouxX", at[1]) == nullptr) return false;
  directive.length = Length::kAddress;
  ++at;
  return true;
}

// CHOICE: there are no wide texts, so l and w say nothing to a character or a text. hh, j, z and t, which the dialect
// lacks, are taken as C knows them.
void TakeLength(const char*& at, PrefixedDirective& directive) {
  for (;; ++at) {
    switch (*at) {
      case 'h': directive.length = at[1] == 'h' ? Length::kChar : Length::kShort; break;
      case 'l': directive.length = at[1] == 'l' ? Length::kInt64 : Length::kLong; break;
      case 'j': directive.length = Length::kIntMax; break;
      case 'z':
      case 't': directive.length = Length::kAddress; break;
      case 'L': directive.long_double = true; break;
      case 'w': break;
      case 'I':
        if (!TakeCapitalI(at, directive)) return;
        --at;
        break;
      default: return;
    }
    if ((*at == 'h' || *at == 'l') && at[1] == *at) ++at;
  }
}

template <typename Source>
bool PutInteger(CString& out, const PrefixedDirective& directive, Source& source) {
  Integer integer;
  if (!source.TakeInteger(directive.length, integer)) return false;
  if (directive.length == Length::kShort) integer.bits = 16;
  if (directive.length == Length::kChar) integer.bits = 8;
  AppendInteger(out, directive, integer.value, integer.bits);
  return true;
}

template <typename Source>
bool PutCharacter(CString& out, const Directive& directive, Source& source) {
  int32_t value;
  if (!source.TakeInt(value)) return false;
  const char byte = static_cast<char>(value);
  AppendText(out, directive, {&byte, 1});
  return true;
}

template <typename Source>
bool PutText(CString& out, const Directive& directive, Source& source) {
  const char* text;
  if (!source.TakeText(text)) return false;
  AppendText(out, directive, BoundedText(text, directive.precision));
  return true;
}

template <typename Source>
bool PutPointer(CString& out, const Directive& directive, Source& source) {
  Integer integer;
  if (!source.TakePointer(integer)) return false;
  AppendPointer(out, directive, integer.value, integer.bits);
  return true;
}

template <typename Source>
bool PutFloating(CString& out, const PrefixedDirective& directive, Source& source) {
  double value;
  if (!source.TakeDouble(directive.long_double, value)) return false;
  AppendFloating(out, directive, value);
  return true;
}

// One directive; `at` stands behind its percent sign and moves behind it. A conversion that does not exist leaves the
// bytes behind the percent sign to be copied as they stand.
template <typename Source>
bool PutDirective(CString& out, const char*& at, Source& source) {
  const char* const start = at;
  PrefixedDirective directive;
  TakeFlags(at, directive);
  if (!TakeWidth(at, source, directive) || !TakePrecision(at, source, directive)) return false;
  TakeLength(at, directive);
  directive.conversion = *at;
  switch (*at) {
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X': ++at; return PutInteger(out, directive, source);
    case 'c':
    case 'C': ++at; return PutCharacter(out, directive, source);
    case 's':
    case 'S': ++at; return PutText(out, directive, source);
    case 'p': ++at; return PutPointer(out, directive, source);
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
    case 'a':
    case 'A': ++at; return PutFloating(out, directive, source);
    case 'n': return false;
    default:
      if (*at != 0) ++at;
      out.Append({start, static_cast<size_t>(at - start)});
      return true;
  }
}

// SPEED: %d, %s and %% as they mostly stand, without the way through a directive. 0: not one of them, 1: done, -1: a
// failure.
template <typename Source>
int PutBareDirective(CString& out, char conversion, Source& source) {
  if (conversion == 'd') {
    int32_t value;
    if (!source.TakeInt(value)) return -1;
    AppendDecimal(out, value);
    return 1;
  }
  if (conversion == 's') {
    const char* text;
    if (!source.TakeText(text)) return -1;
    out.Append(std::string_view(text));
    return 1;
  }
  if (conversion != '%') return 0;
  out += '%';
  return 1;
}

template <typename Source>
bool FormatFrom(CString& out, const char* format, Source& source) {
  out.Empty();
  const char* at = format;
  const char* const end = format + std::strlen(format);
  while (at != end) {
    if (*at != '%') {
      const void* const percent = std::memchr(at, '%', static_cast<size_t>(end - at));
      const char* const stop = percent ? static_cast<const char*>(percent) : end;
      out.Append({at, static_cast<size_t>(stop - at)});
      at = stop;
      continue;
    }
    ++at;
    const int done = PutBareDirective(out, *at, source);
    if (done < 0) return false;
    if (done > 0) {
      ++at;
    } else if (!PutDirective(out, at, source)) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool FormatWords(CString& out, const char* format, const WordList& words) {
  if (words.Overflowed()) return false;
  WordSource source(words);
  return FormatFrom(out, format, source);
}

void FormatV(CString& out, const char* format, va_list values) {
  ArgumentSource source(values);
  if (!FormatFrom(out, format ? format : "", source))
    throw std::invalid_argument("a format that cannot be carried out");
}

}  // namespace karst

// The format language of the host's messages. What does not fit the limit is not even looked at.
#include "formats/format.h"

#include <algorithm>
#include <cstring>

#include "formats/numbers.h"
#include "formats/padding.h"

namespace karst {

namespace {

struct MessageDirective : Directive {
  bool is_short = false;
  bool is_long = false;
};

void TakeFlags(const char*& at, Directive& directive) {
  for (;; ++at) {
    switch (*at) {
      case '-': directive.left = true; break;
      case '#': directive.alternate = true; break;
      case '0': directive.zeros = true; break;
      default: return;
    }
  }
}

// A width or precision past the limit shows no more than one at a little past it.
int TakeMessageNumber(const char*& at) { return std::min(TakeFieldNumber(at), kMostField); }

MessageDirective TakeDirective(const char*& at) {
  MessageDirective directive;
  TakeFlags(at, directive);
  directive.width = TakeMessageNumber(at);
  if (*at == '.') directive.precision = TakeMessageNumber(++at);
  directive.is_short = *at == 'h';
  directive.is_long = *at == 'l';
  if (directive.is_short || directive.is_long) ++at;
  directive.conversion = *at;
  return directive;
}

// No more of a text is looked at than its precision, or the message, could show.
std::string_view ShownText(const Directive& directive, const char* text) {
  const int shown = std::max(directive.width, static_cast<int>(kMessageLimit));
  return BoundedText(text ? text : "(null)", directive.precision < 0 ? shown : std::min(directive.precision, shown));
}

// The values of one message. A struct, so that the list goes on from call to call.
struct MessageValues {
  va_list list;
};

uint64_t TakeInteger(const MessageDirective& directive, MessageValues& values) {
  if (directive.is_long) return static_cast<uint64_t>(va_arg(values.list, long));
  return static_cast<uint64_t>(va_arg(values.list, int));
}

// False for a conversion that the language does not have; no value is taken then.
bool PutValue(CString& out, const MessageDirective& directive, MessageValues& values) {
  switch (directive.conversion) {
    case 'c': {
      const char byte = static_cast<char>(va_arg(values.list, int));
      AppendText(out, directive, {&byte, 1});
      return true;
    }
    case 's': AppendText(out, directive, ShownText(directive, va_arg(values.list, const char*))); return true;
    case 'p':
      AppendPointer(out, directive, reinterpret_cast<uintptr_t>(va_arg(values.list, const void*)), sizeof(void*) * 8);
      return true;
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
      AppendInteger(out, directive, TakeInteger(directive, values),
                    directive.is_short  ? 16
                    : directive.is_long ? sizeof(long) * 8
                                        : 32);
      return true;
    default: return false;
  }
}

}  // namespace

void FormatHostMessageV(CString& out, const char* format, va_list list) {
  MessageValues values;
  va_copy(values.list, list);
  out.Empty();
  const char* at = format ? format : "";
  while (*at != 0 && out.size() < kMessageLimit) {
    const char* const start = at++;
    if (*start == '%' && *at == '%') {
      out += *at++;
    } else if (*start == '%') {
      const MessageDirective directive = TakeDirective(at);
      if (PutValue(out, directive, values)) {
        ++at;
      } else {
        out.Append({start, static_cast<size_t>(at - start)});
      }
    } else {
      at = start + std::min(std::strcspn(start, "%"), kMessageLimit);
      out.Append({start, static_cast<size_t>(at - start)});
    }
  }
  if (out.size() > kMessageLimit) out.Resize(kMessageLimit);
  va_end(values.list);
}

}  // namespace karst

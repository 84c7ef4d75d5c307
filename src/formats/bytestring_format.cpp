// CString: its formatted forms.
#include <cstdarg>

#include "formats/format.h"
#include "text/bytestring.h"

void CString::Format(const char* format, ...) {
  va_list values;
  CString result;
  va_start(values, format);
  try {
    karst::FormatV(result, format, values);
  } catch (...) {
    va_end(values);
    throw;
  }
  va_end(values);
  Swap(result);
}

void CString::FormatV(const char* format, va_list values) {
  CString result;
  karst::FormatV(result, format, values);
  Swap(result);
}

// Numbers as texts, within the width of their directive. Internal to the formatter.
#pragma once

#include <cstdint>

#include "formats/directive.h"
#include "text/bytestring.h"

namespace karst {

// Conversions d i u o x X: `value` holds the bits of the value in the lowest `bits` bits.
void AppendInteger(CString& out, const Directive& directive, uint64_t value, int bits);
// Conversion p: all digits of the `bits` bits.
void AppendPointer(CString& out, const Directive& directive, uint64_t value, int bits);
// Conversions e E f F g G a A.
void AppendFloating(CString& out, const Directive& directive, double value);

// SPEED: a bare %d, without the way through the parts.
void AppendDecimal(CString& out, int32_t value);

}  // namespace karst

// The handlers of the built-ins, by family. Only the table of built-ins names them.
#pragma once

#include "builtins/funcarray.h"

namespace karst::builtin {

using Handler = void(CFuncArray* self, int argc, int first, CValue* result);

// Formatted output (printapi.cpp).
Handler Printf, Fprintf, Sprintf, Fnprintf, Bmprintf;

// Files (fileapi.cpp).
Handler Open, Close, Seek, Read, Write, FnCat, ReadLine;

}  // namespace karst::builtin

// A script error on standard error, with the place in the source.
#pragma once

#include "cli/base/console.h"
#include "cli/base/source_file.h"
#include "script/script.h"

namespace karst::cli {

// Writes the error to the engine's output control, as the library's own entry points do.
void WriteErrorMessage(CScript& engine, const char* text, int line);

// The same, and on standard error: file, line and message, then the source line as it was written with a mark under
// the token that was read last, and a note where that is a reserved word in the place of a name. The line in front of
// the message is the engine's, which has passed a line's end when that was the last thing read; the number beside the
// source is that of the line shown. Gives -1, the run's result.
int ReportScriptError(Console& console, CScript& engine, const SourceFile& file, const char* text, int line);

// The same of a script that has no memory, which the engine's own message does not always say: a note does.
int ReportNoMemory(Console& console, CScript& engine, const SourceFile& file, const MemoryError& error);

// The columns that a text takes on a terminal.
size_t DisplayWidth(std::string_view text, Encoding encoding);

}  // namespace karst::cli

// Standard input: under a name, and as the keyboard.
#pragma once

namespace karst::cli {

// The library reads files by name, and the name of standard input opens it anew: that fails for a socket, and gives a
// file from its start where some of it was read already. In these cases a child process passes the bytes on through a
// pipe, which takes the place of standard input.
void PrepareStandardInput();

// Reads a line from standard input and drops it. False if the input ended before its end, or the run is to stop.
bool WaitForEnter();

}  // namespace karst::cli

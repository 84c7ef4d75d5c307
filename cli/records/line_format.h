// The line form: records as text to read and edit, one field a line, and back without loss.
//
//   LDR 00312nam0 2200133   450\s
//   001 KS00000001
//   100 __$a20240102d2008    em y0chiy0110    ea
//   200 1_$a书名$f作者
//
// A line that begins with LDR and a blank begins a record; its 24 bytes are the leader. Every other line is a field:
// the tag of three characters, a blank, the field's bytes. A blank line ends the record. "$" is the mark of a subfield;
// "_" as an indicator is a blank. "\" begins what cannot stand for itself: "\\", "\$", "\_", "\s" a blank at the begin
// or the end of a field, and "\xHH" any byte, so each control character and each byte that belongs to no character.
#pragma once

#include <string>
#include <string_view>

namespace karst::cli {

// Appends the lines of a record in the internal form, which may be GBK or UTF-8, and an empty line.
void AppendLines(std::string_view record, std::string& out);

// Puts the record that the lines of `text` spell, the first of them its leader, into `record`. Blanks at the end of a
// line do not count. Gives what is wrong, in GBK, with the number of the line; the empty text if all is well.
std::string ParseLines(std::string_view text, std::string& record);

// True if a record begins with this line.
bool IsLeaderLine(std::string_view line);

}  // namespace karst::cli

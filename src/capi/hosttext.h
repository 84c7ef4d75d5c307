// Texts on their way between a host and the GBK inside.
//
// In UTF-8 nothing gets lost either way. A character with no place in GBK stands inside as a numeric reference, "&#N;"
// in decimal digits; a text that reads like such a reference from the start has "#38;" put into it after its "&",
// which is taken out again on the way back. A byte inside that is no GBK, a lead byte without a trail byte or 0xFF,
// stands outside as U+10F700 plus its value. Where a host's own text has such a code point before what becomes a trail
// byte inside, the code point is a reference: its byte would be taken for the first half of a character.
#pragma once

#include <karst/karst.h>

#include <string>
#include <string_view>

namespace karst::capi {

bool IsEncoding(karst_encoding encoding);
// False if the text is not in that encoding: bytes that are no UTF-8.
bool ToInside(std::string_view text, karst_encoding encoding, std::string& gbk);
void ToOutside(std::string_view gbk, karst_encoding encoding, std::string& text);
// A file's name. A part of the path that has no GBK form stays as it is, which the file layer understands.
std::string FileNameInside(std::string_view name, karst_encoding encoding);
// Bytes of the host, such as a file's name, as a text that comes out: those that are no UTF-8 stand there like bytes
// inside that are no GBK.
std::string ShownOutside(std::string_view bytes, karst_encoding encoding);

// A text that comes out in pieces: what is not yet a whole character, or may become a reference, is kept for the next
// piece.
class OutsidePieces {
 public:
  explicit OutsidePieces(karst_encoding encoding) : encoding_(encoding) {}
  // The text that can be given now; valid until the next call.
  std::string_view Add(std::string_view gbk);
  // What was kept.
  std::string_view Finish();
  // Drops what was kept: a run that failed may have left it.
  void Drop() { kept_.clear(); }

 private:
  karst_encoding encoding_;
  std::string kept_;
  std::string text_;
};

}  // namespace karst::capi

// A source file's bytes, turned into the text that is checked: its charset and its line ends.
#pragma once

#include <string>
#include <string_view>

#include "check/findings.h"

namespace karst::cli::check {

enum class Charset { kGbk, kUtf8, kMarkedUtf8 };
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// What the bytes are: marked where they begin with the mark of UTF-8. Without the mark they count as UTF-8 if all of
// them are UTF-8 and most characters beyond ASCII take three bytes or more, as Chinese does, or if they are no GBK.
Charset CharsetOf(std::string_view bytes);

// Where a walk over a source stands: in code, in a literal or in a comment. Line ends of either style end a comment.
class LiteralTracker {
 public:
  // Passes one character, given by its first byte.
  void Pass(char first);
  bool InLiteral() const { return place_ == Place::kLiteral; }
  // The byte just passed is a backslash that acts on the next one.
  bool BehindBackslash() const { return behind_backslash_; }

 private:
  enum class Place { kCode, kLiteral, kComment } place_ = Place::kCode;
  bool behind_backslash_ = false;
};

// How far a walk over GBK goes in one step: a character. Loading looks at bytes, so in a literal the second byte of a
// character may act as a backslash, and is then a step of its own.
size_t StepLength(std::string_view gbk, const LiteralTracker& tracker);

// UTF-8 into GBK. A character that GBK lacks, and a byte that is no UTF-8, becomes "?" and a finding at its place in
// the new text. With `keep_literals`, a character of a literal whose second byte is a backslash gets one more backslash
// behind it, so that the literal keeps it whole.
std::string ToGbkSource(std::string_view utf8, bool keep_literals, Findings& findings);

struct SourceText {
  std::string gbk;
  Charset charset = Charset::kGbk;
  bool lf_style = false;  // most lines end in LF alone: an LF is then taken for a line end
};

// The text to be checked, with findings on charset and line ends.
SourceText PrepareSource(std::string_view bytes, Findings& findings);

}  // namespace karst::cli::check

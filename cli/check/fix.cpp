// Mending.
#include "check/fix.h"

#include <algorithm>

#include "check/gbk.h"
#include "check/source.h"

namespace karst::cli::check {
namespace {

// Goes through the text of a source by characters of its charset.
class LineEndMending {
 public:
  LineEndMending(std::string_view text, Charset charset) : text_(text), utf8_(charset != Charset::kGbk) {}

  // False if a literal is still open at the end.
  bool Run(MendedSource& mended) {
    while (at_ < text_.size()) {
      const bool kept = tracker_.InLiteral() && !tracker_.BehindBackslash();
      const size_t line_end = kept ? 0 : LineEndLength();
      line_end > 0 ? PutLineEnd(mended, line_end) : Copy(mended);
    }
    return !tracker_.InLiteral();
  }

 private:
  // CR LF, LF, CR, or several CR ahead of an LF; 0 if there is none. A lone CR is a line end outside literals only.
  size_t LineEndLength() const {
    size_t length = 0;
    while (at_ + length < text_.size() && text_[at_ + length] == '\r') ++length;
    if (at_ + length < text_.size() && text_[at_ + length] == '\n') return length + 1;
    return length > 0 ? 1 : 0;
  }

  void PutLineEnd(MendedSource& mended, size_t length) {
    mended.line_ends += text_.substr(at_, length) != "\r\n";
    mended.bytes += "\r\n";
    for (size_t end = at_ + length; at_ < end; ++at_) tracker_.Pass(text_[at_]);
  }

  void Copy(MendedSource& mended) {
    const std::string_view rest = text_.substr(at_);
    const size_t length = utf8_ ? std::max<size_t>(Utf8CharacterLength(rest), 1) : StepLength(rest, tracker_);
    tracker_.Pass(rest[0]);
    mended.bytes += rest.substr(0, length);
    at_ += length;
  }

  std::string_view text_;
  bool utf8_;
  LiteralTracker tracker_;
  size_t at_ = 0;
};

}  // namespace

MendedSource Mend(std::string_view bytes) {
  MendedSource mended;
  const Charset charset = CharsetOf(bytes);
  mended.checked_text = bytes;
  if (charset == Charset::kUtf8) {
    mended.converted = true;
    mended.checked_text = ToGbkSource(bytes, true, mended.findings);
  }
  const Charset now = charset == Charset::kMarkedUtf8 ? charset : Charset::kGbk;
  mended.open_literal = !LineEndMending(mended.checked_text, now).Run(mended);
  return mended;
}

}  // namespace karst::cli::check

// Mending.
#include "cli/check/fix.h"

#include "text/charset.h"

namespace karst::cli::check {
namespace {

// Goes through the text of a source by characters of its charset.
class LineEndMending {
 public:
  LineEndMending(std::string_view text, bool utf8) : text_(text), utf8_(utf8) {}

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
  // CR LF, LF, CR, or several CR before an LF; 0 if there is none. A lone CR is a line end outside literals only.
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
    const size_t length = utf8_ ? DecodeUtf8(rest).length : StepLength(rest, tracker_);
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
  mended.text = ReadSourceText(bytes, SourceReading::kEvident);
  const SourceText& source = mended.text;
  mended.converted = source.charset == SourceCharset::kUtf8;
  const bool marked = source.charset == SourceCharset::kMarkedUtf8;
  for (const SourceText::Misfit& misfit : source.misfits) {
    if (mended.converted) mended.findings.AddUtf8(Rule::kNotInGbk, misfit.offset, misfit.bytes);
  }
  const std::string with_mark = marked && source.bare_lf > 0 ? WithCrLf(bytes) : std::string(marked ? bytes : "");
  mended.open_literal = !LineEndMending(marked ? with_mark : source.gbk, marked).Run(mended);
  mended.line_ends += source.bare_lf;
  // What would be taken for UTF-8 again is better left as it is.
  const bool lasts = !mended.converted || CharsetOf(mended.bytes) == SourceCharset::kGbk;
  if (!lasts) mended.findings.Add(Rule::kHostForm, Severity::kError, 0, {"UTF-8"});
  return mended;
}

}  // namespace karst::cli::check

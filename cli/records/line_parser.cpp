// The records of the line form: from one leader's line to the next, or to a blank line.
#include <algorithm>

#include "cli/base/encoding.h"
#include "cli/records/line_format.h"
#include "cli/records/text_parser.h"
#include "text/charset.h"

namespace karst::cli {
namespace {

class LineParser : public TextParser {
 public:
  explicit LineParser(std::unique_ptr<ByteSource> source)
      : TextParser(std::move(source)), outside_(ToGbk("行不在记录之内")), too_long_(ToGbk("记录太长")) {}

  bool HasSign() const override { return has_sign_; }

 private:
  Stretch FindStretch() override {
    while (View().size() < kByteOrderMark.size() && Grow()) {
    }
    if (View().empty()) return {};
    if (RecordOffset() == 0 && Position() == 0 && View().starts_with(kByteOrderMark)) {
      return {Kind::kSeparator, kByteOrderMark.size()};
    }
    if (const size_t blanks = BlankLineAt(0)) return {Kind::kSeparator, blanks};
    const size_t end = FindEnd();
    const bool has_leader = LeaderLineAt(0);
    has_sign_ = has_sign_ || has_leader;
    if (View().size() > kLongest && end > kLongest) return {Kind::kNoRecord, end, too_long_.c_str()};
    if (has_leader) return {Kind::kRecord, end};
    return {Kind::kNoRecord, end, outside_.c_str()};
  }
  std::string Decode(std::string_view bytes, std::string& text) override { return ParseLines(bytes, text); }

  // The length of the blank line at `line`, 0 if it is none.
  size_t BlankLineAt(size_t line) {
    size_t at = line;
    while (true) {
      at = std::min(View().find_first_not_of(" \t\r", at), View().size());
      if (at < View().size()) return View()[at] == '\n' ? at + 1 - line : 0;
      if (!Grow()) return at - line;
    }
  }
  bool LeaderLineAt(size_t at) { return IsLeaderLine(View().substr(at)); }
  // Where the record at the read position, or what is none, ends: after a blank line, before the next record, or
  // with all there is.
  size_t FindEnd() {
    for (size_t from = 0;;) {
      const size_t found = Find("\n", from);
      if (found == kNowhere) return View().size();
      const size_t line = found + 1;
      if (const size_t blank = BlankLineAt(line)) return line + blank;
      while (View().size() < line + 4 && Grow()) {
      }
      if (LeaderLineAt(line)) return line;
      from = line;
    }
  }

  bool has_sign_ = false;
  const std::string outside_;
  const std::string too_long_;
};

}  // namespace

std::unique_ptr<RecordParser> MakeLineParser(std::unique_ptr<ByteSource> source) {
  return std::make_unique<LineParser>(std::move(source));
}

}  // namespace karst::cli

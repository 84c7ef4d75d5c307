// The records of the line form: from one leader's line to the next.
#include <algorithm>

#include "encoding.h"
#include "records/line_format.h"
#include "records/text_parser.h"

namespace karst::cli {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

class LineParser : public TextParser {
 public:
  explicit LineParser(std::unique_ptr<ByteSource> source)
      : TextParser(std::move(source)), outside_(ToGbk("行不在记录之内")), too_long_(ToGbk("记录太长")) {}

 private:
  Stretch FindStretch() override {
    while (View().size() < kByteOrderMark.size() && Grow()) {
    }
    if (View().empty()) return {};
    if (RecordOffset() == 0 && Position() == 0 && View().starts_with(kByteOrderMark)) {
      return {Kind::kSeparator, kByteOrderMark.size()};
    }
    if (const size_t blanks = BlankLine()) return {Kind::kSeparator, blanks};
    const size_t end = FindLeaderLine();
    if (View().size() > kLongest && end > kLongest) return {Kind::kNoRecord, end, too_long_.c_str()};
    if (LeaderLineAt(0)) return {Kind::kRecord, end};
    return {Kind::kNoRecord, end, outside_.c_str()};
  }
  std::string Decode(std::string_view bytes, std::string& text) override { return ParseLines(bytes, text); }

  // The length of the blank line at the read position, 0 if it is none.
  size_t BlankLine() {
    size_t at = 0;
    while (true) {
      at = std::min(View().find_first_not_of(" \r", at), View().size());
      if (at < View().size()) return View()[at] == '\n' ? at + 1 : 0;
      if (!Grow()) return at;
    }
  }
  bool LeaderLineAt(size_t at) { return IsLeaderLine(View().substr(at)); }
  // Where the next record begins behind the read position, or all there is.
  size_t FindLeaderLine() {
    for (size_t from = 0;;) {
      const size_t found = Find("\nLDR", from);
      if (found == kNowhere) return View().size();
      const size_t line = found + 1;
      while (View().size() < line + 4 && Grow()) {
      }
      if (LeaderLineAt(line)) return line;
      from = line;
    }
  }

  const std::string outside_;
  const std::string too_long_;
};

}  // namespace

std::unique_ptr<RecordParser> MakeLineParser(std::unique_ptr<ByteSource> source) {
  return std::make_unique<LineParser>(std::move(source));
}

}  // namespace karst::cli

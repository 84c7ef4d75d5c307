// The records of MARCXML: each element "record" is found first and read by itself, so that a faulty one does not keep
// those behind it from being read, and memory does not grow with the file. All that stands outside of these elements is
// passed without a report, unless it is a part of a record that has lost the rest.
#include <algorithm>

#include "encoding.h"
#include "records/text_parser.h"
#include "records/xml_format.h"

namespace karst::cli {
namespace {

constexpr std::string_view kNameEnd = " \t\r\n/><";

class XmlParser : public TextParser {
 public:
  explicit XmlParser(std::unique_ptr<ByteSource> source)
      : TextParser(std::move(source)),
        no_end_(ToGbk("记录没有结束标记")),
        outside_(ToGbk("字段不在记录之内")),
        open_markup_(ToGbk("XML标记没有结束")) {}

 private:
  enum class Markup { kOther, kRecordStart, kRecordEnd, kPartStart, kSkipped, kOpen };

  Stretch FindStretch() override {
    if (View().empty() && !Grow()) return {};
    if (View()[0] != '<') return {Kind::kSeparator, std::min(View().find('<'), View().size())};
    size_t end = 0;
    switch (ReadMarkup(0, end)) {
      case Markup::kRecordStart: return FindRecord(end);
      case Markup::kPartStart: return {Kind::kNoRecord, FindRecordStart(end), outside_.c_str()};
      case Markup::kOpen: return {Kind::kNoRecord, end, open_markup_.c_str()};
      default: return {Kind::kSeparator, end};
    }
  }
  std::string Decode(std::string_view bytes, std::string& text) override {
    const std::string fault = ReadXmlRecord(bytes, text);
    return fault.empty() ? fault : ToGbk(fault);
  }

  // A record starts at the read position; `from` is behind the name of its element.
  Stretch FindRecord(size_t from) {
    bool has_parts = false;
    if (StartTagIsWhole(from)) return {Kind::kRecord, from};
    for (size_t at = Find("<", from); at != kNowhere; at = Find("<", from)) {
      const Markup markup = ReadMarkup(at, from);
      if (markup == Markup::kRecordEnd) {
        const size_t close = CloseOfEndTag(from);
        if (close != kNowhere) return {Kind::kRecord, close + 1};
      }
      // An element around the record that has the same name, as in the answers of harvesting.
      if (markup == Markup::kRecordStart && !has_parts) return {Kind::kSeparator, at};
      if (markup == Markup::kRecordStart) return {Kind::kNoRecord, at, no_end_.c_str()};
      has_parts = has_parts || markup == Markup::kPartStart;
    }
    return {Kind::kNoRecord, View().size(), no_end_.c_str()};
  }

  // The ">" behind the name of an end tag, and nothing but white space.
  size_t CloseOfEndTag(size_t at) {
    size_t close = View().find_first_not_of(" \t\r\n", at);
    while (close == kNowhere && Grow()) close = View().find_first_not_of(" \t\r\n", at);
    return close != kNowhere && View()[close] == '>' ? close : kNowhere;
  }

  // Goes to the end of the start tag, in which no "<" may stand. True if it is the element's end too.
  bool StartTagIsWhole(size_t& from) {
    char quote = 0;
    for (size_t at = from; at < View().size() || Grow(); ++at) {
      const char byte = View()[at];
      if (byte == '<') return false;
      if (quote != 0) {
        if (byte == quote) quote = 0;
      } else if (byte == '"' || byte == '\'') {
        quote = byte;
      } else if (byte == '>') {
        from = at + 1;
        return View()[at - 1] == '/';
      }
    }
    return false;
  }

  // Where the next record starts, or all there is.
  size_t FindRecordStart(size_t from) {
    for (size_t at = Find("<", from); at != kNowhere; at = Find("<", from)) {
      if (ReadMarkup(at, from) == Markup::kRecordStart) return at;
    }
    return View().size();
  }

  // What the "<" at `at` begins. `end` is put behind what is skipped as a whole, or behind the name of an element.
  Markup ReadMarkup(size_t at, size_t& end) {
    if (Starts(at, "<!--")) return Skip(at, "-->", no_comment_end_, end);
    if (Starts(at, "<![CDATA[")) return Skip(at, "]]>", no_section_end_, end);
    if (Starts(at, "<?")) return Skip(at, "?>", no_instruction_end_, end);
    const bool closing = Starts(at, "</");
    const std::string_view name = NameAt(at + (closing ? 2 : 1));
    const size_t colon = name.find(':');
    const std::string_view local = colon == kNowhere ? name : name.substr(colon + 1);
    end = at + (closing ? 2 : 1) + name.size();
    if (local == "record") return closing ? Markup::kRecordEnd : Markup::kRecordStart;
    const bool part = local == "leader" || local == "controlfield" || local == "datafield" || local == "subfield";
    return part && !closing ? Markup::kPartStart : Markup::kOther;
  }
  bool Starts(size_t at, std::string_view text) {
    while (View().size() < at + text.size() && View().substr(at) == text.substr(0, View().size() - at) && Grow()) {
    }
    return View().substr(at).starts_with(text);
  }
  // `none_ahead_of` is the place in the file up to which there is no `last`: what has been searched is not searched
  // again for the next one that lacks its end.
  Markup Skip(size_t at, std::string_view last, uint64_t& none_ahead_of, size_t& end) {
    const uint64_t searched = none_ahead_of > Position() ? none_ahead_of - Position() : 0;
    const size_t found = Find(last, std::max<size_t>(at + 2, searched));
    end = found == kNowhere ? at + 2 : found + last.size();
    if (found != kNowhere) return Markup::kSkipped;
    none_ahead_of = Position() + std::max(View().size(), last.size() - 1) - (last.size() - 1);
    return Markup::kOpen;
  }
  std::string_view NameAt(size_t at) {
    constexpr size_t kLongestName = 256;
    size_t end = 0;
    while ((end = View().substr(at, kLongestName).find_first_of(kNameEnd)) == kNowhere &&
           View().size() < at + kLongestName && Grow()) {
    }
    return View().substr(at, std::min(end, kLongestName));
  }

  uint64_t no_comment_end_ = 0;
  uint64_t no_section_end_ = 0;
  uint64_t no_instruction_end_ = 0;
  const std::string no_end_;
  const std::string outside_;
  const std::string open_markup_;
};

}  // namespace

std::unique_ptr<RecordParser> MakeXmlParser(std::unique_ptr<ByteSource> source) {
  return std::make_unique<XmlParser>(std::move(source));
}

}  // namespace karst::cli

// The records of MARCXML: each element "record" is found first and read by itself, so that a faulty one does not keep
// those after it from being read, and memory does not grow with the file. Other elements, and text in these, are
// passed without a report. What stands outside of the root element is no XML, nor is what holds control bytes: it is
// reported, and so is a root element that has no end.
#include <algorithm>

#include "cli/base/encoding.h"
#include "cli/records/text_parser.h"
#include "cli/records/xml_format.h"
#include "text/charset.h"

namespace karst::cli {
namespace {

constexpr std::string_view kNameEnd = " \t\r\n/><";
constexpr std::string_view kWhiteSpace = " \t\r\n";

bool IsControl(char byte) {
  return static_cast<unsigned char>(byte) < ' ' && kWhiteSpace.find(byte) == std::string_view::npos;
}

bool BeginsName(char byte) {
  const char letter = static_cast<char>(byte | 0x20);
  return (letter >= 'a' && letter <= 'z') || byte == '_' || byte == ':' || static_cast<unsigned char>(byte) >= 0x80;
}

class XmlParser : public TextParser {
 public:
  explicit XmlParser(std::unique_ptr<ByteSource> source)
      : TextParser(std::move(source)),
        no_end_(ToGbk("记录没有结束标记")),
        outside_(ToGbk("字段不在记录之内")),
        open_markup_(ToGbk("XML标记没有结束")),
        not_xml_(ToGbk("不是XML的内容")) {}

  std::string Fault() const override {
    return root_.empty() ? "" : "the XML breaks off: the element " + root_ + " has no end";
  }
  bool HasSign() const override { return has_sign_; }

 private:
  enum class Markup { kOther, kStart, kEnd, kRecordStart, kRecordEnd, kPartStart, kSkipped, kOpen };
  enum class TagEnd { kNone, kOpen, kWhole };

  Stretch FindStretch() override {
    if (View().empty() && !Grow()) return {root_.empty() ? Kind::kEnd : Kind::kBroken};
    if (View()[0] != '<') return FindText();
    size_t end = 0;
    switch (ReadMarkup(0, end)) {
      case Markup::kRecordStart: return FindRecord(end);
      case Markup::kPartStart: return {Kind::kNoRecord, FindRecordStart(end), outside_.c_str()};
      case Markup::kSkipped: return {Kind::kSeparator, end};
      case Markup::kStart: return BeginElement(end);
      case Markup::kEnd:
      case Markup::kRecordEnd: return EndElement(end);
      case Markup::kOpen: return {Kind::kNoRecord, FindMarkup(end), open_markup_.c_str()};
      default: return Pass(end);
    }
  }

  // Text from the read position on. Inside the root element it may be any.
  Stretch FindText() {
    if (root_.empty() && Starts(0, kByteOrderMark)) return {Kind::kSeparator, kByteOrderMark.size()};
    const bool outside = root_.empty();
    const auto stops = [outside](char byte) {
      return byte == '<' || (outside ? kWhiteSpace.find(byte) == std::string_view::npos : IsControl(byte));
    };
    const std::string_view view = View();
    const auto size = static_cast<size_t>(std::find_if(view.begin(), view.end(), stops) - view.begin());
    if (size > 0) return {Kind::kSeparator, size};
    return {Kind::kNoRecord, FindMarkup(1), not_xml_.c_str()};
  }

  // Bytes that are no markup though they begin with "<".
  Stretch Pass(size_t size) {
    if (!root_.empty()) return {Kind::kSeparator, size};
    return {Kind::kNoRecord, FindMarkup(size), not_xml_.c_str()};
  }

  // An element at the read position that is no record; `from` is after its name. Only those of the root's name are
  // counted, so that other elements may lack their end.
  Stretch BeginElement(size_t from) {
    const std::string name(View().substr(1, from - 1));
    const TagEnd end = FindTagEnd(from);
    if (end == TagEnd::kNone) return Pass(from);
    has_sign_ = has_sign_ || LocalName(name) == "collection";
    if (end == TagEnd::kOpen && (root_.empty() || root_ == name)) {
      root_ = name;
      ++depth_;
    }
    return {Kind::kSeparator, from};
  }
  Stretch EndElement(size_t from) {
    const bool ends_root = EndsRoot(0, from);
    const size_t close = CloseOfEndTag(from);
    if (close == kNowhere || root_.empty()) return Pass(from);
    if (ends_root && --depth_ == 0) root_.clear();
    return {Kind::kSeparator, close + 1};
  }
  // True if the name of the end tag at `at` is that of the root element.
  bool EndsRoot(size_t at, size_t name_end) const {
    return !root_.empty() && View().substr(at + 2, name_end - at - 2) == root_;
  }

  std::string Decode(std::string_view bytes, std::string& text) override {
    const std::string fault = ReadXmlRecord(bytes, text);
    return fault.empty() ? fault : ToGbk(fault);
  }

  // A record starts at the read position; `from` is after the name of its element.
  Stretch FindRecord(size_t from) {
    has_sign_ = true;
    const size_t name_end = from;
    bool has_parts = false;
    int open = 0;  // elements in it that are no parts of a record
    if (FindTagEnd(from) == TagEnd::kWhole) return {Kind::kRecord, from};
    for (size_t at = Find("<", from); at != kNowhere; at = Find("<", from)) {
      const Markup markup = ReadMarkup(at, from);
      if (markup == Markup::kRecordEnd) {
        const size_t close = CloseOfEndTag(from);
        if (close != kNowhere) return {Kind::kRecord, close + 1};
      }
      // An element around the record that has the same name, as in the answers of harvesting.
      if (markup == Markup::kRecordStart && !has_parts && open > 0) return BeginElement(name_end);
      const bool root_ends = markup == Markup::kEnd && EndsRoot(at, from);
      if (markup == Markup::kRecordStart || root_ends) return {Kind::kNoRecord, at, no_end_.c_str()};
      if (markup == Markup::kStart && FindTagEnd(from) == TagEnd::kOpen) ++open;
      if (markup == Markup::kEnd) --open;
      has_parts = has_parts || markup == Markup::kPartStart;
    }
    return {Kind::kNoRecord, View().size(), no_end_.c_str()};
  }

  // The ">" after the name of an end tag, and nothing but white space.
  size_t CloseOfEndTag(size_t at) {
    size_t close = View().find_first_not_of(" \t\r\n", at);
    while (close == kNowhere && Grow()) close = View().find_first_not_of(" \t\r\n", at);
    return close != kNowhere && View()[close] == '>' ? close : kNowhere;
  }

  // Goes to the end of the start tag, in which no "<" may stand. kWhole: it is the element's end too.
  TagEnd FindTagEnd(size_t& from) {
    char quote = 0;
    for (size_t at = from; at < View().size() || Grow(); ++at) {
      const char byte = View()[at];
      if (byte == '<') return TagEnd::kNone;
      if (quote != 0) {
        if (byte == quote) quote = 0;
      } else if (byte == '"' || byte == '\'') {
        quote = byte;
      } else if (byte == '>') {
        from = at + 1;
        return View()[at - 1] == '/' ? TagEnd::kWhole : TagEnd::kOpen;
      }
    }
    return TagEnd::kNone;
  }

  // Where the next record starts, or the root element ends, or all there is.
  size_t FindRecordStart(size_t from) {
    for (size_t at = Find("<", from); at != kNowhere; at = Find("<", from)) {
      const Markup markup = ReadMarkup(at, from);
      if (markup == Markup::kRecordStart || (markup == Markup::kEnd && EndsRoot(at, from))) return at;
    }
    return View().size();
  }

  // Where something starts that is XML, or all there is.
  size_t FindMarkup(size_t from) {
    for (size_t at = Find("<", from); at != kNowhere; at = Find("<", from)) {
      const Markup markup = ReadMarkup(at, from);
      const bool ends_nothing = root_.empty() && (markup == Markup::kEnd || markup == Markup::kRecordEnd);
      if (markup != Markup::kOther && markup != Markup::kOpen && !ends_nothing) return at;
    }
    return View().size();
  }

  // What the "<" at `at` begins. `end` is put after what is skipped as a whole, or after the name of an element.
  Markup ReadMarkup(size_t at, size_t& end) {
    if (Starts(at, "<!")) {
      if (Starts(at, "<!--")) return Skip(at, "-->", no_comment_end_, end);
      if (Starts(at, "<![CDATA[")) return Skip(at, "]]>", no_section_end_, end);
      return SkipDeclaration(at, end);
    }
    if (Starts(at, "<?")) return Skip(at, "?>", no_instruction_end_, end);
    const bool closing = Starts(at, "</");
    const std::string_view name = NameAt(at + (closing ? 2 : 1));
    end = at + (closing ? 2 : 1) + name.size();
    if (name.empty() || !BeginsName(name[0])) {
      end = at + 1;
      return Markup::kOther;
    }
    const std::string_view local = LocalName(name);
    if (local == "record") return closing ? Markup::kRecordEnd : Markup::kRecordStart;
    if (closing) return Markup::kEnd;
    const bool part = local == "leader" || local == "controlfield" || local == "datafield" || local == "subfield";
    return part ? Markup::kPartStart : Markup::kStart;
  }
  static std::string_view LocalName(std::string_view name) {
    const size_t colon = name.find(':');
    return colon == kNowhere ? name : name.substr(colon + 1);
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
  // A document type, which may have declarations in brackets.
  Markup SkipDeclaration(size_t at, size_t& end) {
    end = at + 2;
    if (Position() + at < no_declaration_end_) return Markup::kOther;
    char quote = 0;
    int brackets = 0;
    for (size_t i = end; i < View().size() || Grow(); ++i) {
      const char byte = View()[i];
      if (quote != 0) {
        if (byte == quote) quote = 0;
      } else if (byte == '"' || byte == '\'') {
        quote = byte;
      } else if (brackets > 0 && byte == '<' && Starts(i, "<!--")) {
        size_t comment_end = 0;
        Skip(i, "-->", no_comment_end_, comment_end);
        i = comment_end - 1;
      } else if (brackets == 0 && (byte == '>' || byte == '<')) {
        end = byte == '>' ? i + 1 : end;
        return byte == '>' ? Markup::kSkipped : Markup::kOther;
      }
      if (quote == 0) brackets += byte == '[' ? 1 : byte == ']' && brackets > 0 ? -1 : 0;
    }
    no_declaration_end_ = Position() + View().size();
    return Markup::kOther;
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
  uint64_t no_declaration_end_ = 0;
  std::string root_;  // the name of the open root element
  int depth_ = 0;     // how many of this name are open
  bool has_sign_ = false;
  const std::string no_end_;
  const std::string outside_;
  const std::string open_markup_;
  const std::string not_xml_;
};

}  // namespace

std::unique_ptr<RecordParser> MakeXmlParser(std::unique_ptr<ByteSource> source) {
  return std::make_unique<XmlParser>(std::move(source));
}

}  // namespace karst::cli

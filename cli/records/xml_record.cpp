// Reading one element of MARCXML, by libxml2 as it goes.
#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <memory>

#include "cli/records/xml_format.h"
#include "cli/records/xml_text.h"
#include "records/cartulary.h"
#include "records/isorecord.h"

namespace karst::cli {
namespace {

bool IsBlank(std::string_view text) { return text.find_first_not_of(" \t\r\n") == std::string_view::npos; }

// The attributes of one element as the parser has them: five pointers each, the first to its name, the last two to the
// begin and the end of its value.
class Attributes {
 public:
  Attributes(const xmlChar** first, int count) : first_(first), count_(count) {}

  std::string Value(std::string_view name, std::string_view otherwise = "") const {
    constexpr int kPointers = 5;
    for (int i = 0; i < count_; ++i) {
      const xmlChar** attribute = first_ + i * kPointers;
      if (reinterpret_cast<const char*>(attribute[0]) != name) continue;
      std::string value;
      AppendFromXml({reinterpret_cast<const char*>(attribute[3]), static_cast<size_t>(attribute[4] - attribute[3])},
                    value);
      return value;
    }
    return std::string(otherwise);
  }

 private:
  const xmlChar** first_;
  int count_;
};

// Puts a record together from what the parser finds.
class RecordBuilder {
 public:
  std::string Build(std::string_view element, std::string& record) {
    if (!Parse(element) && fault_.empty()) fault_ = "XML有错";
    if (fault_.empty() && leader_.size() != kHeaderLength) fault_ = "头标不是24个字节";
    if (fault_.empty() && HasForbidden(leader_, std::string_view("\0\x1D", 2))) fault_ = kBadByte;
    record = leader_ + fields_ + kRecordEnd;
    return fault_;
  }

 private:
  enum class Place { kOutside, kRecord, kLeader, kControlfield, kDatafield, kSubfield };
  static constexpr const char* kBadByte = "有不能写入记录的控制符";

  // Entities are put in, since the parser leaves a "&" in an attribute as a reference otherwise; there are none but
  // those of XML itself, for an element alone declares none.
  bool Parse(std::string_view element) {
    struct Free {
      void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
    };
    const std::unique_ptr<xmlParserCtxt, Free> parser(
        xmlCreateMemoryParserCtxt(element.data(), static_cast<int>(element.size())));
    if (!parser) return false;
    xmlCtxtUseOptions(parser.get(), XML_PARSE_NOENT | XML_PARSE_NONET);
    *parser->sax = Handler();
    parser->userData = this;
    xmlParseDocument(parser.get());
    return parser->wellFormed;
  }

  static xmlSAXHandler Handler() {
    xmlSAXHandler handler{};
    handler.initialized = XML_SAX2_MAGIC;
    handler.startElementNs = [](void* self, const xmlChar* name, const xmlChar*, const xmlChar*, int, const xmlChar**,
                                int count, int, const xmlChar** attributes) {
      static_cast<RecordBuilder*>(self)->Start(reinterpret_cast<const char*>(name), Attributes(attributes, count));
    };
    handler.endElementNs = [](void* self, const xmlChar*, const xmlChar*, const xmlChar*) {
      static_cast<RecordBuilder*>(self)->End();
    };
    handler.characters = handler.ignorableWhitespace =
        handler.cdataBlock = [](void* self, const xmlChar* text, int length) {
          static_cast<RecordBuilder*>(self)->Text({reinterpret_cast<const char*>(text), static_cast<size_t>(length)});
        };
    handler.serror = [](void* self, xmlErrorPtr error) { static_cast<RecordBuilder*>(self)->Fail(*error); };
    return handler;
  }

  static bool HasForbidden(std::string_view text, std::string_view forbidden) {
    return text.find_first_of(forbidden) != std::string_view::npos;
  }

  // Only what makes the element unreadable: the prefix of a name, for one, is declared outside of it.
  void Fail(const xmlError& error) {
    if (!fault_.empty() || error.level < XML_ERR_FATAL) return;
    std::string message = error.message ? error.message : "";
    while (!message.empty() && message.back() == '\n') message.pop_back();
    fault_ = "XML有错：" + message;
  }

  void Start(std::string_view local, const Attributes& attributes) {
    text_.clear();
    if (place_ == Place::kOutside && local == "record") {
      place_ = Place::kRecord;
    } else if (place_ == Place::kRecord && local == "leader" && leader_.empty()) {
      place_ = Place::kLeader;
    } else if (place_ == Place::kRecord && local == "controlfield") {
      StartField(attributes);
      place_ = Place::kControlfield;
    } else if (place_ == Place::kRecord && local == "datafield") {
      StartField(attributes);
      AddByte(attributes.Value("ind1", " "), "指示符");
      AddByte(attributes.Value("ind2", " "), "指示符");
      place_ = Place::kDatafield;
    } else if (place_ == Place::kDatafield && local == "subfield") {
      fields_ += kSubfieldMark;
      AddByte(attributes.Value("code"), "子字段标识符");
      place_ = Place::kSubfield;
    } else if (fault_.empty()) {
      fault_ = "记录内不能有元素<" + std::string(local) + ">";
    }
  }

  void StartField(const Attributes& attributes) {
    const std::string tag = attributes.Value("tag");
    if (fault_.empty() && (tag.size() != kTagLength || !IsPrintableTag(tag))) fault_ = "字段号不是三个可见字符";
    fields_ += tag;
  }
  // An indicator that is empty is a blank.
  void AddByte(std::string value, const char* what) {
    if (value.empty() && place_ == Place::kRecord) value = " ";
    if (fault_.empty() && (value.size() != 1 || !IsPrintableTag(value)))
      fault_ = std::string(what) + "不是一个可见字符";
    fields_ += value;
  }

  void Text(std::string_view text) {
    if (place_ == Place::kLeader || place_ == Place::kControlfield || place_ == Place::kSubfield) {
      text_ += text;
    } else if (!IsBlank(text) && fault_.empty()) {
      fault_ = "字段之外有文字";
    }
  }

  void End() {
    const size_t start = fields_.size();
    switch (place_) {
      case Place::kLeader: AppendFromXml(text_, leader_); break;
      case Place::kControlfield:
      case Place::kSubfield: AppendFromXml(text_, fields_); break;
      default: break;
    }
    const std::string_view added = std::string_view(fields_).substr(start);
    if (fault_.empty() && HasForbidden(added, std::string_view("\0\x1D\x1E", 3))) fault_ = kBadByte;
    if (place_ == Place::kControlfield || place_ == Place::kDatafield) fields_ += kFieldEnd;
    place_ = place_ == Place::kSubfield ? Place::kDatafield : Place::kRecord;
  }

  Place place_ = Place::kOutside;
  std::string leader_;
  std::string fields_;
  std::string text_;
  std::string fault_;
};

}  // namespace

std::string ReadXmlRecord(std::string_view element, std::string& record) {
  return RecordBuilder().Build(element, record);
}

}  // namespace karst::cli

// Writing MARCXML.
#include "cli/records/xml_format.h"

#include "cli/records/indicators.h"
#include "cli/records/xml_text.h"
#include "records/cartulary.h"

namespace karst::cli {
namespace {

bool IsVisible(char byte) { return byte >= 0x20 && byte < 0x7F; }

bool FitsDatafield(std::string_view field) {
  if (!HasIndicators(field) || field.size() < kTagLength + kIndicators) return false;
  if (!IsVisible(field[kTagLength]) || !IsVisible(field[kTagLength + 1])) return false;
  const std::string_view data = field.substr(kTagLength + kIndicators);
  if (!data.empty() && data[0] != kSubfieldMark) return false;
  for (size_t mark = data.find(kSubfieldMark); mark != data.npos; mark = data.find(kSubfieldMark, mark + 1)) {
    if (mark + 1 == data.size() || !IsVisible(data[mark + 1])) return false;
  }
  return true;
}

void AppendAttribute(std::string_view name, std::string_view value, std::string& xml) {
  xml += ' ';
  xml += name;
  xml += "=\"";
  AppendXmlText(value, xml);
  xml += '"';
}

void AppendControlfield(std::string_view field, std::string& xml) {
  xml += "  <controlfield";
  AppendAttribute("tag", field.substr(0, kTagLength), xml);
  xml += '>';
  AppendXmlText(field.substr(kTagLength), xml);
  xml += "</controlfield>\n";
}

void AppendSubfields(std::string_view data, std::string& xml) {
  while (!data.empty()) {
    const size_t end = std::min(data.find(kSubfieldMark, 1), data.size());
    xml += "    <subfield";
    AppendAttribute("code", data.substr(1, 1), xml);
    xml += '>';
    AppendXmlText(data.substr(2, end - 2), xml);
    xml += "</subfield>\n";
    data.remove_prefix(end);
  }
}

void AppendDatafield(std::string_view field, std::string& xml) {
  xml += "  <datafield";
  AppendAttribute("tag", field.substr(0, kTagLength), xml);
  AppendAttribute("ind1", field.substr(kTagLength, 1), xml);
  AppendAttribute("ind2", field.substr(kTagLength + 1, 1), xml);
  xml += ">\n";
  AppendSubfields(field.substr(kTagLength + kIndicators), xml);
  xml += "  </datafield>\n";
}

}  // namespace

void AppendXmlRecord(std::string_view record, std::string& xml) {
  xml += "<record>\n  <leader>";
  AppendXmlText(record.substr(0, kHeaderLength), xml);
  xml += "</leader>\n";
  auto fields = FieldCursor::OverRecord(record);
  for (std::string_view field; fields.Next(field);) {
    FitsDatafield(field) ? AppendDatafield(field, xml) : AppendControlfield(field, xml);
  }
  xml += "</record>\n";
}

}  // namespace karst::cli

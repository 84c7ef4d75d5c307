// Text into XML and back.
#include "cli/records/xml_text.h"

#include <array>

#include "text/charset.h"
#include "text/numeric_reference.h"

namespace karst::cli {
namespace {

constexpr uint32_t kByteCode = 0xDC00;  // plus a byte that is no UTF-8

bool NeedsReference(uint32_t code) {
  if (code < 0x20) return code != '\t' && code != '\n' && code != '\r';
  if (code >= kByteCode + 0x80 && code <= kByteCode + 0xFF) return true;
  return code == 0xFFFE || code == 0xFFFF;
}

// ASCII that stands in XML for itself, between quotes too.
constexpr std::array<bool, 256> kPlain = [] {
  std::array<bool, 256> plain{};
  for (unsigned byte = 0x20; byte < 0x80; ++byte) plain[byte] = true;
  for (const char byte : {'&', '<', '>', '"'}) plain[static_cast<unsigned char>(byte)] = false;
  return plain;
}();

void PutAscii(char byte, std::string& xml) {
  switch (byte) {
    case '&': xml += "&amp;"; return;
    case '<': xml += "&lt;"; return;
    case '>': xml += "&gt;"; return;
    case '"': xml += "&quot;"; return;
  }
  if (NeedsReference(static_cast<unsigned char>(byte)))
    xml += "&amp;#";
  else
    xml += "&#";  // white space that the parser would change
  xml += std::to_string(static_cast<unsigned char>(byte)) + ";";
}

// Gives the number of bytes taken from `text`.
size_t PutCharacter(std::string_view text, std::string& xml) {
  const DecodedCharacter character = DecodeUtf8(text);
  const uint32_t byte_code = kByteCode + static_cast<unsigned char>(text[0]);
  const uint32_t code = character.code == kNoCharacter ? byte_code : character.code;
  if (NeedsReference(code)) {
    xml += "&amp;#" + std::to_string(code) + ";";
  } else {
    xml += text.substr(0, character.length);
  }
  return character.length;
}

uint64_t PutPlain(std::string_view text, std::string& xml) {
  for (size_t at = 0; at < text.size();) {
    const size_t start = at;
    while (at < text.size() && kPlain[static_cast<unsigned char>(text[at])]) ++at;
    xml += text.substr(start, at - start);
    if (at == text.size()) break;
    if (static_cast<unsigned char>(text[at]) >= 0x80) {
      at += PutCharacter(text.substr(at), xml);
    } else {
      PutAscii(text[at++], xml);
    }
  }
  return 0;
}

void PutFromXml(std::string_view spelt, const NumericReference& reference, std::string& text) {
  if (reference.more > 0) return PutReferenceShorter(spelt, text);
  if (reference.code >= kByteCode && reference.code <= kByteCode + 0xFF) {
    text += static_cast<char>(reference.code - kByteCode);
  } else {
    AppendUtf8(text, reference.code);
  }
}

}  // namespace

void AppendXmlText(std::string_view text, std::string& xml) {
  WalkReferences(
      text, NeedsReference, [&](std::string_view plain) { return PutPlain(plain, xml); },
      [&](std::string_view spelt, const NumericReference&) {
        std::string longer;
        PutReferenceLonger(spelt, longer);
        PutPlain(longer, xml);
      });
}

void AppendFromXml(std::string_view content, std::string& text) {
  WalkReferences(
      content, NeedsReference,
      [&](std::string_view plain) {
        text += plain;
        return uint64_t{0};
      },
      [&](std::string_view spelt, const NumericReference& reference) { PutFromXml(spelt, reference, text); });
}

}  // namespace karst::cli

// Text of a record inside XML, so that nothing is lost: what XML cannot hold (control characters, bytes that are no
// UTF-8) stands there as the text "&#N;", N the code of the character or 56320 + byte. It is text for XML, which writes
// it "&amp;#N;"; text that has this look by itself gets "#38;" after its "&" (numeric_reference.h).
#pragma once

#include <string>
#include <string_view>

namespace karst::cli {

// Appends `text` as XML has it, in an element or between double quotes.
void AppendXmlText(std::string_view text, std::string& xml);

// Appends the text that `content`, as the XML parser gives it, stands for.
void AppendFromXml(std::string_view content, std::string& text);

}  // namespace karst::cli

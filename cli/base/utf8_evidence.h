// How much in the bytes of a text speaks for UTF-8, where the other charset is GBK.
#pragma once

#include <string_view>

namespace karst::cli {

// Nothing where the text is not valid as UTF-8; enough where it has so many characters that GBK would hardly look like
// that by chance: two of three bytes or six of two.
enum class Utf8Evidence { kNone, kLittle, kEnough };
Utf8Evidence EvidenceOfUtf8(std::string_view text);
// The same of the first bytes of a text, where the last character may be cut: that part of it does not count.
Utf8Evidence EvidenceOfUtf8InHead(std::string_view head);

}  // namespace karst::cli

// Records put together from pieces that are hard on every format and charset.
#pragma once

#include <random>
#include <string>
#include <string_view>

#include "support/record_run.h"

namespace karst::testing {

class RecordMaker {
 public:
  explicit RecordMaker(unsigned seed) : random_(seed) {}

  // Some of the pieces, one behind the other.
  std::string Text() {
    static constexpr std::string_view kPieces[] = {"a",
                                                   " ",
                                                   "  ",
                                                   "$",
                                                   "#",
                                                   "\\",
                                                   "\\x41",
                                                   "\x81\x5C",
                                                   "\xD6\xD0",
                                                   "\xCA\xE9",
                                                   "\xE4\xB8\xAD",
                                                   "\xE5\x9B\xBD",
                                                   "\xC2\x85",
                                                   "\xE2\x80\xA8",
                                                   "\xEF\xBF\xBE",
                                                   "\xF0\x9F\x98\x80",
                                                   "\x80",
                                                   "\xFF",
                                                   "\x81",
                                                   "\xD6",
                                                   "&",
                                                   "#38;",
                                                   "&#38;",
                                                   "&#169;",
                                                   "&#20013;",
                                                   "&#27;",
                                                   "&amp;#27;",
                                                   "&#56480;",
                                                   "&#65534;",
                                                   "]]>",
                                                   "<a>",
                                                   "\"",
                                                   "\r",
                                                   "\n",
                                                   "\t",
                                                   "\x1B",
                                                   "\x7F",
                                                   "\x1F"
                                                   "a",
                                                   "\x1F"
                                                   "9",
                                                   "\x1F",
                                                   "LDR 1",
                                                   "\xA2\xE3",
                                                   "\xC2\xA9",
                                                   "0123456789",
                                                   "\x01"};
    std::string text;
    for (size_t count = Below(8); count > 0; --count) text += kPieces[Below(std::size(kPieces))];
    return text;
  }

  // A whole record in the internal form.
  std::string Record() {
    static constexpr std::string_view kTags[] = {"001", "100", "200", "-01", "LDR", "9 9", "$$$", "\\\\\\", "<&>"};
    std::vector<IsoField> fields;
    for (size_t count = Below(6); count > 0; --count) {
      const std::string indicators = Below(3) == 0 ? "" : Below(2) == 0 ? "1 " : Below(2) == 0 ? "##" : "__";
      fields.push_back({std::string(kTags[Below(std::size(kTags))]), indicators + Text()});
    }
    return InternalText(Below(4) == 0 ? " 0795nam0#2200265$\\ 450 " : "00795nam0 2200265   450 ", fields);
  }

  size_t Below(size_t limit) { return random_() % limit; }

 private:
  std::mt19937 random_;
};

}  // namespace karst::testing

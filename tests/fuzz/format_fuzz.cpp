// Formats a script's values: the input is a word list, then the format.
//
// Input: a count byte, then for each word a kind byte and its bytes (4 for an int, 8 for an int64, a length byte and
// the bytes of a text), then the format up to the input's end.
#include <string>
#include <string_view>
#include <vector>

#include "formats/format.h"
#include "support/fuzz_input.h"

namespace {

using karst::testing::FuzzInput;
using karst::testing::Require;

// Fields of a mebibyte each are allowed, but make a fuzzer slow without showing anything new.
bool HasWideField(const std::string& format, const karst::WordList& words) {
  int digits = 0;
  for (const char byte : format) {
    digits = byte >= '0' && byte <= '9' ? digits + 1 : 0;
    if (digits > 4) return true;
  }
  if (format.find('*') == std::string::npos) return false;
  for (int i = 0; i < words.Count(); ++i) {
    if (!words[i].text && words[i].bits > 9999 && words[i].bits < 0u - 9999) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  karst::WordList words;
  // A std::string on the heap ends where its text ends, so that a read behind it is seen.
  std::vector<std::string> texts(64);
  const int count = input.Byte() % 60;
  for (int i = 0; i < count; ++i) {
    switch (input.Byte() % 3) {
      case 0: words.AddInt(input.Value<int32_t>()); break;
      case 1: words.AddInt64(input.Value<int64_t>()); break;
      default:
        texts[static_cast<size_t>(i)] = input.Bytes(input.Byte());
        words.AddText(texts[static_cast<size_t>(i)].c_str());
    }
  }
  const std::string format = input.Rest();
  if (HasWideField(format, words)) return 0;

  CString first, second("reused");
  const bool made = karst::FormatWords(first, format.c_str(), words);
  Require(made == karst::FormatWords(second, format.c_str(), words));
  if (made) {
    Require(first == second);
    Require(first.c_str()[first.size()] == 0);
  }
  Require(!made || !words.Overflowed());
  if (std::string_view(format.c_str()).find('%') == std::string_view::npos && !words.Overflowed()) {
    Require(made && first == format.c_str());
  }
  return 0;
}

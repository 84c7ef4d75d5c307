// The shape of GBK text, and the way to it from UTF-8.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace karst::cli::check {

// True if the text, which is not empty, begins with the two bytes of a double-byte character.
inline bool BeginsWithPair(std::string_view gbk) {
  if (gbk.size() < 2) return false;
  const auto lead = static_cast<unsigned char>(gbk[0]);
  const auto trail = static_cast<unsigned char>(gbk[1]);
  return lead >= 0x81 && lead <= 0xFE && trail >= 0x40 && trail != 0x7F && trail != 0xFF;
}

// The length of the character that the text, which is not empty, begins with. A byte that is no GBK counts as one.
inline size_t CharacterLength(std::string_view gbk) { return BeginsWithPair(gbk) ? 2 : 1; }

// The length of the UTF-8 character that the text, which is not empty, begins with; 0 if the bytes are no UTF-8.
size_t Utf8CharacterLength(std::string_view utf8);

// Turns single characters from UTF-8 into GBK.
class GbkConverter {
 public:
  GbkConverter();
  GbkConverter(const GbkConverter&) = delete;
  GbkConverter& operator=(const GbkConverter&) = delete;
  ~GbkConverter();

  // Nothing if GBK has no such character.
  std::optional<std::string> Convert(std::string_view character);

 private:
  void* converter_;
};

}  // namespace karst::cli::check

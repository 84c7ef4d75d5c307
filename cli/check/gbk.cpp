// GbkConverter, on the C library's iconv.
#include "check/gbk.h"

#include <iconv.h>

namespace karst::cli::check {
namespace {

const iconv_t kNoConverter = reinterpret_cast<iconv_t>(-1);

unsigned Byte(std::string_view text, size_t at) { return static_cast<unsigned char>(text[at]); }

}  // namespace

size_t Utf8CharacterLength(std::string_view utf8) {
  const unsigned lead = Byte(utf8, 0);
  if (lead < 0x80) return 1;
  const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || utf8.size() < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((Byte(utf8, i) & 0xC0) != 0x80) return 0;
  }
  const unsigned second = Byte(utf8, 1);
  const bool too_long = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool no_character = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
  return too_long || no_character ? 0 : length;
}

// GB18030 has all of GBK in the same one or two bytes, the places of the user among them, and the rest in four.
GbkConverter::GbkConverter() : converter_(iconv_open("GB18030", "UTF-8")) {}

GbkConverter::~GbkConverter() {
  if (converter_ != kNoConverter) iconv_close(converter_);
}

std::optional<std::string> GbkConverter::Convert(std::string_view character) {
  if (converter_ == kNoConverter) return std::nullopt;
  char gbk[8];
  char* from = const_cast<char*>(character.data());
  size_t from_left = character.size();
  char* to = gbk;
  size_t to_left = sizeof gbk;
  if (iconv(converter_, &from, &from_left, &to, &to_left) == static_cast<size_t>(-1)) {
    iconv(converter_, nullptr, nullptr, nullptr, nullptr);
    return std::nullopt;
  }
  const size_t length = sizeof gbk - to_left;
  if (length == 0 || length > 2) return std::nullopt;
  return std::string(gbk, length);
}

}  // namespace karst::cli::check

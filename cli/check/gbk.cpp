// GbkConverter, on the C library's iconv.
#include "check/gbk.h"

#include <iconv.h>

#include "platform/charset.h"

namespace karst::cli::check {
namespace {

const iconv_t kNoConverter = reinterpret_cast<iconv_t>(-1);

}  // namespace

size_t Utf8CharacterLength(std::string_view utf8) {
  const DecodedCharacter character = DecodeUtf8(utf8);
  return character.code == kNoCharacter ? 0 : character.length;
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

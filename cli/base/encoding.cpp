// The converters, on the C library's iconv.
#include "cli/base/encoding.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "cli/base/ascii.h"

namespace karst::cli {
namespace {

const iconv_t kNoConverter = reinterpret_cast<iconv_t>(-1);
constexpr std::string_view kMissingCharacter = "\xA1\xFE";  // the mark that stands for a missing type, in GBK

std::string Normalized(std::string_view name) {
  std::string plain;
  for (const char c : name) {
    if (c >= 'A' && c <= 'Z') plain += static_cast<char>(c - 'A' + 'a');
    if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) plain += c;
  }
  return plain;
}

// The first of the variables that decide the locale of texts and is set.
std::string_view LocaleName() {
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value && *value) return value;
  }
  return {};
}

// How many bytes at the start of `gbk` are refused together: a pair that has the shape of a character but stands for
// none is one unit, so that the characters after it keep their boundaries. An ASCII byte is never taken along.
size_t RefusedLength(std::string_view gbk) {
  const auto lead = static_cast<unsigned char>(gbk[0]);
  const bool pair =
      lead >= 0x81 && lead <= 0xFE && gbk.size() > 1 && !IsAsciiByte(gbk[1]) && gbk[1] != '\x80' && gbk[1] != '\xFF';
  return pair ? 2 : 1;
}

size_t Utf8Length(char lead) {
  const auto byte = static_cast<unsigned char>(lead);
  return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

// The C library has both: without one it is memory that is lacking, and no text may be lost for that.
ConverterHandle OpenGbkConverter(const char* to, const char* from) {
  ConverterHandle converter(OpenConverter(to, from));
  if (!converter) throw std::bad_alloc();
  return converter;
}

}  // namespace

std::string Hexadecimal(char byte) {
  char text[8];
  std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned char>(byte));
  return text;
}

void* OpenConverter(const char* to, const char* from) {
  const iconv_t converter = iconv_open(to, from);
  if (converter != kNoConverter) return converter;
  if (errno != EINVAL) throw std::bad_alloc();
  return nullptr;
}

void CloseConverter::operator()(void* converter) const { iconv_close(converter); }

void AppendEscaped(std::string_view bytes, std::string& text) {
  for (const char byte : bytes) {
    char escaped[5];
    std::snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<unsigned char>(byte));
    text += escaped;
  }
}

// CHOICE: read from the environment and not from setlocale, so that it holds also where the locale is not installed,
// and so that no character test of the process depends on it.
Encoding LocaleEncoding() {
  const std::string_view locale = LocaleName();
  const size_t dot = locale.find('.');
  if (dot == std::string_view::npos) return locale == "zh_CN" ? Encoding::kGbk : Encoding::kUtf8;
  const std::string charset = Normalized(locale.substr(dot + 1, locale.find('@') - dot - 1));
  const bool gbk =
      charset == "gbk" || charset == "gb2312" || charset == "gb18030" || charset == "cp936" || charset == "euccn";
  return gbk ? Encoding::kGbk : Encoding::kUtf8;
}

void Utf8Stream::Convert(std::string_view gbk, std::string& utf8) {
  if (lead_byte_ && !gbk.empty()) {
    std::string joined(1, lead_byte_);
    joined += gbk;
    lead_byte_ = 0;
    return Convert(joined, utf8);
  }
  while (!gbk.empty()) {
    const auto plain_end = std::find_if_not(gbk.begin(), gbk.end(), IsAsciiByte);
    const auto plain = static_cast<size_t>(plain_end - gbk.begin());
    utf8 += gbk.substr(0, plain);
    gbk.remove_prefix(plain);
    if (!gbk.empty()) ConvertRun(gbk, utf8);
  }
}

// Converts as far as the bytes are good and one buffer goes, and takes that from the front of `gbk`.
void Utf8Stream::ConvertRun(std::string_view& gbk, std::string& utf8) {
  if (!converter_) converter_ = OpenGbkConverter("UTF-8", "GBK");
  std::array<char, 4096> buffer;
  char* in = const_cast<char*>(gbk.data());
  char* out = buffer.data();
  size_t in_left = gbk.size();
  size_t out_left = buffer.size();
  const bool stopped = iconv(converter_.get(), &in, &in_left, &out, &out_left) == static_cast<size_t>(-1);
  const int reason = errno;
  utf8.append(buffer.data(), buffer.size() - out_left);
  gbk.remove_prefix(gbk.size() - in_left);
  if (!stopped || reason == E2BIG || gbk.empty()) return;
  if (reason == EINVAL && gbk.size() == 1) {
    lead_byte_ = gbk[0];
    gbk = {};
    return;
  }
  const size_t refused = RefusedLength(gbk);
  AppendEscaped(gbk.substr(0, refused), utf8);
  gbk.remove_prefix(refused);
}

void Utf8Stream::Finish(std::string& utf8) {
  if (lead_byte_) AppendEscaped({&lead_byte_, 1}, utf8);
  lead_byte_ = 0;
}

std::string ToUtf8(std::string_view gbk) {
  Utf8Stream stream;
  std::string utf8;
  stream.Convert(gbk, utf8);
  stream.Finish(utf8);
  return utf8;
}

bool ToGbk(std::string_view utf8, std::string& gbk) {
  gbk.clear();
  if (std::all_of(utf8.begin(), utf8.end(), IsAsciiByte)) {
    gbk = utf8;
    return true;
  }
  const ConverterHandle converter = OpenGbkConverter("GBK", "UTF-8");
  bool complete = true;
  while (!utf8.empty()) {
    const size_t length = std::min(Utf8Length(utf8[0]), utf8.size());
    char* in = const_cast<char*>(utf8.data());
    size_t in_left = length;
    char pair[4];
    char* out = pair;
    size_t out_left = sizeof pair;
    const bool known = iconv(converter.get(), &in, &in_left, &out, &out_left) == 0 && in_left == 0;
    gbk += known ? std::string_view(pair, sizeof pair - out_left) : kMissingCharacter;
    complete = complete && known;
    utf8.remove_prefix(length);
  }
  return complete;
}

std::string ToGbk(std::string_view utf8) {
  std::string gbk;
  ToGbk(utf8, gbk);
  return gbk;
}

}  // namespace karst::cli

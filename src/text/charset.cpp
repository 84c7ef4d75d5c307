// GBK and UTF-8 by tables that the C library's converter fills once; other charsets by the converter itself.
#include "text/charset.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "text/mbtext.h"

namespace karst {

namespace {

// Unicode as a char32_t holds it.
constexpr const char* kUnicode = std::endian::native == std::endian::little ? "UTF-32LE" : "UTF-32BE";
constexpr char32_t kNoPlace = 0;

class Converter {
 public:
  // A charset that the C library does not know gives a converter that is not open. What it merely lacks memory or files
  // for would be taken for one: std::bad_alloc.
  Converter(const char* to, const char* from) : handle_(iconv_open(to, from)) {
    if (!IsOpen() && (errno == ENOMEM || errno == EMFILE || errno == ENFILE)) throw std::bad_alloc();
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (IsOpen()) iconv_close(handle_);
  }
  bool IsOpen() const { return handle_ != reinterpret_cast<iconv_t>(-1); }
  void Reset() { iconv(handle_, nullptr, nullptr, nullptr, nullptr); }
  // 0, or the errno of the failure; the four positions stand where it stopped.
  int Convert(const char** from, size_t* from_left, char** to, size_t* to_left) {
    const size_t answer = iconv(handle_, const_cast<char**>(from), from_left, to, to_left);
    return answer == static_cast<size_t>(-1) ? errno : 0;
  }
  int Close(char** to, size_t* to_left) { return Convert(nullptr, nullptr, to, to_left); }

 private:
  iconv_t handle_;
};

// Both directions of GBK. All but a handful of its characters are in the basic plane.
class GbkTables {
 public:
  GbkTables() {
    Fill("GBK");
    Fill("GB18030");
  }
  // The character of the byte, or of lead times 256 plus trail; kNoPlace if there is none.
  char32_t ToUnicode(unsigned gbk) const { return to_unicode_[gbk]; }
  // The way back; 0 if there is none.
  uint16_t FromUnicode(char32_t code) const {
    if (code < from_unicode_.size()) return from_unicode_[code];
    const auto found = std::find_if(beyond_.begin(), beyond_.end(), [code](const auto& c) { return c.first == code; });
    return found == beyond_.end() ? 0 : found->second;
  }

 private:
  void Fill(const char* charset) {
    Converter converter(kUnicode, charset);
    // The C library has these two. It may give any reason where it lacked memory, and an empty table would be kept.
    if (!converter.IsOpen()) throw std::bad_alloc();
    EnterRow(converter, "\x80", 1);
    for (unsigned lead = 0x81; lead <= 0xFE; ++lead) {
      std::string row;
      for (unsigned trail = 0x40; trail <= 0xFE; ++trail) {
        if (!IsTrailByte(static_cast<unsigned char>(trail)) || to_unicode_[lead << 8 | trail] != kNoPlace) continue;
        row += {static_cast<char>(lead), static_cast<char>(trail)};
      }
      EnterRow(converter, row, 2);
    }
  }
  // Enters characters of `width` bytes each. SPEED: as many in one step as the converter takes, since every run of the
  // program fills the tables.
  void EnterRow(Converter& converter, std::string_view row, size_t width) {
    std::array<char32_t, 0x100> codes;
    while (!row.empty()) {
      const char* from = row.data();
      size_t from_left = row.size();
      char* to = reinterpret_cast<char*>(codes.data());
      size_t to_left = sizeof codes;
      converter.Convert(&from, &from_left, &to, &to_left);
      const size_t taken = (row.size() - from_left) / width;
      for (size_t i = 0; i < taken; ++i) Enter(row.substr(i * width, width), codes[i]);
      row.remove_prefix(std::min(row.size(), (taken + 1) * width));  // the converter has none for the next
    }
  }
  void Enter(std::string_view bytes, char32_t code) {
    const auto last = static_cast<unsigned char>(bytes.back());
    const auto gbk = static_cast<uint16_t>(bytes.size() == 1 ? last : static_cast<unsigned char>(bytes[0]) << 8 | last);
    to_unicode_[gbk] = code;
    if (FromUnicode(code) == 0) EnterBack(code, gbk);
  }
  void EnterBack(char32_t code, uint16_t gbk) {
    if (code < from_unicode_.size()) {
      from_unicode_[code] = gbk;
    } else {
      beyond_.emplace_back(code, gbk);
    }
  }

  std::array<char32_t, 0x10000> to_unicode_{};
  std::array<uint16_t, 0x10000> from_unicode_{};
  std::vector<std::pair<char32_t, uint16_t>> beyond_;
};

const GbkTables& Tables() {
  static const auto tables = std::make_unique<const GbkTables>();
  return *tables;
}

// The length of the ASCII text at the head of `text`.
size_t AsciiLength(std::string_view text) {
  size_t i = 0;
  for (; i + 8 <= text.size(); i += 8) {
    uint64_t eight;
    std::memcpy(&eight, text.data() + i, sizeof eight);
    if (eight & 0x8080808080808080u) break;
  }
  while (i < text.size() && static_cast<unsigned char>(text[i]) < 0x80) ++i;
  return i;
}

void AppendAscii(std::u32string& out, std::string_view text) { out.append(text.begin(), text.end()); }

// The text in Unicode; bytes that are no character are spelt out.
std::u32string Decoded(std::string_view gbk) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::u32string out;
  out.reserve(gbk.size());
  while (!gbk.empty()) {
    const DecodedCharacter character = DecodeGbk(gbk);
    if (character.code != kNoCharacter) out += character.code;
    for (size_t i = 0; character.code == kNoCharacter && i < character.length; ++i) {
      const auto byte = static_cast<unsigned char>(gbk[i]);
      const char spelt[] = {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
      AppendAscii(out, {spelt, sizeof spelt});
    }
    gbk.remove_prefix(character.length);
  }
  return out;
}

// Opening a converter costs far more than a short text, and a script stays with one charset.
Converter* ConverterTo(const std::string& charset) {
  thread_local std::string name;
  thread_local std::unique_ptr<Converter> converter;
  if (!converter || name != charset) {
    converter.reset();
    name = charset;
    converter = std::make_unique<Converter>(charset.c_str(), kUnicode);
  }
  return converter->IsOpen() ? converter.get() : nullptr;
}

// Converts one run of Unicode into the rest of a buffer.
class Encoder {
 public:
  Encoder(Converter& strict, Converter* near, char* target, size_t room)
      : strict_(strict), near_(near), at_(target), left_(room), start_(target) {}

  bool Write(std::u32string_view text) {
    while (!text.empty()) {
      const size_t done = WriteHead(text);
      if (no_room_) return false;
      text.remove_prefix(done);
      if (text.empty()) break;
      if (!WriteNear(text.front()) && !WriteReference(text.front())) return false;
      text.remove_prefix(1);
    }
    return true;
  }
  bool Close() { return strict_.Close(&at_, &left_) == 0; }
  size_t Written() const { return static_cast<size_t>(at_ - start_); }

 private:
  // Writes up to the first character that has no place, and gives the number of characters written.
  size_t WriteHead(std::u32string_view text) {
    const char* from = reinterpret_cast<const char*>(text.data());
    size_t from_left = text.size() * sizeof(char32_t);
    no_room_ = strict_.Convert(&from, &from_left, &at_, &left_) == E2BIG;
    return text.size() - from_left / sizeof(char32_t);
  }
  // The near characters of `code`, if the C library has some. Its own mark for "none" is a question mark.
  bool WriteNear(char32_t code) {
    if (near_ == nullptr) return false;
    char32_t found[16];
    const char* from = reinterpret_cast<const char*>(&code);
    size_t from_left = sizeof code;
    char bytes[64];
    char* to = bytes;
    size_t to_left = sizeof bytes;
    near_->Reset();
    if (near_->Convert(&from, &from_left, &to, &to_left) != 0) return false;
    const size_t length = static_cast<size_t>(to - bytes);
    if (length == 0 || length > std::size(found) || std::memchr(bytes, '?', length) != nullptr) return false;
    for (size_t i = 0; i < length; ++i) found[i] = static_cast<unsigned char>(bytes[i]);
    return WriteHead({found, length}) == length;
  }
  bool WriteReference(char32_t code) {
    std::u32string reference;
    AppendAscii(reference, "&#" + std::to_string(static_cast<uint32_t>(code)) + ";");
    return WriteHead(reference) == reference.size();
  }

  Converter& strict_;
  Converter* near_;
  char* at_;
  size_t left_;
  char* start_;
  bool no_room_ = false;
};

}  // namespace

DecodedCharacter DecodeGbk(std::string_view gbk) {
  const auto first = static_cast<unsigned char>(gbk[0]);
  if (first < 0x80) return {first, 1};
  char32_t code = kNoPlace;
  size_t length = 1;
  if (!IsDBCSLeadByte(first)) {
    code = Tables().ToUnicode(first);
  } else if (gbk.size() > 1 && IsTrailByte(static_cast<unsigned char>(gbk[1]))) {
    code = Tables().ToUnicode(first * 256u + static_cast<unsigned char>(gbk[1]));
    length = 2;
  }
  return {code == kNoPlace ? kNoCharacter : code, length};
}

bool IsValidGbk(std::string_view gbk) {
  for (gbk.remove_prefix(AsciiLength(gbk)); !gbk.empty(); gbk.remove_prefix(AsciiLength(gbk))) {
    const DecodedCharacter character = DecodeGbk(gbk);
    if (character.code == kNoCharacter) return false;
    gbk.remove_prefix(character.length);
  }
  return true;
}

void AppendUtf8(std::string& out, char32_t code) {
  const auto tail = [code](int shift) { return static_cast<char>(0x80 | (code >> shift & 0x3F)); };
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += {static_cast<char>(0xC0 | code >> 6), tail(0)};
  } else if (code < 0x10000) {
    out += {static_cast<char>(0xE0 | code >> 12), tail(6), tail(0)};
  } else {
    out += {static_cast<char>(0xF0 | code >> 18), tail(12), tail(6), tail(0)};
  }
}

std::string GbkToUtf8(std::string_view gbk) {
  std::string out;
  out.reserve(gbk.size() + gbk.size() / 2);
  while (!gbk.empty()) {
    const size_t ascii = AsciiLength(gbk);
    out.append(gbk.substr(0, ascii));
    gbk.remove_prefix(ascii);
    if (gbk.empty()) break;
    const DecodedCharacter character = DecodeGbk(gbk);
    AppendUtf8(out, character.code == kNoCharacter ? U'\xFFFD' : character.code);
    gbk.remove_prefix(character.length);
  }
  return out;
}

bool Utf8ToGbk(std::string_view utf8, std::string& gbk, size_t* bad_offset) {
  gbk.clear();
  gbk.reserve(utf8.size());
  std::string_view rest = utf8;
  while (!rest.empty()) {
    const size_t ascii = AsciiLength(rest);
    gbk.append(rest.substr(0, ascii));
    rest.remove_prefix(ascii);
    if (rest.empty()) break;
    const DecodedCharacter character = DecodeUtf8(rest);
    const uint16_t place = Tables().FromUnicode(character.code);
    if (place == 0) {
      if (bad_offset) *bad_offset = utf8.size() - rest.size();
      return false;
    }
    if (place > 0xFF) gbk += static_cast<char>(place >> 8);
    gbk += static_cast<char>(place);
    rest.remove_prefix(character.length);
  }
  return true;
}

DecodedCharacter DecodeUtf8(std::string_view utf8) {
  constexpr DecodedCharacter kBad = {kNoCharacter, 1};
  const auto first = static_cast<unsigned char>(utf8[0]);
  if (first < 0x80) return {first, 1};
  const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || utf8.size() < length) return kBad;
  char32_t code = first & (0x7Fu >> length);
  for (size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    if ((byte & 0xC0) != 0x80) return kBad;
    code = code << 6 | (byte & 0x3F);
  }
  constexpr char32_t kLowest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  return code < kLowest[length] || code > 0x10FFFF || surrogate ? kBad : DecodedCharacter{code, length};
}

ConversionResult ConvertGbk(std::string_view gbk, const std::string& to, bool transliterate, char* target,
                            size_t room) {
  Converter* strict = ConverterTo(to);
  if (strict == nullptr) return {0, ConversionFailure::kUnknownCharset};
  std::optional<Converter> near;
  if (transliterate) near.emplace("ASCII//TRANSLIT", kUnicode);
  strict->Reset();
  Encoder encoder(*strict, near && near->IsOpen() ? &*near : nullptr, target, room);
  if (!encoder.Write(Decoded(gbk)) || !encoder.Close()) return {0, ConversionFailure::kNoRoom};
  return {encoder.Written(), ConversionFailure::kNone};
}

}  // namespace karst

// Texts between UTF-8 and GBK without loss.
#include "capi/hosttext.h"

#include <algorithm>
#include <optional>

#include "platform/charset.h"
#include "platform/files.h"
#include "platform/mbtext.h"

namespace karst::capi {
namespace {

constexpr std::string_view kReferenceHead = "&#";
constexpr std::string_view kEscape = "38;#";
constexpr char32_t kRawBytes = 0x10F700;
constexpr char32_t kLastRawByte = kRawBytes + 0xFF;
constexpr char32_t kLastCodePoint = 0x10FFFF;
constexpr size_t kMostDigits = 7;
// LIMIT: a reference, with all its escapes, that is divided between two pieces of a stream is put together up to this
// length.
constexpr size_t kLongestKept = 64;

bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }

bool IsRawByte(char32_t code) { return code >= kRawBytes && code <= kLastRawByte; }

bool HasPlaceInGbk(char32_t code) {
  std::string utf8, gbk;
  AppendUtf8(utf8, code);
  return Utf8ToGbk(utf8, gbk, nullptr);
}

struct Reference {
  size_t length;
  bool escaped;
  char32_t code;
};

// The reference at the head of `text`, with its escapes, if its character is one that references are made for.
std::optional<Reference> ReadReference(std::string_view text) {
  if (!text.starts_with(kReferenceHead)) return std::nullopt;
  size_t at = kReferenceHead.size();
  while (text.substr(at).starts_with(kEscape)) at += kEscape.size();
  const bool escaped = at > kReferenceHead.size();
  const size_t digits = at;
  char32_t code = 0;
  for (; at < text.size() && IsDigit(text[at]) && at - digits < kMostDigits; ++at) code = code * 10 + (text[at] - '0');
  const bool closed = at > digits && at < text.size() && text[at] == ';' && text[digits] != '0';
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (!closed || code > kLastCodePoint || surrogate || IsRawByte(code) || HasPlaceInGbk(code)) return std::nullopt;
  return Reference{at + 1, escaped, code};
}

// Calls `plain` for the text between the references and `reference` for each of them, in order.
template <typename Plain, typename OnReference>
bool Divide(std::string_view text, Plain plain, OnReference on_reference) {
  size_t begin = 0;
  for (size_t at = text.find(kReferenceHead); at != text.npos; at = text.find(kReferenceHead, at)) {
    const std::optional<Reference> reference = ReadReference(text.substr(at));
    if (!reference) {
      at += kReferenceHead.size();
      continue;
    }
    if (!plain(text.substr(begin, at - begin))) return false;
    on_reference(text.substr(at, reference->length), *reference);
    begin = at += reference->length;
  }
  return plain(text.substr(begin));
}

// `utf8` holds no reference.
bool AppendInside(std::string_view utf8, std::string& gbk) {
  std::string part;
  for (size_t bad = 0;; utf8.remove_prefix(bad)) {
    const bool whole = Utf8ToGbk(utf8, part, &bad);
    gbk += part;
    if (whole) return true;
    const GbkCharacter character = DecodeUtf8(utf8.substr(bad));
    if (character.code == kNoCharacter) return false;
    if (IsRawByte(character.code)) {
      gbk += static_cast<char>(character.code - kRawBytes);
    } else {
      gbk += "&#" + std::to_string(static_cast<uint32_t>(character.code)) + ";";
    }
    bad += character.length;
  }
}

void AppendOutside(std::string_view gbk, std::string& text) {
  if (IsValidGbk(gbk)) {
    text += GbkToUtf8(gbk);
    return;
  }
  while (!gbk.empty()) {
    const GbkCharacter character = DecodeGbk(gbk);
    const bool raw = character.code == kNoCharacter;
    AppendUtf8(text, raw ? kRawBytes + static_cast<unsigned char>(gbk[0]) : character.code);
    gbk.remove_prefix(raw ? 1 : character.length);
  }
}

// The bytes at the end that cannot be given yet.
size_t CountUnfinished(std::string_view gbk, karst_encoding encoding) {
  const auto is_lead = [](char byte) { return IsDBCSLeadByte(static_cast<unsigned char>(byte)); };
  const auto leads = std::find_if_not(gbk.rbegin(), gbk.rend(), is_lead) - gbk.rbegin();
  if (leads % 2 == 1) return 1;
  if (encoding == KARST_GBK) return 0;
  const std::string_view tail = gbk.substr(gbk.size() - std::min(gbk.size(), kLongestKept));
  const size_t head = tail.rfind('&');
  if (head == tail.npos) return 0;
  const std::string_view reference = tail.substr(head);
  const bool like_reference = reference.find_first_not_of("0123456789#;", 1) == reference.npos &&
                              (reference.size() == 1 || reference[1] == '#');
  return like_reference && !ReadReference(reference) ? reference.size() : 0;
}

}  // namespace

bool IsEncoding(karst_encoding encoding) { return encoding == KARST_GBK || encoding == KARST_UTF8; }

bool ToInside(std::string_view text, karst_encoding encoding, std::string& gbk) {
  if (encoding == KARST_GBK) return gbk = text, true;
  gbk.clear();
  return Divide(
      text, [&gbk](std::string_view plain) { return AppendInside(plain, gbk); },
      [&gbk](std::string_view bytes, const Reference&) {
        gbk += kReferenceHead;
        gbk += kEscape;
        gbk += bytes.substr(kReferenceHead.size());
      });
}

void ToOutside(std::string_view gbk, karst_encoding encoding, std::string& text) {
  text.clear();
  if (encoding == KARST_GBK) {
    text = gbk;
    return;
  }
  const auto on_plain = [&text](std::string_view plain) { return AppendOutside(plain, text), true; };
  Divide(gbk, on_plain, [&text](std::string_view bytes, const Reference& reference) {
    if (!reference.escaped) return AppendUtf8(text, reference.code);
    text += kReferenceHead;
    text += bytes.substr(kReferenceHead.size() + kEscape.size());
  });
}

std::string FileNameInside(std::string_view name, karst_encoding encoding) {
  return std::string(encoding == KARST_GBK ? name : FromFileSystemName(name).view());
}

std::string_view OutsidePieces::Add(std::string_view gbk) {
  kept_ += gbk;
  const size_t whole = kept_.size() - CountUnfinished(kept_, encoding_);
  ToOutside(std::string_view(kept_).substr(0, whole), encoding_, text_);
  kept_.erase(0, whole);
  return text_;
}

std::string_view OutsidePieces::Finish() {
  ToOutside(kept_, encoding_, text_);
  kept_.clear();
  return text_;
}

}  // namespace karst::capi

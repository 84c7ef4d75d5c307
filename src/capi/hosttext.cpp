// Texts between UTF-8 and GBK without loss.
#include "capi/hosttext.h"

#include <algorithm>

#include "platform/charset.h"
#include "platform/files.h"
#include "platform/mbtext.h"
#include "platform/numeric_reference.h"

namespace karst::capi {
namespace {

constexpr char32_t kRawBytes = 0x10F700;
constexpr char32_t kLastRawByte = kRawBytes + 0xFF;
constexpr char32_t kLastCodePoint = 0x10FFFF;

bool IsRawByte(char32_t code) { return code >= kRawBytes && code <= kLastRawByte; }

bool HasPlaceInGbk(char32_t code) {
  std::string utf8, gbk;
  AppendUtf8(utf8, code);
  return Utf8ToGbk(utf8, gbk, nullptr);
}

// True for the characters that references are made for.
bool NeedsReference(uint32_t code) {
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  return code <= kLastCodePoint && !surrogate && !IsRawByte(code) && !HasPlaceInGbk(code);
}

// `utf8` holds no reference. Gives 1 if it is no UTF-8, 0 if it is.
uint64_t AppendInside(std::string_view utf8, std::string& gbk) {
  std::string part;
  for (size_t bad = 0;; utf8.remove_prefix(bad)) {
    const bool whole = Utf8ToGbk(utf8, part, &bad);
    gbk += part;
    if (whole) return 0;
    const DecodedCharacter character = DecodeUtf8(utf8.substr(bad));
    if (character.code == kNoCharacter) return 1;
    if (IsRawByte(character.code)) {
      gbk += static_cast<char>(character.code - kRawBytes);
    } else {
      PutNumericReference(character.code, gbk);
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
    const DecodedCharacter character = DecodeGbk(gbk);
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
  return gbk.size() - OpenReference(gbk);
}

}  // namespace

bool IsEncoding(karst_encoding encoding) { return encoding == KARST_GBK || encoding == KARST_UTF8; }

bool ToInside(std::string_view text, karst_encoding encoding, std::string& gbk) {
  if (encoding == KARST_GBK) return gbk = text, true;
  gbk.clear();
  return WalkReferences(
             text, NeedsReference, [&gbk](std::string_view plain) { return AppendInside(plain, gbk); },
             [&gbk](std::string_view spelt, const NumericReference&) { PutReferenceLonger(spelt, gbk); }) == 0;
}

void ToOutside(std::string_view gbk, karst_encoding encoding, std::string& text) {
  text.clear();
  if (encoding == KARST_GBK) {
    text = gbk;
    return;
  }
  const auto plain = [&text](std::string_view part) { return AppendOutside(part, text), uint64_t{0}; };
  WalkReferences(gbk, NeedsReference, plain, [&text](std::string_view spelt, const NumericReference& reference) {
    if (reference.more > 0) return PutReferenceShorter(spelt, text);
    AppendUtf8(text, reference.code);
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

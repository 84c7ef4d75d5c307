// Texts between UTF-8 and GBK without loss.
#include "capi/hosttext.h"

#include <algorithm>

#include "platform/files.h"
#include "text/charset.h"
#include "text/mbtext.h"
#include "text/numeric_reference.h"

namespace karst::capi {
namespace {

constexpr char32_t kRawBytes = 0x10F700;
constexpr char32_t kNoCharacterByte = kRawBytes + 0xFF;
constexpr char32_t kLastCodePoint = 0x10FFFF;

// True for the code points of lead bytes. Inside, such a byte stands by itself only where no trail byte follows it;
// where one does, the code point is a reference as any other without a place.
bool IsLeadCode(char32_t code) { return code >= kRawBytes + 0x81 && code < kNoCharacterByte; }

bool HasPlaceInGbk(char32_t code) {
  std::string utf8, gbk;
  AppendUtf8(utf8, code);
  return Utf8ToGbk(utf8, gbk, nullptr);
}

// True for the characters that references are made for.
bool NeedsReference(uint32_t code) {
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  return code <= kLastCodePoint && !surrogate && code != kNoCharacterByte && !HasPlaceInGbk(code);
}

bool BeginsWithTrailByte(std::string_view gbk) {
  return !gbk.empty() && IsTrailByte(static_cast<unsigned char>(gbk[0]));
}

// Whether what `utf8` becomes inside begins with a trail byte. Of lead codes in a row every other one is a byte.
bool BecomesTrailByte(std::string_view utf8) {
  bool odd = false;
  for (; !utf8.empty(); odd = !odd) {
    const DecodedCharacter character = DecodeUtf8(utf8);
    if (!IsLeadCode(character.code)) {
      const bool ascii = character.code < 0x80;
      return odd !=
             (ascii ? BeginsWithTrailByte(utf8) : character.code != kNoCharacter && HasPlaceInGbk(character.code));
    }
    utf8.remove_prefix(character.length);
  }
  return odd;
}

// What follows `part`, a stretch of `text`.
std::string_view After(std::string_view part, std::string_view text) {
  return text.substr(static_cast<size_t>(part.data() + part.size() - text.data()));
}

// Takes the lead codes at the head of `utf8`.
void AppendLeadCodes(std::string_view& utf8, std::string& gbk) {
  for (bool as_byte = BecomesTrailByte(utf8); !utf8.empty(); as_byte = !as_byte) {
    const DecodedCharacter character = DecodeUtf8(utf8);
    if (!IsLeadCode(character.code)) return;
    if (as_byte) {
      gbk += static_cast<char>(character.code - kRawBytes);
    } else {
      PutNumericReference(character.code, gbk);
    }
    utf8.remove_prefix(character.length);
  }
}

// `utf8` holds no reference. Gives 1 if it is no UTF-8, 0 if it is.
uint64_t AppendInside(std::string_view utf8, std::string& gbk) {
  std::string part;
  for (size_t bad = 0;;) {
    const bool whole = Utf8ToGbk(utf8, part, &bad);
    gbk += part;
    if (whole) return 0;
    utf8.remove_prefix(bad);
    const DecodedCharacter character = DecodeUtf8(utf8);
    if (character.code == kNoCharacter) return 1;
    if (IsLeadCode(character.code)) {
      AppendLeadCodes(utf8, gbk);
      continue;
    }
    if (character.code == kNoCharacterByte) {
      gbk += '\xFF';
    } else {
      PutNumericReference(character.code, gbk);
    }
    utf8.remove_prefix(character.length);
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

// Where the reference of a lead code begins that ends with the text: the byte to come decides what it means. The text's
// end if there is none.
size_t LeadReferenceAtEnd(std::string_view gbk) {
  const size_t start = gbk.rfind('&');
  if (start == std::string_view::npos) return gbk.size();
  const NumericReference reference = ReadNumericReference(gbk.substr(start));
  return reference.length == gbk.size() - start && IsLeadCode(reference.code) ? start : gbk.size();
}

// The bytes at the end that cannot be given yet.
size_t CountUnfinished(std::string_view gbk, karst_encoding encoding) {
  const auto is_lead = [](char byte) { return IsDBCSLeadByte(static_cast<unsigned char>(byte)); };
  const auto leads = std::find_if_not(gbk.rbegin(), gbk.rend(), is_lead) - gbk.rbegin();
  const std::string_view whole = gbk.substr(0, gbk.size() - static_cast<size_t>(leads % 2));
  if (encoding == KARST_GBK) return gbk.size() - whole.size();
  const size_t open = leads % 2 == 1 ? whole.size() : OpenReference(whole);
  return gbk.size() - std::min(open, LeadReferenceAtEnd(whole));
}

}  // namespace

bool IsEncoding(karst_encoding encoding) { return encoding == KARST_GBK || encoding == KARST_UTF8; }

bool ToInside(std::string_view text, karst_encoding encoding, std::string& gbk) {
  if (encoding == KARST_GBK) return gbk = text, true;
  gbk.clear();
  const auto put = [&](std::string_view spelt, const NumericReference& reference) {
    const bool meant = !IsLeadCode(reference.code) || BecomesTrailByte(After(spelt, text));
    if (!meant) {
      gbk += spelt;
    } else {
      PutReferenceLonger(spelt, gbk);
    }
  };
  const auto plain = [&gbk](std::string_view part) { return AppendInside(part, gbk); };
  return WalkReferences(text, NeedsReference, plain, put) == 0;
}

void ToOutside(std::string_view gbk, karst_encoding encoding, std::string& text) {
  text.clear();
  if (encoding == KARST_GBK) {
    text = gbk;
    return;
  }
  const auto plain = [&text](std::string_view part) { return AppendOutside(part, text), uint64_t{0}; };
  WalkReferences(gbk, NeedsReference, plain, [&](std::string_view spelt, const NumericReference& reference) {
    const bool meant = !IsLeadCode(reference.code) || BeginsWithTrailByte(After(spelt, gbk));
    if (!meant) {
      text += spelt;
    } else if (reference.more > 0) {
      PutReferenceShorter(spelt, text);
    } else {
      AppendUtf8(text, reference.code);
    }
  });
}

std::string FileNameInside(std::string_view name, karst_encoding encoding) {
  return std::string(encoding == KARST_GBK ? name : FromFileSystemName(name).view());
}

std::string ShownOutside(std::string_view bytes, karst_encoding encoding) {
  if (encoding == KARST_GBK) return std::string(bytes);
  std::string shown;
  while (!bytes.empty()) {
    const DecodedCharacter character = DecodeUtf8(bytes);
    const bool raw = character.code == kNoCharacter;
    AppendUtf8(shown, raw ? kRawBytes + static_cast<unsigned char>(bytes[0]) : character.code);
    bytes.remove_prefix(character.length);
  }
  return shown;
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

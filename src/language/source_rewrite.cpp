// Rewriting: one step for each byte of the source.
#include "language/source_rewrite.h"

#include <array>
#include <cstring>

#include "helpers/zebutil.h"

namespace karst {

namespace {

constexpr std::array<bool, 256> MakeIsPlain() {
  std::array<bool, 256> is_plain{};
  is_plain.fill(true);
  for (const char c : std::string_view("\0\"#\\\r\n", 6)) is_plain[static_cast<uint8_t>(c)] = false;
  return is_plain;
}

constexpr std::array<bool, 256> kIsPlain = MakeIsPlain();

}  // namespace

void SourceRewrite::TakeAll(std::string_view source) {
  while (!source.empty()) {
    source.remove_prefix(TakePlain(source));
    if (source.empty() || !Take(source[0])) return;
    source.remove_prefix(1);
  }
}

// SPEED: takes the bytes at the head that mean nothing but themselves, as Take does one by one. Gives their number.
size_t SourceRewrite::TakePlain(std::string_view source) {
  const bool kept = place_ == SourcePlace::kCode || place_ == SourcePlace::kLiteral;
  if (!kept && place_ != SourcePlace::kComment) return 0;
  size_t plain = 0;
  while (plain < source.size() && kIsPlain[static_cast<uint8_t>(source[plain])]) ++plain;
  if (kept) code_ += source.substr(0, plain);
  taken_ += plain;
  return plain;
}

bool SourceRewrite::Take(char byte) {
  bool taken = true;
  switch (place_) {
    case SourcePlace::kCode:
    case SourcePlace::kCodeEscape: taken = TakeInCode(byte); break;
    case SourcePlace::kLiteral:
    case SourcePlace::kLiteralEscape: taken = TakeInLiteral(byte); break;
    case SourcePlace::kComment:
      taken = byte != 0;
      if (byte == '\r') {
        EndComment();
        code_ += byte;
      }
      break;
    case SourcePlace::kCodeJoint: place_ = SourcePlace::kCode; break;
    case SourcePlace::kLiteralJoint: place_ = SourcePlace::kLiteral; break;
  }
  taken_ += taken;
  return taken;
}

bool SourceRewrite::TakeInCode(char byte) {
  const bool escaped = place_ == SourcePlace::kCodeEscape;
  place_ = SourcePlace::kCode;
  switch (byte) {
    case 0: return false;
    case '"': OpenLiteralHere(); return true;
    case '#': place_ = SourcePlace::kComment; return true;
    case '\\': place_ = SourcePlace::kCodeEscape; break;
    case '\r':
      if (!escaped) break;
      code_.Resize(code_.size() - 1);  // the backslash
      Join(SourcePlace::kCodeJoint);
      return true;
    default: break;
  }
  code_ += byte;
  if (byte != '\n') return true;
  for (; line_ends_owed_ > 0; --line_ends_owed_) code_ += "\r\n";
  return true;
}

bool SourceRewrite::TakeInLiteral(char byte) {
  const bool escaped = place_ == SourcePlace::kLiteralEscape;
  if (byte == 0) return false;
  place_ = SourcePlace::kLiteral;
  if (escaped && byte == '\r') {
    Join(SourcePlace::kLiteralJoint);
  } else if (escaped) {
    code_ += OneEscChar(byte);
  } else if (byte == '\\') {
    place_ = SourcePlace::kLiteralEscape;
  } else if (byte == '"') {
    CloseLiteral();
  } else {
    code_ += byte;
  }
  return true;
}

void SourceRewrite::Join(SourcePlace joint) {
  ++line_ends_owed_;
  place_ = joint;
}

void SourceRewrite::OpenLiteralHere() {
  head_ = code_.size();
  literal_begin_ = taken_;
  place_ = SourcePlace::kLiteral;
  code_.Resize(head_ + kLiteralHead);
}

void SourceRewrite::CloseLiteral() {
  place_ = SourcePlace::kCode;
  code_ += '\0';
  const auto stored = static_cast<int32_t>(code_.size() - head_ - kLiteralHead);
  code_.data()[head_] = '"';
  std::memcpy(code_.data() + head_ + 1, &stored, sizeof stored);
}

void SourceRewrite::GiveUpLiteral() {
  code_.Resize(head_ + kLiteralHead);
  CloseLiteral();
}

}  // namespace karst

// TokenList: what loading accepts and nobody means, and the tokens around what the scanner refuses.
#include "cli/check/lexer.h"

#include <algorithm>

#include "cli/base/ascii.h"
#include "cli/base/encoding.h"
#include "cli/base/gbk.h"

namespace karst::cli::check {
namespace {

// The ASCII form of a full-width mark, 0 if there is none.
char HalfWidth(std::string_view gbk) {
  const auto lead = static_cast<unsigned char>(gbk[0]);
  const auto trail = static_cast<unsigned char>(gbk[1]);
  if (lead == 0xA3 && trail >= 0xA1 && trail <= 0xFE) {
    const char half = static_cast<char>(trail - 0x80);
    return BeginsWord(half) || (half >= '0' && half <= '9') ? '\0' : half;
  }
  if (lead != 0xA1) return 0;
  switch (trail) {
    case 0xA1: return ' ';
    case 0xA2: return ',';
    case 0xB0:
    case 0xB1: return '"';
    case 0xAE:
    case 0xAF: return '\'';
    default: return 0;
  }
}

}  // namespace

// Takes the source in as loading does; only findings look at characters.
class TokenList::Intake {
 public:
  Intake(TokenList& list, const SourceText& source, Findings& findings)
      : list_(list), code_(list.code_), source_(source.gbk), mostly_lf_(source.mostly_lf), findings_(findings) {}

  void Run() {
    while (at_ < source_.size() && TakeByte(source_[at_])) ++at_;
    if (at_ < source_.size()) TellTextAfterEnd();
    list_.open_literal_ = code_.Rewrite().InLiteral();
    if (list_.open_literal_) TellOpenLiteral();
  }

 private:
  SourcePlace Place() const { return code_.Rewrite().Place(); }
  char NextByte() const { return at_ + 1 < source_.size() ? source_[at_ + 1] : '\0'; }
  char LastOfCode() const { return code_.Code().empty() ? ' ' : code_.Code().back(); }

  bool TakeByte(char byte) {
    Look(byte);
    if (mostly_lf_ && byte == '\n') TakeCrOfLf();
    return code_.Take(byte, at_);
  }

  void Look(char byte) {
    switch (Place()) {
      case SourcePlace::kCode:
      case SourcePlace::kCodeEscape: return LookAtCode(byte);
      case SourcePlace::kComment:
        if (byte == '\r') LookAtCr();
        if (byte == '\n') TellStrayLf(Severity::kWarning);
        return;
      case SourcePlace::kLiteral:
        if (byte == '\n' && first_over_lines_ == kNone) first_over_lines_ = literal_begin_;
        return LookAtCharacter();
      case SourcePlace::kLiteralEscape: return LookAtCharacter();
      default: return;
    }
  }

  // Where most lines end in LF alone, that is taken for the line end that it was meant to be.
  void TakeCrOfLf() {
    if (Place() == SourcePlace::kComment) code_.EndComment();
    const bool in_code = Place() == SourcePlace::kCode || Place() == SourcePlace::kCodeEscape;
    if (Place() == SourcePlace::kLiteralEscape || (in_code && LastOfCode() != '\r')) code_.Take('\r', at_);
  }

  void LookAtCode(char byte) {
    if (byte == '\r' && Place() == SourcePlace::kCode) LookAtCr();
    if (byte == '\n' && LastOfCode() != '\r') TellStrayLf(SeverityOfLf());
    if (byte != '"') return;
    literal_begin_ = at_;
    next_character_ = at_ + 1;
  }

  void LookAtCr() {
    const char next = NextByte();
    if (next == '\n' || next == '\0' || told_lone_cr_) return;
    if (next == ' ' || next == '\t' || next == '\r') return;
    told_lone_cr_ = true;
    findings_.Add(Rule::kLoneCr, at_);
  }

  // An LF that follows the end of a word is a line end, which takes the next byte with it.
  Severity SeverityOfLf() const {
    const char next = NextByte();
    const bool ends_word = EndsWord(LastOfCode()) || LastOfCode() == '\n';
    const bool harmless = next == ' ' || next == '\t' || next == '\r' || next == '\n' || next == '\0';
    return ends_word && harmless ? Severity::kWarning : Severity::kError;
  }

  void TellStrayLf(Severity severity) {
    if (!mostly_lf_) findings_.Add(Rule::kStrayLf, severity, at_);
  }

  // Tells of a character whose second byte acts as a backslash, unless one more stands behind it.
  void LookAtCharacter() {
    if (at_ < next_character_) return;
    const std::string_view rest = source_.substr(at_);
    next_character_ = at_ + CharacterLength(rest);
    if (!BeginsWithPair(rest) || rest[1] != '\\') return;
    if (rest.size() > 2 && rest[2] == '\\') {
      ++next_character_;
    } else {
      findings_.Add(Rule::kHalfCharacter, at_, {rest.substr(0, 2)});
    }
  }

  void TellTextAfterEnd() {
    const bool blank = source_.find_first_not_of(std::string_view("\0 \t\r\n\x1A", 6), at_) == std::string_view::npos;
    if (!blank) findings_.Add(Rule::kBehindEnd, at_, {"0x00"});
  }

  void TellOpenLiteral() {
    code_.GiveUpLiteral();
    findings_.Add(Rule::kOpenLiteral, literal_begin_);
    if (first_over_lines_ != kNone && first_over_lines_ != literal_begin_) {
      findings_.Add(Rule::kLiteralOverLines, first_over_lines_);
    }
  }

  static constexpr size_t kNone = static_cast<size_t>(-1);

  TokenList& list_;
  TracedRewrite& code_;
  std::string_view source_;
  const bool mostly_lf_;
  Findings& findings_;
  size_t at_ = 0;
  size_t literal_begin_ = 0;
  size_t next_character_ = 0;
  size_t first_over_lines_ = kNone;
  bool told_lone_cr_ = false;
};

// Makes the list of what the engine's scanner gives.
class TokenList::Scanner {
 public:
  Scanner(TokenList& list, Findings& findings)
      : list_(list), span_(list.code_.Span()), code_(list.code_.Code()), findings_(findings) {}

  void Run() {
    while (Step()) {
    }
  }

 private:
  char ByteAt(size_t at) const { return at < code_.size() ? code_[at] : '\0'; }
  size_t OffsetOf(const char* place) const { return static_cast<size_t>(place - span_.begin); }

  // One token or one fault. False at the end of the code.
  bool Step() {
    const ScannedToken token = ScanToken(span_, span_.begin + at_, nullptr);
    at_ = OffsetOf(token.start);
    switch (token.fault) {
      case ScanFault::kUnknownByte: return Unknown();
      case ScanFault::kBadCharacter: return BadCharacter();
      case ScanFault::kLongLiteral: return LongLiteral();
      case ScanFault::kLongName:
      case ScanFault::kLongNumber: return Word(token);
      case ScanFault::kNone: break;
    }
    if (token.IsDelimiter('\r')) return LineEnd();
    switch (token.cls) {
      case DELIMITER: return token.number == FINISHED ? End() : Add(token);
      case STRING:
      case CHARCONST: return Add(token);
      default: return token.Is('{') || token.Is('}') ? Add(token) : Word(token);
    }
  }

  bool Add(const ScannedToken& token) { return Add(token.cls, token.number, token.text, OffsetOf(token.end)); }
  bool Add(int cls, int number, std::string_view text, size_t end) {
    const size_t offset = list_.OriginOf(at_);
    if (list_.tokens_.empty() || list_.tokens_.back().line != line_) indent_ = offset - line_begin_;
    list_.tokens_.push_back({cls, number, text, offset, at_, line_, indent_});
    at_ = end;
    return true;
  }
  bool AddHere(int cls, int number, size_t end) { return Add(cls, number, code_.substr(at_, end - at_), end); }

  bool End() {
    const size_t behind = code_.find_first_not_of(std::string_view("\x1A \t\r\n", 5), at_);
    if (ByteAt(at_) == 0x1A && behind != std::string_view::npos) {
      findings_.Add(Rule::kBehindEnd, list_.OriginOf(at_), {"0x1A"});
    }
    Add(DELIMITER, FINISHED, {}, at_);
    return false;
  }

  // It takes two bytes, whatever the second one is; a literal is passed over whole.
  bool LineEnd() {
    const size_t second = at_ + 1;
    Add(DELIMITER, EOL, "\r\n", ByteAt(second) == '"' ? LiteralEnd(second) : second + 1);
    ++line_;
    line_begin_ = list_.OriginOf(at_);
    return true;
  }

  size_t LiteralEnd(size_t quote) const { return OffsetOf(BehindLiteral(span_, span_.begin + quote)); }

  // Behind a name, a number or a label. The engine reads on into a literal that follows directly.
  size_t WordEnd() const {
    const char* second = span_.begin + at_ + 1;
    return OffsetOf(std::find(second, karst::WordEnd(second), '"'));
  }

  bool Word(const ScannedToken& token) {
    const size_t end = WordEnd();
    const std::string_view text = code_.substr(at_, end - at_);
    const int cls = token.cls == COMMAND ? VARIABLE : token.cls;
    if (text.size() > kTokenLimit + (cls == LABEL ? 1u : 0u)) return TooLong(cls, kTokenLimit, text, end);
    LookForFullWidth(end);
    if (ByteAt(end) == '"') findings_.Add(Rule::kTouchesLiteral, list_.OriginOf(at_), {text});
    const int number = cls == VARIABLE ? ReservedWordNumber(text) : 0;
    return Add(number != 0 ? COMMAND : cls, number, text, end);
  }

  bool LongLiteral() { return TooLong(STRING, kTokenLimit - 2, code_.substr(at_, 1), LiteralEnd(at_)); }

  // Up to the quote that was meant to close it, if that is near and no literal opens before it: a text in the wrong
  // quotes.
  bool BadCharacter() {
    const std::string_view near = code_.substr(at_, 12);
    const size_t quote = near.find_first_of("'\"\r", 1);
    const bool closed = quote != std::string_view::npos && near[quote] == '\'';
    const size_t length = closed ? quote + 1 : 1;
    findings_.Add(Rule::kBadCharacter, list_.OriginOf(at_), {near.substr(0, length)});
    return AddHere(closed ? STRING : CHARCONST, 0, at_ + length);
  }

  // Told once, and then taken for what it was meant to be.
  bool TooLong(int cls, int most, std::string_view text, size_t end) {
    findings_.Add(Rule::kTooLong, list_.OriginOf(at_), {std::to_string(most)});
    return Add(cls, 0, text, end);
  }

  // Text beyond ASCII counts as the name that it was most likely meant to be, and is one finding.
  bool Unknown() {
    const std::string_view rest = code_.substr(at_);
    const size_t offset = list_.OriginOf(at_);
    const size_t length = CharacterLength(rest);
    if (TellFullWidth(at_, Severity::kError)) {
      at_ += length;
      return true;
    }
    if (rest[0] == '\\') {
      findings_.Add(Rule::kStrayBackslash, offset);
    } else {
      findings_.Add(Rule::kUnknownByte, offset, {Shown(rest.substr(0, length))});
    }
    if (static_cast<unsigned char>(rest[0]) >= 0x80)
      return AddHere(VARIABLE, 0, std::min<size_t>(WordEnd(), at_ + kTokenLimit));
    ++at_;
    return true;
  }

  // A name may hold any character behind its first; a mark among them is most likely a mistake.
  void LookForFullWidth(size_t end) {
    for (size_t at = at_ + 1; at < end; at += CharacterLength(code_.substr(at))) {
      if (static_cast<unsigned char>(code_[at]) >= 0x80 && TellFullWidth(at, Severity::kWarning)) return;
    }
  }

  bool TellFullWidth(size_t at, Severity severity) {
    const std::string_view rest = code_.substr(at);
    const char half = BeginsWithPair(rest) ? HalfWidth(rest) : '\0';
    if (half == 0) return false;
    const std::string_view shown = half == ' ' ? "' '" : std::string_view(&half, 1);
    findings_.Add(Rule::kFullWidth, severity, list_.OriginOf(at), {rest.substr(0, 2), shown});
    return true;
  }

  static std::string Shown(std::string_view character) {
    const auto byte = static_cast<unsigned char>(character[0]);
    if (character.size() == 2 || (byte > ' ' && byte < 0x7F)) return std::string(character);
    return Hexadecimal(character[0]);
  }

  TokenList& list_;
  const CodeSpan span_;
  const std::string_view code_;
  Findings& findings_;
  size_t at_ = 0;
  uint32_t line_ = 0;
  size_t line_begin_ = 0;
  size_t indent_ = 0;
};

TokenList::TokenList(const SourceText& source, Findings& findings) : source_size_(source.gbk.size()) {
  Intake(*this, source, findings).Run();
  Scanner(*this, findings).Run();
  FindLabels();
}

// By bytes, as a goto looks for them.
void TokenList::FindLabels() {
  const CodeSpan span = code_.Span();
  bool in_quotes = false;
  for (const char* at = span.begin; at < span.end; ++at) {
    while (*at == '"') at = BehindLiteral(span, at);
    if (*at == '\'') in_quotes = !in_quotes;
    if (*at != ':' || in_quotes) continue;
    const char* end = at + 1;
    while (end - at <= kTokenLimit + 1 && !EndsWord(*end) && *end != '"') ++end;
    const std::string_view name(at + 1, static_cast<size_t>(end - at - 1));
    labels_.push_back(
        {LoweredAscii(name), OriginOf(static_cast<size_t>(at - span.begin)), static_cast<size_t>(end - span.begin)});
  }
}

}  // namespace karst::cli::check

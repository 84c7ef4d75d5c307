// TokenList: the rewriting of the source, and the scanner.
#include "cli/check/lexer.h"

#include <algorithm>
#include <array>

#include "cli/base/encoding.h"
#include "cli/base/gbk.h"
#include "helpers/zebutil.h"

namespace karst::cli::check {
namespace {

constexpr std::string_view kDelimiters = "+-*^/%=;(),><[]&|!{}";
constexpr std::string_view kWordEnds(" ;,+-<>/*%^=()[]&|!{}\t\r\0", 25);
constexpr size_t kLongestWord = 490;
constexpr int kLongestStoredLiteral = 489;

constexpr std::array<bool, 256> MembersOf(std::string_view set) {
  std::array<bool, 256> members{};
  for (const char c : set) members[static_cast<unsigned char>(c)] = true;
  return members;
}
constexpr auto kIsDelimiter = MembersOf(kDelimiters);
constexpr auto kEndsWord = MembersOf(kWordEnds);

bool In(const std::array<bool, 256>& set, char byte) { return set[static_cast<unsigned char>(byte)]; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool BeginsWord(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '@' || c == '`'; }

// The ASCII form of a full-width mark, 0 if there is none.
char HalfWidth(std::string_view gbk) {
  const auto lead = static_cast<unsigned char>(gbk[0]);
  const auto trail = static_cast<unsigned char>(gbk[1]);
  if (lead == 0xA3 && trail >= 0xA1 && trail <= 0xFE) {
    const char half = static_cast<char>(trail - 0x80);
    return BeginsWord(half) || IsDigit(half) ? '\0' : half;
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

std::string InSmallLetters(std::string_view text) {
  std::string small(text);
  for (char& c : small) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return small;
}

// Makes the code. It goes byte by byte as loading does; only findings look at characters.
class TokenList::Rewrite {
 public:
  Rewrite(TokenList& list, const SourceText& source, Findings& findings)
      : list_(list), source_(source.gbk), source_info_(source), findings_(findings) {}

  void Run() {
    for (; at_ < source_.size() && source_[at_] != 0; ++at_) TakeByte(source_[at_]);
    if (at_ < source_.size()) TellTextBehind();
    list_.open_literal_ = in_literal_;
    if (in_literal_) TellOpenLiteral();
  }

 private:
  char NextByte() const { return at_ + 1 < source_.size() ? source_[at_ + 1] : '\0'; }
  bool IsLfLineEnd() const { return source_info_.mostly_lf && source_[at_] == '\n'; }

  void TakeByte(char byte) {
    if (in_comment_) {
      if (byte == '\n' && !source_info_.mostly_lf) TellStrayLf(Severity::kWarning);
      if (byte != '\r' && !IsLfLineEnd()) return;
      in_comment_ = false;
    }
    const bool line_end = byte == '\r' || IsLfLineEnd();
    if (after_backslash_ && line_end) return ContinueLine(byte);
    if (in_literal_) return TakeLiteralByte(byte);
    after_backslash_ = byte == '\\';
    switch (byte) {
      case '"': return OpenLiteral();
      case '#': in_comment_ = true; return;
      case '\r': return TakeCr();
      case '\n': return TakeLf();
      default: Put(byte);
    }
  }

  void TakeCr() {
    Put('\r');
    const char next = NextByte();
    if (next == '\n' || next == '\0' || told_lone_cr_) return;
    if (next == ' ' || next == '\t' || next == '\r') return;
    told_lone_cr_ = true;
    findings_.Add(Rule::kLoneCr, at_);
  }

  void TakeLf() {
    const bool behind_cr = !list_.code_.empty() && list_.code_.back() == '\r';
    if (!behind_cr && source_info_.mostly_lf) Put('\r');
    if (!behind_cr && !source_info_.mostly_lf) TellStrayLf(SeverityOfLf());
    Put('\n');
    for (; line_ends_owed_ > 0; --line_ends_owed_) {
      Put('\r');
      Put('\n');
    }
  }

  // An LF that follows the end of a word is a line end, which takes the next byte with it.
  Severity SeverityOfLf() const {
    const char before = list_.code_.empty() ? ' ' : list_.code_.back();
    const char next = NextByte();
    const bool ends_word = In(kEndsWord, before) || before == '"' || before == '\n';
    const bool harmless = next == ' ' || next == '\t' || next == '\r' || next == '\n' || next == '\0';
    return ends_word && harmless ? Severity::kWarning : Severity::kError;
  }

  void TellStrayLf(Severity severity) { findings_.Add(Rule::kStrayLf, severity, at_); }

  void ContinueLine(char byte) {
    if (!in_literal_) {
      list_.code_.pop_back();
      list_.origins_.pop_back();
    }
    ++line_ends_owed_;
    after_backslash_ = false;
    if (byte == '\r') ++at_;
  }

  void TakeLiteralByte(char byte) {
    NoteCharacter();
    std::string& text = list_.literals_.back().text;
    if (after_backslash_) {
      text += OneEscChar(byte);
      after_backslash_ = false;
    } else if (byte == '\\') {
      after_backslash_ = true;
    } else if (byte == '"') {
      in_literal_ = false;
    } else {
      if (byte == '\n' && first_over_lines_ == kNone) first_over_lines_ = literal_begin_;
      text += byte;
    }
  }

  // Tells of a character whose second byte acts as a backslash, unless one more stands behind it.
  void NoteCharacter() {
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

  void OpenLiteral() {
    literal_begin_ = at_;
    next_character_ = at_ + 1;
    in_literal_ = true;
    after_backslash_ = false;
    list_.literals_.push_back({list_.code_.size(), ""});
    Put('"');
  }

  void Put(char byte) {
    list_.code_ += byte;
    list_.origins_.push_back(at_);
  }

  void TellTextBehind() {
    const bool blank = source_.find_first_not_of(std::string_view("\0 \t\r\n\x1A", 6), at_) == std::string_view::npos;
    if (!blank) findings_.Add(Rule::kBehindEnd, at_, {"0x00"});
  }

  void TellOpenLiteral() {
    findings_.Add(Rule::kOpenLiteral, literal_begin_);
    if (first_over_lines_ != kNone && first_over_lines_ != literal_begin_) {
      findings_.Add(Rule::kLiteralOverLines, first_over_lines_);
    }
  }

  static constexpr size_t kNone = static_cast<size_t>(-1);

  TokenList& list_;
  std::string_view source_;
  const SourceText& source_info_;
  Findings& findings_;
  size_t at_ = 0;
  size_t literal_begin_ = 0;
  size_t next_character_ = 0;
  size_t first_over_lines_ = kNone;
  bool in_comment_ = false;
  bool in_literal_ = false;
  bool after_backslash_ = false;
  bool told_lone_cr_ = false;
  int line_ends_owed_ = 0;
};

// Cuts the code into tokens.
class TokenList::Scanner {
 public:
  Scanner(TokenList& list, Findings& findings) : list_(list), code_(list.code_), findings_(findings) {}

  void Run() {
    while (Step()) {
    }
  }

 private:
  char ByteAt(size_t at) const { return at < code_.size() ? code_[at] : '\0'; }

  // One token or one fault. False at the end of the code.
  bool Step() {
    while (ByteAt(at_) == ' ' || ByteAt(at_) == '\t') ++at_;
    const char byte = ByteAt(at_);
    if (byte == 0 || byte == 0x1A) return End(at_);
    if (BeginsWord(byte)) return Word();
    if (In(kIsDelimiter, byte)) return Delimiter(byte);
    if (IsDigit(byte)) return Word(NUMBER);
    switch (byte) {
      case '\r':
      case '\n': return LineEnd();
      case '"': return Text();
      case ':': return Word(LABEL);
      case '\'': return Character();
      default: return Unknown();
    }
  }

  bool Add(int cls, int number, std::string_view text, size_t end) {
    const size_t offset = list_.OriginOf(at_);
    if (list_.tokens_.empty() || list_.tokens_.back().line != line_) indent_ = offset - line_begin_;
    list_.tokens_.push_back({cls, number, text, offset, at_, line_, indent_});
    at_ = end;
    return true;
  }
  bool AddHere(int cls, int number, size_t end) { return Add(cls, number, code_.substr(at_, end - at_), end); }

  bool End(size_t where) {
    at_ = where;
    const size_t behind = code_.find_first_not_of(std::string_view("\x1A \t\r\n", 5), at_);
    if (ByteAt(at_) == 0x1A && behind != std::string_view::npos) {
      findings_.Add(Rule::kBehindEnd, list_.OriginOf(at_), {"0x1A"});
    }
    Add(DELIMITER, FINISHED, {}, at_);
    return false;
  }

  bool LineEnd() {
    if (ByteAt(at_ + 1) == 0) return End(at_ + 1);
    Add(DELIMITER, EOL, "\r\n", at_ + 2);
    ++line_;
    line_begin_ = list_.OriginOf(at_);
    return true;
  }

  bool Delimiter(char byte) {
    if (byte == '{') return AddHere(COMMAND, kTokBegin, at_ + 1);
    if (byte == '}') return AddHere(COMMAND, kTokEnd, at_ + 1);
    return AddHere(DELIMITER, 0, at_ + 1);
  }

  // Behind a name, a number or a label. The engine reads on into a literal that follows directly.
  size_t WordEnd() const {
    size_t end = at_ + 1;
    while (!In(kEndsWord, ByteAt(end)) && ByteAt(end) != '"') ++end;
    return end;
  }

  bool Word(int cls = VARIABLE) {
    const size_t end = WordEnd();
    const std::string_view text = code_.substr(at_, end - at_);
    const size_t longest = cls == LABEL ? kLongestWord + 1 : kLongestWord;
    if (text.size() > longest) return TooLong(cls, kLongestWord, end);
    LookForFullWidth(end);
    if (ByteAt(end) == '"') findings_.Add(Rule::kTouchesLiteral, list_.OriginOf(at_), {text});
    const int number = cls == VARIABLE ? words_.LookUpReserve(std::string(text).c_str()) : 0;
    return Add(number != 0 ? COMMAND : cls, number, text, end);
  }

  bool Text() {
    while (list_.literals_[next_literal_].code < at_) ++next_literal_;  // one may stand inside a character constant
    const Literal& literal = list_.literals_[next_literal_];
    if (literal.stored_length() > kLongestStoredLiteral) return TooLong(STRING, kLongestStoredLiteral - 1, at_ + 1);
    return Add(STRING, 0, literal.text, at_ + 1);
  }

  bool Character() {
    if (ByteAt(at_ + 2) == '\'') return AddHere(CHARCONST, 0, at_ + 3);
    if (ByteAt(at_ + 3) == '\'' && ByteAt(at_ + 2) != 0) return AddHere(CHARCONST, 0, at_ + 4);
    // Up to the quote that was meant to close it, if that is near: a text in the wrong quotes.
    const std::string_view near = code_.substr(at_, 12);
    const size_t quote = near.find_first_of("'\r", 1);
    const bool closed = quote != std::string_view::npos && near[quote] == '\'';
    const size_t length = closed ? quote + 1 : 1;
    findings_.Add(Rule::kBadCharacter, list_.OriginOf(at_), {near.substr(0, length)});
    return AddHere(closed ? STRING : CHARCONST, 0, at_ + length);
  }

  // Told once, and then taken for what it was meant to be.
  bool TooLong(int cls, size_t most, size_t end) {
    findings_.Add(Rule::kTooLong, list_.OriginOf(at_), {std::to_string(most)});
    return AddHere(cls, 0, end);
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
      return AddHere(VARIABLE, 0, std::min(WordEnd(), at_ + kLongestWord));
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
  std::string_view code_;
  Findings& findings_;
  CCode words_;  // knows the reserved words
  size_t at_ = 0;
  size_t next_literal_ = 0;
  uint32_t line_ = 0;
  size_t line_begin_ = 0;
  size_t indent_ = 0;
};

TokenList::TokenList(const SourceText& source, Findings& findings) : source_size_(source.gbk.size()) {
  Rewrite(*this, source, findings).Run();
  if (open_literal_) literals_.back().text.clear();
  Scanner(*this, findings).Run();
  FindLabels();
}

// By bytes, as a goto looks for them.
void TokenList::FindLabels() {
  bool in_quotes = false;
  for (size_t at = 0; at < code_.size(); ++at) {
    if (code_[at] == '\'') in_quotes = !in_quotes;
    if (code_[at] != ':' || in_quotes) continue;
    size_t end = at + 1;
    const size_t most = std::min(code_.size(), end + kLongestWord + 1);
    while (end < most && !In(kEndsWord, code_[end]) && code_[end] != '"') ++end;
    labels_.push_back({InSmallLetters(std::string_view(code_).substr(at + 1, end - at - 1)), OriginOf(at), end});
  }
}

}  // namespace karst::cli::check

// Writing and reading lines. The bytes are those of the record: no charset is changed here, but what a character is
// decides whether a "\" is one, since it may be the second byte of a GBK character.
#include "cli/records/line_format.h"

#include <algorithm>

#include "cli/base/encoding.h"
#include "cli/base/reversible_encoding.h"
#include "cli/records/indicators.h"
#include "records/cartulary.h"
#include "records/isorecord.h"
#include "text/charset.h"

namespace karst::cli {
namespace {

constexpr std::string_view kLeaderTag = "LDR";
constexpr std::string_view kEscapedLeaderTag = "\\x4CDR";
constexpr char kEscape = '\\';
constexpr char kBlankIndicator = '_';
constexpr char kDelete = 0x7F;

// Characters of UTF-8 that editors hide or take for the end of a line.
bool IsHidden(char32_t code) { return code < 0xA0 || code == 0x2028 || code == 0x2029 || code == 0xFEFF; }

class LineWriter {
 public:
  // `utf8`: the record is valid as that. `spell_second_escape`: GBK characters with "\" as their second byte are spelt.
  LineWriter(std::string& out, bool utf8, bool spell_second_escape)
      : out_(out), utf8_(utf8), spell_second_escape_(spell_second_escape) {}

  void Write(std::string_view record) {
    out_ += kLeaderTag;
    WriteData(record.substr(0, kHeaderLength), 0);
    auto fields = FieldCursor::OverRecord(record);
    for (std::string_view field; fields.Next(field);) WriteField(field);
  }
  bool KeptSecondEscape() const { return kept_second_escape_; }

 private:
  void WriteField(std::string_view field) {
    const std::string_view tag = field.substr(0, kTagLength);
    if (tag == kLeaderTag) {
      out_ += kEscapedLeaderTag;
    } else {
      for (const char byte : tag) WriteTagByte(byte);
    }
    WriteData(field.substr(tag.size()), HasIndicators(tag) ? kIndicators : 0);
  }
  void WriteTagByte(char byte) {
    if (byte == ' ') return Put("\\s");
    if (byte == kEscape || byte == '$') out_ += kEscape;
    out_ += byte;
  }
  void WriteData(std::string_view data, size_t indicators) {
    if (!data.empty()) out_ += ' ';
    for (size_t at = 0; at < data.size();) {
      const bool outermost = at == 0 || at + 1 == data.size();
      at += WriteCharacter(data.substr(at), at < indicators, outermost);
    }
    out_ += '\n';
  }
  // Gives the number of bytes written.
  size_t WriteCharacter(std::string_view rest, bool indicator, bool outermost) {
    const char byte = rest[0];
    if (static_cast<unsigned char>(byte) >= 0x80) return utf8_ ? WriteUtf8(rest) : WriteGbk(rest);
    if (byte == ' ') {
      Put(indicator ? "_" : outermost ? "\\s" : " ");
    } else if (byte == kSubfieldMark) {
      out_ += '$';
    } else if (static_cast<unsigned char>(byte) < ' ' || byte == kDelete) {
      Spell(rest.substr(0, 1));
    } else {
      if (byte == kEscape || byte == '$' || (indicator && byte == kBlankIndicator)) out_ += kEscape;
      out_ += byte;
    }
    return 1;
  }
  size_t WriteUtf8(std::string_view rest) {
    const DecodedCharacter character = DecodeUtf8(rest);
    const std::string_view bytes = rest.substr(0, character.length);
    IsHidden(character.code) ? Spell(bytes) : Put(bytes);
    return bytes.size();
  }
  size_t WriteGbk(std::string_view rest) {
    const DecodedCharacter character = DecodeGbk(rest);
    const std::string_view bytes = rest.substr(0, character.length);
    const bool second_escape = bytes.back() == kEscape;
    const bool spelt = character.code == kNoCharacter || (second_escape && spell_second_escape_);
    kept_second_escape_ = kept_second_escape_ || (second_escape && !spelt);
    spelt ? Spell(bytes) : Put(bytes);
    return bytes.size();
  }
  void Put(std::string_view text) { out_ += text; }
  void Spell(std::string_view bytes) { AppendEscaped(bytes, out_); }

  std::string& out_;
  bool utf8_;
  bool spell_second_escape_;
  bool kept_second_escape_ = false;
};

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// What is wrong with one line, in UTF-8; null if nothing is.
using Fault = const char*;
constexpr Fault kBadEscape = "“\\”后面不对";
constexpr Fault kBadLeader = "头标不是24个字节";
constexpr Fault kBadTag = "字段号不是三个可见字符";
constexpr Fault kNoBlank = "字段号后面没有空格";
constexpr Fault kBadByte = "有不能写入记录的控制符";

// Reads one line, byte by byte of the record.
class LineReader {
 public:
  LineReader(std::string_view line, bool gbk) : rest_(line), gbk_(gbk) {}

  bool AtEnd() const { return rest_.empty(); }
  char Peek() const { return rest_.front(); }
  void Skip() { rest_.remove_prefix(1); }
  // Appends the next byte, or the next character of GBK. False for an escape that is none.
  bool Take(std::string& out) {
    const char first = rest_.front();
    if (first == kEscape) return TakeEscape(out);
    const size_t length = gbk_ && static_cast<unsigned char>(first) >= 0x80 ? DecodeGbk(rest_).length : 1;
    if (first == '$') {
      out += kSubfieldMark;
    } else {
      out += rest_.substr(0, length);
    }
    rest_.remove_prefix(length);
    return true;
  }

 private:
  bool TakeEscape(std::string& out) {
    const char code = rest_.size() > 1 ? rest_[1] : '\0';
    if (code == 'x') return TakeSpelt(out);
    if (std::string_view("\\$_s").find(code) == std::string_view::npos) return false;
    out += code == 's' ? ' ' : code;
    rest_.remove_prefix(2);
    return true;
  }
  bool TakeSpelt(std::string& out) {
    constexpr size_t kSpeltLength = 4;
    if (rest_.size() < kSpeltLength) return false;
    const int high = HexDigit(rest_[2]);
    const int low = HexDigit(rest_[3]);
    if (high < 0 || low < 0) return false;
    out += static_cast<char>(high << 4 | low);
    rest_.remove_prefix(kSpeltLength);
    return true;
  }

  std::string_view rest_;
  bool gbk_;
};

Fault TakeAll(LineReader& reader, size_t indicators, std::string& out) {
  const size_t start = out.size();
  while (!reader.AtEnd()) {
    if (out.size() - start < indicators && reader.Peek() == kBlankIndicator) {
      reader.Skip();
      out += ' ';
    } else if (!reader.Take(out)) {
      return kBadEscape;
    }
  }
  return nullptr;
}

Fault ParseLeader(std::string_view line, bool gbk, std::string& record) {
  LineReader reader(line.substr(std::min(line.size(), kLeaderTag.size() + 1)), gbk);
  if (const Fault fault = TakeAll(reader, 0, record)) return fault;
  if (record.size() != kHeaderLength) return kBadLeader;
  const bool bad = record.find('\0') != std::string::npos || record.find(kRecordEnd) != std::string::npos;
  return bad ? kBadByte : nullptr;
}

Fault ParseField(std::string_view line, bool gbk, std::string& record) {
  LineReader reader(line, gbk);
  const size_t start = record.size();
  while (record.size() < start + kTagLength) {
    if (reader.AtEnd()) return kBadTag;
    if (!reader.Take(record)) return kBadEscape;
  }
  const std::string tag = record.substr(start);
  if (tag.size() != kTagLength || !IsPrintableTag(tag)) return kBadTag;
  if (!reader.AtEnd()) {
    if (reader.Peek() != ' ') return kNoBlank;
    reader.Skip();
  }
  if (const Fault fault = TakeAll(reader, HasIndicators(tag) ? kIndicators : 0, record)) return fault;
  constexpr std::string_view kForbidden("\0\x1D\x1E", 3);
  if (record.find_first_of(kForbidden, start) != std::string::npos) return kBadByte;
  record += kFieldEnd;
  return nullptr;
}

// The next line without its end and the blanks there; `text` moves on past it.
std::string_view NextLine(std::string_view& text) {
  const size_t end = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  if (line.ends_with('\r')) line.remove_suffix(1);
  line.remove_suffix(line.size() - std::min(line.find_last_not_of(' ') + 1, line.size()));
  return line;
}

}  // namespace

bool IsLeaderLine(std::string_view line) {
  if (!line.starts_with(kLeaderTag)) return false;
  return line.size() == kLeaderTag.size() || std::string_view(" \r\n").find(line[kLeaderTag.size()]) != line.npos;
}

void AppendLines(std::string_view record, std::string& out) {
  const size_t start = out.size();
  const bool utf8 = IsValidUtf8(record);
  LineWriter writer(out, utf8, false);
  writer.Write(record);
  // Text that is valid as UTF-8 is read as that, and then each "\" counts.
  if (writer.KeptSecondEscape() && IsValidUtf8(std::string_view(out).substr(start))) {
    out.resize(start);
    LineWriter(out, utf8, true).Write(record);
  }
  out += '\n';
}

std::string ParseLines(std::string_view text, std::string& record) {
  record.clear();
  const bool gbk = !IsValidUtf8(text);
  for (size_t number = 1; !text.empty(); ++number) {
    const std::string_view line = NextLine(text);
    if (line.find_first_not_of(" \t") == line.npos) continue;  // a blank line
    const Fault fault = number == 1 ? ParseLeader(line, gbk, record) : ParseField(line, gbk, record);
    if (fault) return ToGbk("第" + std::to_string(number) + "行：" + fault);
  }
  record += kRecordEnd;
  return "";
}

}  // namespace karst::cli

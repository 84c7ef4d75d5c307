// Finding the token that the engine read last, and drawing its line.
#include "cli/run/error_display.h"

#include <algorithm>

#include "cli/run/source_map.h"
#include "language/token.h"
#include "text/charset.h"

namespace karst::cli {
namespace {

// A stretch of the source to be shown: one line, and a mark in it.
struct Excerpt {
  struct Mark {
    size_t begin;
    size_t end;
  };

  size_t line_number;
  std::string line;
  Mark mark;

  std::string Marked() const { return line.substr(std::min(mark.begin, line.size()), mark.end - mark.begin); }
};

bool IsSpace(char byte) { return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n'; }

// The offset in the code that shows most about the failure: the byte at which reading was refused, the token that was
// given back, or else the last byte of the last token before the read position.
std::optional<size_t> FaultOffset(const CCode& code) {
  if (!code.lpCodeBuffer || code.lpProg < code.lpCodeBuffer || code.lpProg >= code.lpCodeBuffer + code.nCodeLen) {
    return std::nullopt;
  }
  auto at = static_cast<size_t>(code.lpProg - code.lpCodeBuffer);
  const char* bytes = code.lpCodeBuffer;
  const bool behind_space = at == 0 || IsSpace(bytes[at - 1]);
  const bool given_back = code.bPutBack == 1 && behind_space && bytes[at] != 0 && !IsSpace(bytes[at]);
  const ScannedToken next = ScanToken({bytes, bytes + code.nCodeLen}, bytes + at, nullptr);
  const bool refused = next.fault == ScanFault::kUnknownByte && next.start == bytes + at;
  if (refused || given_back) return at;
  while (at > 0 && IsSpace(bytes[at - 1])) --at;
  if (at == 0) return std::nullopt;
  return at - 1;
}

std::string_view LineAt(std::string_view source, size_t begin) {
  const std::string_view line = source.substr(begin, source.find('\n', begin) - begin);
  return line.ends_with('\r') ? line.substr(0, line.size() - 1) : line;
}

// Takes out what the file has not.
void AsInFile(Excerpt& excerpt, size_t line_begin, const std::vector<size_t>& added) {
  const auto line_end = std::lower_bound(added.begin(), added.end(), line_begin + excerpt.line.size());
  for (auto at = line_end; at != added.begin() && *(at - 1) >= line_begin; --at) {
    const size_t column = *(at - 1) - line_begin;
    excerpt.line.erase(column, 1);
    excerpt.mark.begin -= column < excerpt.mark.begin;
    excerpt.mark.end -= column < excerpt.mark.end;
  }
}

// The line that holds the token's byte; of a token that takes several, the part that it has in this one is marked.
Excerpt ExcerptAt(const SourceText& source, const TokenPlace& token) {
  const std::string_view before = std::string_view(source.gbk).substr(0, token.at);
  const size_t line_begin = before.rfind('\n') + 1;  // npos + 1 is 0
  const auto number = static_cast<size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
  const std::string_view line = LineAt(source.gbk, line_begin);
  const size_t mark_begin = std::max(token.begin, line_begin);
  const size_t mark_end = std::max(std::min(token.end, line_begin + line.size()), mark_begin);
  Excerpt excerpt{number, std::string(line), {mark_begin - line_begin, mark_end - line_begin}};
  AsInFile(excerpt, line_begin, source.added);
  return excerpt;
}

// The place in the source that the error is about.
std::optional<TokenPlace> FindPlace(const CCode& code, std::string_view source) {
  // Without code, loading itself was refused.
  if (!code.lpCodeBuffer) return FindOpenLiteral(source);
  const auto fault = FaultOffset(code);
  return fault ? FindToken(source, *fault, static_cast<size_t>(code.nCodeLen)) : std::nullopt;
}

// White space as wide as the text; tabs stay tabs.
std::string Padding(const Console& console, std::string_view gbk) {
  std::string padding;
  while (!gbk.empty()) {
    const size_t tab = std::min(gbk.find('\t'), gbk.size());
    padding.append(DisplayWidth(console.Displayed(gbk.substr(0, tab)), console.TextEncoding()), ' ');
    if (tab == gbk.size()) break;
    padding += '\t';
    gbk.remove_prefix(tab + 1);
  }
  return padding;
}

std::string Drawn(const Console& console, const Excerpt& excerpt) {
  const std::string number = std::to_string(excerpt.line_number);
  std::string text = "  " + number + " | " + console.Displayed(excerpt.line) + "\n";
  if (excerpt.mark.begin >= excerpt.line.size()) return text;
  const size_t width = DisplayWidth(console.Displayed(excerpt.Marked()), console.TextEncoding());
  text += "  " + std::string(number.size(), ' ') + " | ";
  text += Padding(console, std::string_view(excerpt.line).substr(0, excerpt.mark.begin)) + "^";
  text.append(width > 1 ? width - 1 : 0, '~');
  return text + "\n";
}

// True if a name or a value must stand where the line is marked: after a declaring word, an operator, a comma or an
// opening parenthesis.
bool IsPlaceOfName(const Excerpt& excerpt) {
  std::string_view before = std::string_view(excerpt.line).substr(0, excerpt.mark.begin);
  while (!before.empty() && IsSpace(before.back())) before.remove_suffix(1);
  if (before.empty()) return false;
  if (std::string_view("+-*/%^=(,&<>|!").find(before.back()) != std::string_view::npos) return true;
  const std::string_view word = before.substr(before.find_last_of(" \t;{})") + 1);
  const int number = ReservedWordNumber(word);
  return number == kTokInt || number == kTokInt64 || number == kTokString;
}

std::string NoteOn(const Excerpt& excerpt) {
  const std::string word = excerpt.Marked();
  const bool in_place = ReservedWordNumber(word) != 0 && IsPlaceOfName(excerpt);
  return in_place ? "  note: " + word + " is a reserved word, which cannot name a variable\n" : "";
}

std::string_view WithoutOuterSpace(std::string_view text) {
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
  return text;
}

bool IsWide(char32_t c) {
  struct Range {
    char32_t first, last;
  };
  constexpr Range kWide[] = {{0x1100, 0x115F}, {0x2E80, 0xA4CF}, {0xAC00, 0xD7A3}, {0xF900, 0xFAFF},
                             {0xFE30, 0xFE6F}, {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6}};
  return std::any_of(std::begin(kWide), std::end(kWide), [c](Range r) { return c >= r.first && c <= r.last; });
}

}  // namespace

size_t DisplayWidth(std::string_view text, Encoding encoding) {
  if (encoding == Encoding::kGbk) return text.size();  // a GBK character is as wide as it is long
  size_t width = 0;
  while (!text.empty()) {
    const DecodedCharacter character = DecodeUtf8(text);
    width += IsWide(character.code) ? 2 : 1;
    text.remove_prefix(character.length);
  }
  return width;
}

void WriteErrorMessage(CScript& engine, const char* text, int line) {
  engine.eprintf(ToGbk("\r\n第%d行: %s").c_str(), line, text);
}

int ReportScriptError(Console& console, CScript& engine, const SourceFile& file, const char* text, int line) {
  WriteErrorMessage(engine, text, line);
  std::string display = file.Shown() + ":" + std::to_string(line) + ": ";
  display += console.Displayed(WithoutOuterSpace(text)) + "\n";
  if (const auto place = FindPlace(engine, file.Text().gbk)) {
    const Excerpt excerpt = ExcerptAt(file.Text(), *place);
    display += Drawn(console, excerpt) + NoteOn(excerpt);
  }
  console.Show(display);
  return -1;
}

int ReportNoMemory(Console& console, CScript& engine, const SourceFile& file, const MemoryError& error) {
  const int result = ReportScriptError(console, engine, file, error.what(), engine.LineOf(error));
  console.Show("  note: out of memory\n");
  return result;
}

}  // namespace karst::cli

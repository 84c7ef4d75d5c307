// Charsets and line ends.
#include "check/source.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "check/gbk.h"

namespace karst::cli::check {
namespace {

bool IsAscii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

std::string Hexadecimal(char byte) {
  char text[8];
  std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned char>(byte));
  return text;
}

bool IsGbk(std::string_view text) {
  while (!text.empty()) {
    const size_t length = CharacterLength(text);
    if (length == 1 && !IsAscii(text[0])) return false;
    text.remove_prefix(length);
  }
  return true;
}

// How many characters of UTF-8 take two bytes, and how many take more. Nothing if the text is no UTF-8.
struct Utf8Counts {
  size_t two_bytes = 0;
  size_t more_bytes = 0;
};
std::optional<Utf8Counts> CountUtf8(std::string_view text) {
  Utf8Counts counts;
  while (!text.empty()) {
    const size_t length = Utf8CharacterLength(text);
    if (length == 0) return std::nullopt;
    counts.two_bytes += length == 2;
    counts.more_bytes += length > 2;
    text.remove_prefix(length);
  }
  return counts;
}

// Every first byte of a stretch that is no GBK.
void FindBadBytes(std::string_view gbk, Findings& findings) {
  bool good = true;
  for (size_t at = 0; at < gbk.size();) {
    const size_t length = CharacterLength(gbk.substr(at));
    const bool bad = length == 1 && !IsAscii(gbk[at]);
    if (bad && good) findings.Add(Rule::kBadGbk, at, {Hexadecimal(gbk[at])});
    good = !bad;
    at += length;
  }
}

struct LineEndCounts {
  size_t crlf = 0;
  size_t lf = 0;  // alone, outside literals
  size_t first_lf = 0;
};
LineEndCounts CountLineEnds(std::string_view gbk) {
  LineEndCounts counts;
  LiteralTracker tracker;
  for (size_t at = 0, step; at < gbk.size(); at += step) {
    const bool line_end = gbk[at] == '\n' && (!tracker.InLiteral() || tracker.BehindBackslash());
    step = StepLength(gbk.substr(at), tracker);
    tracker.Pass(gbk[at]);
    if (!line_end) continue;
    const bool with_cr = at > 0 && gbk[at - 1] == '\r';
    counts.crlf += with_cr;
    if (!with_cr && counts.lf++ == 0) counts.first_lf = at;
  }
  return counts;
}

}  // namespace

Charset CharsetOf(std::string_view bytes) {
  if (bytes.starts_with(kByteOrderMark)) return Charset::kMarkedUtf8;
  const auto counts = CountUtf8(bytes);
  if (!counts || counts->two_bytes + counts->more_bytes == 0) return Charset::kGbk;
  return counts->more_bytes > counts->two_bytes || !IsGbk(bytes) ? Charset::kUtf8 : Charset::kGbk;
}

void LiteralTracker::Pass(char first) {
  const bool escaped = behind_backslash_;
  behind_backslash_ = false;
  switch (place_) {
    case Place::kComment:
      if (first == '\r' || first == '\n') place_ = Place::kCode;
      return;
    case Place::kLiteral:
      if (escaped) return;
      behind_backslash_ = first == '\\';
      if (first == '"') place_ = Place::kCode;
      return;
    case Place::kCode:
      if (first == '"') place_ = Place::kLiteral;
      if (first == '#') place_ = Place::kComment;
  }
}

size_t StepLength(std::string_view gbk, const LiteralTracker& tracker) {
  const bool cut = tracker.InLiteral() && gbk.size() > 1 && gbk[1] == '\\';
  return cut ? 1 : CharacterLength(gbk);
}

std::string ToGbkSource(std::string_view utf8, bool keep_literals, Findings& findings) {
  std::string gbk;
  GbkConverter converter;
  LiteralTracker tracker;
  for (size_t length; !utf8.empty(); utf8.remove_prefix(length)) {
    length = std::max<size_t>(Utf8CharacterLength(utf8), 1);
    const std::string_view character = utf8.substr(0, length);
    tracker.Pass(character[0]);
    if (length == 1 && IsAscii(character[0])) {
      gbk += character;
      continue;
    }
    const auto converted = length > 1 ? converter.Convert(character) : std::nullopt;
    if (!converted && length > 1) {
      findings.AddUtf8(Rule::kNotInGbk, gbk.size(), character);
    } else if (!converted) {
      findings.Add(Rule::kBadUtf8, gbk.size(), {Hexadecimal(character[0])});
    }
    gbk += converted.value_or("?");
    if (keep_literals && tracker.InLiteral() && gbk.back() == '\\') gbk += '\\';
  }
  return gbk;
}

SourceText PrepareSource(std::string_view bytes, Findings& findings) {
  SourceText source;
  source.charset = CharsetOf(bytes);
  if (source.charset == Charset::kGbk) {
    source.gbk = bytes;
    FindBadBytes(source.gbk, findings);
  } else {
    const bool marked = source.charset == Charset::kMarkedUtf8;
    if (!marked) findings.Add(Rule::kUtf8, 0);
    source.gbk = ToGbkSource(bytes.substr(marked ? kByteOrderMark.size() : 0), !marked, findings);
  }
  const LineEndCounts ends = CountLineEnds(source.gbk);
  source.lf_style = ends.lf > ends.crlf;
  if (source.lf_style) findings.Add(Rule::kLfLines, ends.first_lf, {std::to_string(ends.lf)});
  return source;
}

}  // namespace karst::cli::check

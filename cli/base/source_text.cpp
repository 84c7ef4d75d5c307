// Charsets and line ends of sources.
#include "cli/base/source_text.h"

#include <algorithm>

#include "cli/base/gbk.h"
#include "cli/base/utf8_evidence.h"
#include "text/charset.h"

namespace karst::cli {
namespace {

void AddAsGbk(std::string_view utf8, SourceText& source) {
  for (std::string gbk;;) {
    size_t bad = 0;
    const bool whole = Utf8ToGbk(utf8, gbk, &bad);
    source.gbk += gbk;
    if (whole) return;
    utf8.remove_prefix(bad);
    const DecodedCharacter character = DecodeUtf8(utf8);
    const bool is_character = character.code != kNoCharacter;
    source.misfits.push_back({source.gbk.size(), std::string(utf8.substr(0, character.length)), is_character});
    source.gbk += '?';
    utf8.remove_prefix(character.length);
  }
}

// Puts a backslash after each character of a literal that ends in one.
void KeepLiterals(SourceText& source) {
  std::string kept;
  kept.reserve(source.gbk.size());
  LiteralTracker tracker;
  auto misfit = source.misfits.begin();
  const std::string_view text = source.gbk;
  for (size_t at = 0, length; at < text.size(); at += length) {
    if (misfit != source.misfits.end() && misfit->offset == at) (misfit++)->offset = kept.size();
    length = CharacterLength(text.substr(at));
    tracker.Pass(text[at]);
    kept += text.substr(at, length);
    if (length < 2 || !tracker.InLiteral() || kept.back() != '\\') continue;
    source.added.push_back(kept.size());
    kept += '\\';
  }
  source.gbk = std::move(kept);
}

SourceCharset CharsetAs(SourceReading reading, std::string_view bytes) {
  if (reading == SourceReading::kEvident) return CharsetOf(bytes);
  return bytes.starts_with(kByteOrderMark) ? SourceCharset::kMarkedUtf8 : SourceCharset::kGbk;
}

}  // namespace

SourceCharset CharsetOf(std::string_view bytes) {
  if (bytes.starts_with(kByteOrderMark)) return SourceCharset::kMarkedUtf8;
  const Utf8Evidence evidence = EvidenceOfUtf8(bytes);
  if (evidence == Utf8Evidence::kNone) return SourceCharset::kGbk;
  return evidence == Utf8Evidence::kEnough || FindBadByte(bytes) ? SourceCharset::kUtf8 : SourceCharset::kGbk;
}

std::string WithCrLf(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() + static_cast<size_t>(std::count(bytes.begin(), bytes.end(), '\n')));
  for (const char byte : bytes) {
    if (byte == '\n') text += '\r';
    text += byte;
  }
  return text;
}

SourceText ReadSourceText(std::string_view bytes, SourceReading reading) {
  SourceText source;
  source.charset = CharsetAs(reading, bytes);
  if (source.charset == SourceCharset::kMarkedUtf8) bytes.remove_prefix(kByteOrderMark.size());
  std::string with_cr_lf;
  if (reading == SourceReading::kEvident && bytes.find('\r') == std::string_view::npos) {
    source.bare_lf = static_cast<size_t>(std::count(bytes.begin(), bytes.end(), '\n'));
    if (source.bare_lf > 0) bytes = with_cr_lf = WithCrLf(bytes);
  }
  if (source.charset == SourceCharset::kGbk) {
    source.gbk = bytes;
  } else {
    AddAsGbk(bytes, source);
    if (source.charset == SourceCharset::kUtf8) KeepLiterals(source);
  }
  const LineEndCounts ends = CountLineEnds(source.gbk);
  source.mostly_lf = ends.lf > ends.crlf;
  return source;
}

PlaceFinder::Place PlaceFinder::Find(size_t offset) {
  const std::string_view text = source_.gbk;
  while (at_ < offset && at_ < text.size()) {
    if (next_added_ < source_.added.size() && source_.added[next_added_] == at_) {
      ++next_added_;
      ++at_;
      continue;
    }
    const std::string_view rest = text.substr(at_);
    const bool line_end = rest[0] == '\n' || (rest[0] == '\r' && !rest.starts_with("\r\n"));
    at_ += CharacterLength(rest);
    place_ = line_end ? Place{place_.line + 1, 1} : Place{place_.line, place_.column + 1};
  }
  return place_;
}

std::optional<size_t> FindBadByte(std::string_view gbk, size_t from) {
  for (size_t at = from; at < gbk.size();) {
    const DecodedCharacter character = DecodeGbk(gbk.substr(at));
    if (character.code == kNoCharacter) return at;
    at += character.length;
  }
  return std::nullopt;
}

LineEndCounts CountLineEnds(std::string_view gbk) {
  LineEndCounts counts;
  LiteralTracker tracker;
  for (size_t at = 0, step; at < gbk.size(); at += step) {
    const bool outside = !tracker.InLiteral() || tracker.BehindBackslash();
    step = StepLength(gbk.substr(at), tracker);
    tracker.Pass(gbk[at]);
    if (!outside || (gbk[at] != '\n' && gbk[at] != '\r')) continue;
    const bool pair = gbk[at] == '\r' ? gbk.substr(at + 1, 1) == "\n" : at > 0 && gbk[at - 1] == '\r';
    const bool last_cr = gbk[at] == '\r' && at + 1 == gbk.size();  // nothing follows that could be lost
    if (!pair && !last_cr && !counts.first_odd) counts.first_odd = at;
    if (gbk[at] == '\r') continue;
    counts.crlf += pair;
    if (!pair && counts.lf++ == 0) counts.first_lf = at;
  }
  return counts;
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

}  // namespace karst::cli

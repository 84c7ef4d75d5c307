// Checking: the passes, and the engine as the last word.
#include "cli/check/check.h"

#include <algorithm>
#include <new>

#include "cli/base/ascii.h"
#include "cli/base/encoding.h"
#include "cli/check/filter.h"
#include "cli/check/lexer.h"
#include "cli/check/statements.h"
#include "marc/marctree.h"

namespace karst::cli::check {
namespace {

// LIMIT: a larger source is not checked; the engine would not load one of 2 GB.
constexpr size_t kLargest = size_t{256} << 20;

// LIMIT: the engine looks through the blocks once for each Chain; with more steps than this it is not asked.
constexpr size_t kMostSteps = 10'000'000;

std::string_view WithoutOuterSpace(std::string_view text) {
  constexpr std::string_view kSpace = " \t\r\n";
  const size_t begin = std::min(text.find_first_not_of(kSpace), text.size());
  return text.substr(begin, text.find_last_not_of(kSpace) + 1 - begin);
}

size_t OffsetOfLine(std::string_view text, int line) {
  size_t offset = 0;
  for (; line > 1; --line) {
    const size_t end = text.find('\n', offset);
    if (end == std::string_view::npos) return offset;
    offset = end + 1;
  }
  return offset;
}

// The first byte of every stretch that is no GBK.
void FindBadBytes(std::string_view gbk, Findings& findings) {
  size_t after = std::string_view::npos;
  for (auto bad = FindBadByte(gbk); bad; bad = FindBadByte(gbk, *bad + 1)) {
    if (*bad != after) findings.Add(Rule::kBadGbk, *bad, {Hexadecimal(gbk[*bad])});
    after = *bad + 1;
  }
}

// What the program reads and the library, which takes the bytes as they are, does not.
void TellForm(const SourceText& source, Findings& findings) {
  const bool utf8 = source.charset == SourceCharset::kUtf8;
  const bool lf = source.bare_lf > 0;
  if (utf8 || lf) findings.Add(Rule::kHostForm, 0, {utf8 && lf ? "UTF-8, LF" : utf8 ? "UTF-8" : "LF"});
}

// The text to be checked, with findings on charset and line ends.
SourceText PrepareSource(std::string_view bytes, SourceReading reading, Findings& findings) {
  SourceText source = ReadSourceText(bytes, reading);
  TellForm(source, findings);
  if (source.charset == SourceCharset::kGbk) FindBadBytes(source.gbk, findings);
  for (const SourceText::Misfit& misfit : source.misfits) {
    if (misfit.is_character) {
      findings.AddUtf8(Rule::kNotInGbk, misfit.offset, misfit.bytes);
    } else {
      findings.Add(Rule::kBadUtf8, misfit.offset, {Hexadecimal(misfit.bytes[0])});
    }
  }
  if (source.mostly_lf) {
    const LineEndCounts ends = CountLineEnds(source.gbk);
    findings.Add(Rule::kLfLines, ends.first_lf, {std::to_string(ends.lf)});
  }
  return source;
}

// Loads the source, and builds the tree of a filter, as a run would. Neither runs any code. A lack of memory is no
// finding.
void AskEngine(const std::string& gbk, bool with_tree, Findings& findings) {
  CMARCTree engine;
  try {
    if (engine.LoadCode(gbk, "") != -1 && with_tree) engine.BuildMARCTree();
  } catch (const MemoryError&) {
    throw std::bad_alloc();
  } catch (const CError& error) {
    findings.Add(Rule::kEngine, OffsetOfLine(gbk, engine.LineOf(error)), {WithoutOuterSpace(error.what())});
  }
}

void CheckTokens(const SourceText& source, SourceKind kind, Findings& findings) {
  const TokenList list(source, findings);
  if (list.HasOpenLiteral()) return;
  bool may_build = kind == SourceKind::kFilter;
  if (kind == SourceKind::kScript) {
    Names names(list.Tokens());
    Statements(list, names, findings).CheckPiece(0, list.Tokens().size() - 1, PieceKind::kScript);
  } else {
    const BlockTree tree(list, findings);
    if (!tree.Broken()) FilterWalk(list, tree, findings).Run();
    may_build = !tree.StopHasCode() && tree.Chains() * tree.Blocks().size() <= kMostSteps;
  }
  if (!findings.HasErrors()) AskEngine(source.gbk, may_build, findings);
}

bool HasEnding(std::string_view name, std::string_view ending) {
  return name.size() >= ending.size() && LoweredAscii(name.substr(name.size() - ending.size())) == ending;
}

}  // namespace

SourceKind KindOf(std::string_view file_name, std::string_view bytes) {
  if (HasEnding(file_name, ".flt")) return SourceKind::kFilter;
  if (HasEnding(file_name, ".pro") || bytes.size() > kLargest) return SourceKind::kScript;
  Findings dropped;
  const SourceText source = PrepareSource(bytes, SourceReading::kEvident, dropped);
  const TokenList list(source, dropped);
  const auto& tokens = list.Tokens();
  const bool blocks = std::any_of(tokens.begin(), tokens.end(),
                                  [](const Token& token) { return token.cls == COMMAND && IsBlockWord(token.number); });
  return blocks ? SourceKind::kFilter : SourceKind::kScript;
}

CheckedSource CheckSource(std::string_view bytes, SourceKind kind, SourceReading reading) {
  CheckedSource checked;
  if (bytes.size() > kLargest) {
    checked.findings.Add(Rule::kTooLong, 0, {std::to_string(kLargest)});
    return checked;
  }
  checked.text = PrepareSource(bytes, reading, checked.findings);
  CheckTokens(checked.text, kind, checked.findings);
  return checked;
}

}  // namespace karst::cli::check

// SourceFile: reading, and what is told of a file that is not what it should be.
#include "cli/base/source_file.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "cli/base/encoding.h"
#include "cli/base/utf8_evidence.h"
#include "text/charset.h"

namespace karst::cli {
namespace {

// True if a character of three bytes speaks for UTF-8, but nothing else does.
bool CouldBeUtf8(const SourceText& source) {
  const bool long_character = std::any_of(source.gbk.begin(), source.gbk.end(),
                                          [](char byte) { return static_cast<unsigned char>(byte) >= 0xE0; });
  return source.charset == SourceCharset::kGbk && long_character && EvidenceOfUtf8(source.gbk) == Utf8Evidence::kLittle;
}

}  // namespace

SourceFile::SourceFile(const std::string& name, SourceReading reading, Console& console)
    : file_(name, console.TextEncoding()), console_(console) {
  std::string bytes;
  const std::string reason = file_.Read(bytes);
  if (!reason.empty()) {
    console.Say("cannot read " + Shown() + ": " + reason);
    return;
  }
  text_ = ReadSourceText(bytes, reading);
  good_ = text_.misfits.empty();
  if (!good_) TellMisfit();
  if (good_ && reading == SourceReading::kEvident) WarnOfDoubts();
}

bool SourceFile::LoadInto(CCode& engine) const {
  if (!good_) return false;
  if (engine.LoadCode(text_.gbk, file_.ForLibrary()) == -1) throw std::bad_alloc();
  return true;
}

std::string SourceFile::Place(size_t offset) const {
  const PlaceFinder::Place place = PlaceFinder(text_).Find(offset);
  return Shown() + ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
}

void SourceFile::TellMisfit() const {
  const SourceText::Misfit& misfit = text_.misfits.front();
  char character[16];
  std::snprintf(character, sizeof character, "U+%04X", static_cast<unsigned>(DecodeUtf8(misfit.bytes).code));
  const std::string fault = misfit.is_character ? std::string("GBK has no character ") + character
                                                : "byte " + Hexadecimal(misfit.bytes[0]) + " is no UTF-8";
  console_.Show(Place(misfit.offset) + ": " + fault + "\n");
}

void SourceFile::WarnOfDoubts() const {
  if (const auto odd = CountLineEnds(text_.gbk).first_odd) {
    console_.Say(Place(*odd) + ": warning: line ends of several kinds; karst check --fix mends them");
  }
  if (CouldBeUtf8(text_)) {
    console_.Say(Shown() +
                 ": warning: the file could be UTF-8 as well as GBK, and is read as GBK; a byte order mark, or " +
                 "more Chinese text, makes it UTF-8");
  }
  const auto bad = text_.charset == SourceCharset::kGbk ? FindBadByte(text_.gbk) : std::nullopt;
  if (!bad) return;
  console_.Say(Place(*bad) + ": warning: the file is neither GBK nor UTF-8, see byte " + Hexadecimal(text_.gbk[*bad]) +
               "; it is read as GBK, and karst check --fix mends what it can");
}

}  // namespace karst::cli

// A source file's bytes, turned into the text that the engine gets: its charset and its line ends.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace karst::cli {

// As what a source is read: as what its bytes evidently are, or byte for byte, as the library does.
enum class SourceReading { kEvident, kAsIs };

enum class SourceCharset { kGbk, kUtf8, kMarkedUtf8 };

// Marked where the bytes begin with the mark of UTF-8. Without the mark they are UTF-8 if all of them are, and they
// have so many characters that GBK would hardly look like that by chance (as for records), or are no GBK.
SourceCharset CharsetOf(std::string_view bytes);

struct SourceText {
  // What has no place in GBK: "?" stands for it in the text.
  struct Misfit {
    size_t offset;      // in the text
    std::string bytes;  // a character of UTF-8, or one byte that belongs to none
    bool is_character;
  };

  std::string gbk;  // what the engine gets
  SourceCharset charset = SourceCharset::kGbk;
  size_t bare_lf = 0;         // so many lines of the file end in LF alone, as all do, and in CR LF here
  bool mostly_lf = false;     // lines of the text have ends of several kinds, most an LF alone
  std::vector<size_t> added;  // the offsets of backslashes that the file has not
  std::vector<Misfit> misfits;
};

// A file that has LF and no CR at all gets CR LF. UTF-8 becomes GBK; a character of a literal whose second byte is then
// a backslash gets one more after it, without which loading would lose that byte. A file with the mark of UTF-8 is
// read as the library reads it, without that. Byte for byte, only the mark of UTF-8 counts.
SourceText ReadSourceText(std::string_view bytes, SourceReading reading);

// The bytes with a CR in front of each LF.
std::string WithCrLf(std::string_view bytes);

// Goes through a source from its beginning and says line and column, both from 1, as the file has them. A column is a
// character, whatever its width; a tab is one. A line ends at LF, or at a CR that no LF follows.
class PlaceFinder {
 public:
  struct Place {
    size_t line;
    size_t column;
  };

  // The source outlives the object.
  explicit PlaceFinder(const SourceText& source) : source_(source) {}
  // Offsets never fall from one call to the next.
  Place Find(size_t offset);

 private:
  const SourceText& source_;
  size_t at_ = 0;
  size_t next_added_ = 0;
  Place place_{1, 1};
};

// The first byte that is no GBK.
std::optional<size_t> FindBadByte(std::string_view gbk, size_t from = 0);

// Line ends outside literals.
struct LineEndCounts {
  size_t crlf = 0;
  size_t lf = 0;                    // alone
  size_t first_lf = 0;              // its offset
  std::optional<size_t> first_odd;  // the first LF or CR that stands alone
};
LineEndCounts CountLineEnds(std::string_view gbk);

// Where a walk over a source stands: in code, in a literal or in a comment. Line ends of either style end a comment. It
// is for text whose line ends and charset are still to be mended; what the engine makes of a source is
// language/source_rewrite.h.
class LiteralTracker {
 public:
  // Passes one character, given by its first byte.
  void Pass(char first);
  bool InLiteral() const { return place_ == Place::kLiteral; }
  // The byte just passed is a backslash that acts on the next one.
  bool BehindBackslash() const { return behind_backslash_; }

 private:
  enum class Place { kCode, kLiteral, kComment } place_ = Place::kCode;
  bool behind_backslash_ = false;
};

// How far a walk over GBK goes in one step: a character. Loading looks at bytes, so in a literal the second byte of a
// character may act as a backslash, and is then a step of its own.
size_t StepLength(std::string_view gbk, const LiteralTracker& tracker);

}  // namespace karst::cli

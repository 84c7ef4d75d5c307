// LineBreak: puts line breaks into a text that may hold markup.
#include <cstdint>

#include "builtins/args.h"
#include "builtins/table.h"
#include "text/mbtext.h"
#include "text/partmatcher.h"

namespace karst::builtin {
namespace {

// LIMIT: a break that would bring the text to this length is not made, and the scan ends there.
constexpr size_t kCapacity = 100000;
// More "&" than this without a ";" are no entities.
constexpr int kMostOpenEntities = 10;

// One scan over one text. The new text grows beside the old one, which is read once, from the first byte to the last:
// nothing that was put in is looked at again.
class LineBreaker {
 public:
  // `pair` holds the byte that opens markup and the byte that closes it; either may be missing.
  LineBreaker(std::string_view text, int32_t width, std::string_view line_break, std::string_view pair, CString& broken)
      : text_(text),
        width_(width),
        break_(line_break),
        pair_(pair),
        broken_(broken),
        matcher_(line_break, PartMatcher::Case::kIgnoreAscii) {}

  // Makes the new text. Gives its length, or 0 if it ran into the capacity; the breaks made so far then stand.
  int32_t Run() {
    bool fits = true;
    for (; fits && at_ < text_.size(); ++at_) {
      if (!Counts()) continue;
      if (state_ != kTrail && columns_ >= width_) fits = Break();
      ++columns_;
    }
    broken_.Append(text_.substr(copied_));
    return fits ? static_cast<int32_t>(broken_.size()) : 0;
  }

 private:
  // What a byte is to its character.
  enum State { kSingle, kLead, kTrail };

  void Step(char byte) {
    const bool is_lead = IsDBCSLeadByte(static_cast<unsigned char>(byte));
    state_ = state_ == kLead ? kTrail : is_lead ? kLead : kSingle;
  }

  // Takes the byte at at_; true if it is visible text.
  bool Counts() {
    const char byte = text_[at_];
    Step(byte);
    const bool at_break = BreakStandsHere();
    if (state_ == kSingle && (byte == '\r' || byte == '\n')) return false;
    if (nest_ == 0 && InEntity(byte)) return false;
    if (EndsMarkup(byte)) return false;
    if (at_break) columns_ = 0;
    return nest_ <= 0;
  }

  // True if the text goes on with a break that is there already, and behind it with something else.
  bool BreakStandsHere() {
    bool found = break_.empty();
    for (; seen_ < text_.size() && seen_ < at_ + break_.size(); ++seen_) found = matcher_.Take(text_[seen_]);
    return found && at_ + break_.size() < text_.size();
  }

  bool InEntity(char byte) {
    if (state_ == kSingle && byte == '&') {
      ++open_entities_;
      return true;
    }
    if (state_ == kSingle && byte == ';') open_entities_ = 0;
    if (open_entities_ > kMostOpenEntities) open_entities_ = 0;
    return open_entities_ != 0;
  }

  // Counts the nesting of markup; true for the byte that closes the outermost.
  bool EndsMarkup(char byte) {
    if (state_ != kSingle) return false;
    if (!pair_.empty() && byte == pair_[0]) {
      ++nest_;
      return false;
    }
    return pair_.size() > 1 && byte == pair_[1] && --nest_ == 0;
  }

  // Puts a break ahead of the byte at at_; false if there is no room for it.
  bool Break() {
    if (broken_.size() + (text_.size() - copied_) + break_.size() >= kCapacity) return false;
    broken_.Append(text_.substr(copied_, at_ - copied_));
    broken_.Append(break_);
    copied_ = at_;
    columns_ = 0;
    return true;
  }

  std::string_view text_;
  int32_t width_;
  std::string_view break_;
  std::string_view pair_;
  CString& broken_;
  PartMatcher matcher_;
  size_t at_ = 0;
  size_t copied_ = 0;  // as much of the text stands in the new one
  size_t seen_ = 0;    // as much of the text the matcher has taken
  State state_ = kSingle;
  int32_t columns_ = 0;
  int open_entities_ = 0;
  int nest_ = 0;
};

}  // namespace

// LineBreak (&text, width, break, pair): puts the break in ahead of the character that follows `width` columns. Line
// ends, entities ("&" to ";") and what stands between the two bytes of the pair do not count. The new length, or 0 if
// the text would have outgrown the capacity.
//
// CHOICE: a text that has reached the capacity already is not cut: its first break stops the scan, and it stays.
void LineBreak(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("LineBreak"));
  const std::string_view text = args.TextRef(1).view();
  const int32_t width = args.Int(2);
  const std::string_view line_break = args.Text(3).view();
  const std::string_view pair = args.Text(4).view();
  WorkText broken(self);
  result->SetVal(LineBreaker(text, width, line_break, pair, *broken).Run());
  args.SetText(1, broken->view());
}

}  // namespace karst::builtin

// CheckFormat: the words that a format takes against the words that the values give.
#include <cstring>
#include <string>

#include "cli/check/reader.h"

namespace karst::cli::check {
namespace {

// One word of a value: an int is one, an int64 two, a text one.
struct Word {
  Type type;
  size_t value;  // from 1
  bool begins;   // the value's first word
};

std::vector<Word> WordsOf(std::span<const Argument> values) {
  std::vector<Word> words;
  for (size_t i = 0; i < values.size(); ++i) {
    words.push_back({values[i].type, i + 1, true});
    if (values[i].type == Type::kInt64) words.push_back({Type::kInt64, i + 1, false});
  }
  return words;
}

class FormatWalk {
 public:
  FormatWalk(Reader& reader, const Token& format, std::span<const Argument> values, bool refused)
      : reader_(reader),
        format_(format),
        text_(format.text.substr(0, format.text.find('\0'))),
        words_(WordsOf(values)),
        refused_(refused) {}

  void Run() {
    for (at_ = text_.find('%'); at_ < text_.size() && going_; at_ = text_.find('%', at_)) Directive();
    if (!going_ || next_ == words_.size()) return;
    reader_.Report(Rule::kFormatLeft, format_, {std::to_string(words_[next_].value - 1)});
  }

 private:
  char Byte() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  bool IsOneOf(const char* set) const { return Byte() != 0 && std::strchr(set, Byte()) != nullptr; }
  std::string_view Shown() const { return text_.substr(begin_, at_ - begin_); }

  void Directive() {
    begin_ = at_++;
    if (Byte() == '%') {
      ++at_;
      return;
    }
    while (IsOneOf("-+ #0")) ++at_;
    Number();
    if (Byte() == '.') {
      ++at_;
      Number();
    }
    const bool wide = Length();
    if (at_ < text_.size()) ++at_;
    if (!going_ || at_ == begin_ + 1) return;
    Take(text_[at_ - 1], wide);
  }

  // A width or precision; a star takes an int.
  void Number() {
    if (Byte() == '*') {
      ++at_;
      TakeWord(Type::kInt);
      return;
    }
    while (IsOneOf("0123456789")) ++at_;
  }

  // True if two words are asked for.
  bool Length() {
    bool wide = false;
    while (IsOneOf("hljztLwI")) {
      const std::string_view rest = text_.substr(at_);
      const bool sized = rest.starts_with("I64") || rest.starts_with("I32");
      wide = rest.starts_with("I64") || rest.starts_with("ll") || rest[0] == 'j';
      at_ += sized ? 3 : rest.starts_with("ll") || rest.starts_with("hh") ? 2 : 1;
    }
    return wide;
  }

  void Take(char conversion, bool wide) {
    if (std::strchr("diuoxX", conversion)) return wide ? TakeWide() : TakeWord(Type::kInt);
    if (std::strchr("cCp", conversion)) return TakeWord(Type::kInt);
    if (std::strchr("sS", conversion)) return TakeWord(Type::kText);
    if (std::strchr("eEfFgGaA", conversion)) going_ = false;  // two words of bits; nothing more can be told
  }

  // False, with a finding, if the next word is not there or of another kind.
  bool Fits(Type wanted) {
    if (next_ == words_.size()) return Tell(Rule::kFormatMissing, {Shown()});
    const Type type = words_[next_].type;
    if (type == Type::kUnknown) return going_ = false;
    const bool same = (type == Type::kText) == (wanted == Type::kText);
    return same || Tell(Rule::kFormatType, {Shown(), std::to_string(words_[next_].value)});
  }

  void TakeWord(Type wanted) {
    if (!Fits(wanted)) return;
    const bool half = words_[next_].type == Type::kInt64;
    if (half) Tell(Rule::kFormatHalf, {Shown(), std::to_string(words_[next_].value)});
    ++next_;
  }

  void TakeWide() {
    if (!Fits(Type::kInt64)) return;
    if (words_[next_].type == Type::kInt && next_ + 1 < words_.size()) {
      Tell(Rule::kFormatHalf, {Shown(), std::to_string(words_[next_].value)});
    } else if (words_[next_].type == Type::kInt) {
      Tell(Rule::kFormatType, {Shown(), std::to_string(words_[next_].value)});
    }
    next_ += 2;
  }

  bool Tell(Rule rule, std::initializer_list<std::string_view> arguments) {
    reader_.Report(rule, refused_ ? RuleOf(rule).severity : Severity::kWarning, format_, arguments);
    return going_ = false;
  }

  Reader& reader_;
  const Token& format_;
  std::string_view text_;
  std::vector<Word> words_;
  bool refused_;
  size_t at_ = 0;
  size_t begin_ = 0;
  size_t next_ = 0;
  bool going_ = true;
};

}  // namespace

void CheckFormat(Reader& reader, const Token& format, std::span<const Argument> values, bool refused) {
  FormatWalk(reader, format, values, refused).Run();
}

}  // namespace karst::cli::check

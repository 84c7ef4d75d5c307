// The validation built-ins. Each gives 0 for a text that passes, else -1 and a message for the cataloguer in its last
// argument; a text that passes leaves that variable as it was.
#include <array>
#include <cstdint>
#include <cstring>
#include <optional>

#include "builtins/args.h"
#include "builtins/table.h"
#include "text/mbtext.h"

namespace karst::builtin {
namespace {

// What is wrong with a text; empty if nothing is.
class Message {
 public:
  // LIMIT: a longer message is cut at a whole character.
  static constexpr size_t kMostBytes = 4000;

  Message& operator<<(std::string_view part) {
    const size_t taken = part.copy(text_ + size_, WholeCharacters(part, room_));
    size_ += taken;
    room_ = taken < part.size() ? 0 : room_ - taken;
    return *this;
  }
  Message& operator<<(char byte) { return *this << std::string_view(&byte, 1); }

  std::string_view Text() const { return {text_, size_}; }

 private:
  char text_[kMostBytes];
  size_t size_ = 0;
  size_t room_ = kMostBytes;  // 0 once a part was cut
};

// Hands a check's outcome to the script; the message goes to argument `target`.
void Answer(Arguments& args, int target, const Message& message, CValue* result) {
  const bool passed = message.Text().empty();
  if (!passed) args.SetText(target, message.Text());
  result->SetVal(passed ? 0 : -1);
}

constexpr size_t kHyphenatedISBN = 13;
constexpr size_t kPlainISBN = 10;

// Takes the hyphens out, up to the first byte that has no place in a number, and gives that byte. The byte behind a
// hyphen is not looked at, so that an X may stand there.
std::optional<char> RemoveHyphens(CString& number) {
  for (size_t i = 0; i < number.size(); ++i) {
    char* byte = number.data() + i;
    if (*byte == '-') {
      std::memmove(byte, byte + 1, number.size() - i - 1);
      number.Resize(number.size() - 1);
    } else if (*byte < '0' || *byte > '9') {
      return *byte;
    }
  }
  return std::nullopt;
}

// A byte behind a hyphen counts whatever it is; one of a double-byte character counts below 0.
int DigitValue(char byte) { return static_cast<signed char>(byte) - '0'; }

bool HasRightCheckDigit(std::string_view number) {
  int sum = 0;
  for (int place = 1; place <= 9; ++place) sum += DigitValue(number[static_cast<size_t>(place) - 1]) * place;
  return sum % 11 == (number[9] == 'X' ? 10 : DigitValue(number[9]));
}

void CheckISBN(CString& number, Message& message) {
  if (number.size() != kHyphenatedISBN) {
    message << "长度不正确，应为13位字符";
  } else if (const std::optional<char> illegal = RemoveHyphens(number)) {
    message << "出现非法字符" << *illegal;
  } else if (number.size() != kPlainISBN) {
    message << "包含的'-'符号不正确，应为3个";
  } else if (number.data()[9] == 'x') {
    message << "校验位(最后一字符)应为大写X";
  } else if (!HasRightCheckDigit(number.view())) {
    message << "校验错误";
  }
}

constexpr char kSubfieldMark = 0x1F;

// How often a field has each subfield code.
class SubfieldCounts {
 public:
  explicit SubfieldCounts(std::string_view field) {
    for (size_t i = 1; i < field.size(); ++i) {
      if (field[i - 1] == kSubfieldMark) ++counts_[static_cast<unsigned char>(field[i])];
    }
  }
  int operator[](char code) const { return counts_[static_cast<unsigned char>(code)]; }

 private:
  std::array<int, 256> counts_{};
};

void CheckSubfields(std::string_view field, std::string_view single, std::string_view mandatory, Message& message) {
  const SubfieldCounts counts(field);
  for (const char code : mandatory) {
    if (counts[code] > 0) continue;
    message << "$" << code << "为必备子字段，但却没有...";
    return;
  }
  for (const char code : single) {
    if (counts[code] < 2) continue;
    message << "$" << code << "为不可重复子字段，但却重复出现了...";
    return;
  }
}

// A list of allowed characters that is empty allows all; an indicator that is missing is allowed.
bool IndicatorPasses(std::string_view indicator, std::string_view allowed) {
  return allowed.empty() || indicator.empty() || allowed.find(indicator) != std::string_view::npos;
}

void CheckIndicators(std::string_view field, std::string_view first, std::string_view second, Message& message) {
  const struct {
    const char* title;
    std::string_view indicator;
    std::string_view allowed;
  } indicators[] = {{"指示符1 '", field.substr(0, 1), first},
                    {"指示符2 '", field.substr(field.empty() ? 0 : 1, 1), second}};
  for (const auto& [title, indicator, allowed] : indicators) {
    if (IndicatorPasses(indicator, allowed)) continue;
    message << title << indicator << "' 错误，应为 '" << allowed << (allowed.size() < 2 ? "'..." : "' 之一...");
    return;
  }
}

}  // namespace

// VerifyISBN (number, &message): a number of 13 characters with three hyphens. The hyphens that were taken out are
// gone from a variable that was given by reference.
void VerifyISBN(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("VerifyISBN"));
  CString number = args.Text(1);
  const size_t size = number.size();
  args.TextRef(2);
  Message message;
  CheckISBN(number, message);
  if (number.size() != size) args.SetText(1, number.view());
  Answer(args, 2, message, result);
}

// VerifySubField (field, codes that must not repeat, mandatory codes, &message): which subfields a field has.
void VerifySubField(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("VerifySubField"));
  const std::string_view field = args.Text(1).view();
  const std::string_view single = args.Text(2).view();
  const std::string_view mandatory = args.Text(3).view();
  args.TextRef(4);
  Message message;
  CheckSubfields(field, single, mandatory, message);
  Answer(args, 4, message, result);
}

// VerifyIndicator (field, characters allowed for indicator 1, for indicator 2, &message): a field's first two bytes.
void VerifyIndicator(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("VerifyIndicator"));
  const std::string_view field = args.Text(1).view();
  const std::string_view first_allowed = args.Text(2).view();
  const std::string_view second_allowed = args.Text(3).view();
  args.TextRef(4);
  Message message;
  CheckIndicators(field, first_allowed, second_allowed, message);
  Answer(args, 4, message, result);
}

}  // namespace karst::builtin

// Built-ins for Chinese text: prices in capital numerals, cutting at whole characters, the date, single bytes, names.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include "builtins/args.h"
#include "builtins/changetext.h"
#include "builtins/table.h"
#include "helpers/zebutil.h"
#include "text/mbtext.h"

namespace karst::builtin {
namespace {

constexpr const char* kDigitWords[] = {"零", "壹", "贰", "叁", "肆", "伍", "陆", "柒", "捌", "玖"};
// By position from the last digit. LIMIT: an int has ten digits, so no higher unit is wanted.
constexpr const char* kUnitWords[] = {"分", "角", "圆", "拾", "佰", "仟", "萬", "拾", "佰", "仟"};

// The units that stand also where their own digit is 0: 圆, and every fourth position above it.
bool IsGroupUnit(size_t position) { return position >= 2 && (position - 2) % 4 == 0; }

// Appends a price above 0, in hundredths.
void AppendPriceWords(int32_t price, CString& words) {
  char digits[12];
  const size_t count = static_cast<size_t>(std::snprintf(digits, sizeof digits, "%d", price));
  bool zeros_pending = false;
  for (size_t i = 0; i < count; ++i) {
    const size_t position = count - 1 - i;
    const int digit = digits[i] - '0';
    if (digit == 0) {
      zeros_pending = true;
      if (IsGroupUnit(position)) words += kUnitWords[position];
      continue;
    }
    if (zeros_pending) words += kDigitWords[0];
    (words += kDigitWords[digit]) += kUnitWords[position];
    zeros_pending = false;
  }
}

// Where the first character that begins at `position` or behind begins; the text's length if there is none.
size_t CharacterFrom(std::string_view text, int32_t position) {
  const size_t wanted = static_cast<size_t>(std::max(position, 0));
  if (wanted >= text.size()) return text.size();
  const size_t whole = WholeCharacters(text, wanted);
  return whole == wanted ? wanted : wanted + 1;
}

}  // namespace

// HanziPrice (price, &words): 0, or -1 for a negative price, with the variable left alone.
void HanziPrice(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("HanziPrice"));
  const int32_t price = args.Int(1);
  args.TextRef(2);
  result->SetVal(-1);
  if (price < 0) return;
  WorkText words(self);
  if (price == 0) {
    *words = "零圆";
  } else {
    AppendPriceWords(price, *words);
  }
  args.SetText(2, words->view());
  result->SetVal(0);
}

// CutHanziStr (&text, length): cuts at the first character that begins at `length` or behind and puts "..." there.
// The place of the cut, or the text's length if nothing was cut.
//
// CHOICE: a text of any length is taken, and what is kept of it is kept whole; no buffer cuts it first.
void CutHanziStr(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("CutHanziStr"));
  const std::string_view whole = args.TextRef(1).view();
  const size_t cut = CharacterFrom(whole, args.Int(2));
  ChangeText(self, args.Cell(1), [cut](CString& text) {
    if (cut == text.size()) return;
    text.Resize(cut);
    text += "...";
  });
  result->SetVal(static_cast<int32_t>(cut));
}

// GetDate (date): 0. Today's local date as eight digits; a script sees it in a variable given by reference.
void GetDate(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("GetDate"));
  args.Text(1);
  const std::time_t now = std::time(nullptr);
  std::tm today{};
  localtime_r(&now, &today);
  char date[40];
  const int length =
      std::snprintf(date, sizeof date, "%04d%02d%02d", today.tm_year + 1900, today.tm_mon + 1, today.tm_mday);
  args.SetText(1, {date, static_cast<size_t>(length)});
  result->SetVal(0);
}

// InStr (text, byte): where the byte of the integer's low 8 bits first stands, also inside a character, or -1.
void InStr(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("InStr"));
  const std::string_view text = args.Text(1).view();
  const size_t at = text.find(static_cast<char>(args.Int(2)));
  result->SetVal(at == std::string_view::npos ? -1 : static_cast<int32_t>(at));
}

// MakeFufenName (first, second, &name): the length of the name that is made of the two.
void MakeFufenName(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("MakeFufenName"));
  const CString& first_part = args.Text(1);
  const CString& second_part = args.Text(2);
  args.TextRef(3);
  WorkText name(self);
  result->SetVal(::MakeFufenName(first_part, second_part, *name));
  args.SetText(3, name->view());
}

}  // namespace karst::builtin

// The string built-ins. Positions and lengths count bytes from 0; only StrCmp and SubStr go by characters.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "builtins/args.h"
#include "builtins/changetext.h"
#include "builtins/table.h"
#include "text/mbtext.h"

namespace karst::builtin {
namespace {

constexpr int kHighestRadix = 36;

// A position that a script gave: below the start counts as the start.
size_t Position(int32_t given) { return static_cast<size_t>(std::max(given, 0)); }

int32_t Sign(int order) { return (order > 0) - (order < 0); }

}  // namespace

// itos (value, &target, radix): 0. The value in radix 2 to 36, with a minus sign in radix 10 only.
//
// CHOICE: a radix above 36, for which there are no digits, stops the script as one below 2 does.
void Itos(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("itos"));
  const int32_t value = args.Int(1);
  args.TextRef(2);
  const int32_t radix = args.Int(3);
  if (radix < 2 || radix > kHighestRadix) self->halt("不能使用%d进制", radix);
  char digits[33];
  args.SetText(2, _ltoa(value, digits, radix));
  result->SetVal(0);
}

// stoi (text): the number at the head of the text, or 0. A number past the int range counts as the range's end.
void Stoi(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("stoi"));
  result->SetVal(TextToInt(args.Text(1)));
}

// StrCmp (first, second): 0 if they are equal, else -1 or 1 by which sorts first.
void StrCmp(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("StrCmp"));
  const CString& left = args.Text(1);
  result->SetVal(_mbscmp(left, args.Text(2)));
}

// MemCmp (first, second, count): 0 if the bytes, up to a text's NUL and with it, are equal, else -1 or 1. A negative
// count compares none.
void MemCmp(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("MemCmp"));
  if (argc != 3) args.HaltForCount();
  const CString& left = args.Text(1);
  const CString& right = args.Text(2);
  const size_t count = std::min({left.size() + 1, right.size() + 1, Position(args.Int(3))});
  result->SetVal(Sign(std::memcmp(left.data(), right.data(), count)));
}

// SubStr (text, sought): where it first occurs, or -1.
void SubStr(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("SubStr"));
  const CString& text = args.Text(1);
  const size_t at = FindByCharacters(text.view(), args.Text(2).view());
  result->SetVal(at == std::string_view::npos ? -1 : static_cast<int32_t>(at));
}

// CutStr (&text, start, count): takes bytes out. The new length, or -1, with the text unchanged, where there is
// nothing to take: a count below 1, a start behind the text's end.
void CutStr(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("CutStr"));
  const size_t length = args.TextRef(1).size();
  const size_t start = Position(args.Int(2));
  const int32_t count = args.Int(3);
  result->SetVal(-1);
  if (count <= 0 || start > length) return;
  const size_t cut = std::min(static_cast<size_t>(count), length - start);
  result->SetVal(ChangeText(self, args.Cell(1), [=](CString& text) {
    std::memmove(text.data() + start, text.data() + start + cut, length - start - cut);
    text.Resize(length - cut);
  }));
}

// CopyStr (text, start, count, &target): the length of the copy, or -1, with the target unchanged, for a start behind
// the text's end. A negative count copies nothing.
void CopyStr(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("CopyStr"));
  const std::string_view text = args.Text(1).view();
  const size_t start = Position(args.Int(2));
  const size_t count = Position(args.Int(3));
  args.TextRef(4);
  if (start > text.size()) {
    result->SetVal(-1);
    return;
  }
  const std::string_view copy = text.substr(start, count);
  result->SetVal(ChangeText(self, args.Cell(4), [copy](CString& target) { target.Assign(copy); }));
}

// StrLen (text): its length.
void StrLen(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("StrLen"));
  result->SetVal(args.Text(1).GetLength());
}

// StrToChar (text, index): the byte there, below 0 for a byte of a double-byte character, or 0 behind the end.
void StrToChar(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("StrToChar"));
  const CString& text = args.Text(1);
  const size_t index = Position(args.Int(2));
  result->SetVal(index < text.size() ? int32_t{static_cast<signed char>(text.data()[index])} : 0);
}

// StrCat (&text, tail): adds the tail. The new length.
void StrCat(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("StrCat"));
  args.TextRef(1);
  const std::string_view tail = args.Text(2).view();
  result->SetVal(ChangeText(self, args.Cell(1), [tail](CString& text) { text.Append(tail); }));
}

// StrIns (&text, position, inserted): puts a text in, at the end for a position behind it. The new length.
void StrIns(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("StrIns"));
  const size_t length = args.TextRef(1).size();
  const size_t position = std::min(Position(args.Int(2)), length);
  const std::string_view inserted = args.Text(3).view();
  result->SetVal(ChangeText(self, args.Cell(1), [=](CString& text) {
    text.Extend(inserted.size());
    char* place = text.data() + position;
    std::memmove(place + inserted.size(), place, length - position);
    std::memcpy(place, inserted.data(), inserted.size());
  }));
}

// CharToStr (code, &target): 1. The target becomes the byte of the code's low 8 bits, or empty for 0.
void CharToStr(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("CharToStr"));
  const char byte = static_cast<char>(args.Int(1));
  args.TextRef(2);
  args.SetText(2, {&byte, 1});
  result->SetVal(1);
}

}  // namespace karst::builtin

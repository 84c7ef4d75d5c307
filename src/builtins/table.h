// The table of built-ins. A row's position is its index form ("@" and the number), which running scripts hold in the
// place of the name: rows never move.
//
// Kinds: s text, i integer, s& and i& the same by reference; (,s) may be left out; ... any further values; i|s either.
#pragma once

#include <iterator>
#include <string_view>

#include "builtins/handlers.h"

namespace karst {

// clang-format off
inline constexpr KernelFunctionRow kKernelFunctions[] = {
    {"itos", 1, nullptr, "i,s&,i"},
    {"stoi", 2, nullptr, "s"},
    {"printf", 44, builtin::Printf, "s,..."},
    {"StrCmp", 7, nullptr, "s,s"},
    {"MemCmp", 8, nullptr, "s,s,i"},
    {"SubStr", 9, nullptr, "s,s"},
    {"CutStr", 10, nullptr, "s&,i,i"},
    {"CopyStr", 11, nullptr, "s,i,i,s&"},
    {"StrLen", 12, nullptr, "s"},
    {"StrToChar", 13, nullptr, "s,i"},
    {"StrCat", 14, nullptr, "s&,s"},
    {"StrIns", 15, nullptr, "s&,i,s"},
    {"CharToStr", 16, nullptr, "i,s&"},
    {"DateCmp", 17, nullptr, "s,s"},
    {"PriceToInt", 18, nullptr, "s"},
    {"Open", 19, builtin::Open, "s,s"},
    {"Close", 20, builtin::Close, "i"},
    {"Seek", 23, builtin::Seek, "i,i,i"},
    {"Read", 21, builtin::Read, "i,s&,i"},
    {"Write", 22, builtin::Write, "i,s,i"},
    {"fprintf", 24, builtin::Fprintf, "i,s,..."},
    {"sprintf", 25, builtin::Sprintf, "s&,s,..."},
    {"fnprintf", 26, builtin::Fnprintf, "s,s,..."},
    {"FnCat", 58, builtin::FnCat, "s,s"},
    {"ReadLine", 59, builtin::ReadLine, "i,s&,i"},
    {"GetFld", 48, nullptr, "s,s,i,s&"},
    {"GetGroup", 49, nullptr, "s,i,s&"},
    {"GetSubFld", 50, nullptr, "s,s,i,s&"},
    {"VerifyISBN", 54, nullptr, "s,s&"},
    {"VerifySubField", 56, nullptr, "s,s,s,s&"},
    {"VerifyIndicator", 57, nullptr, "s,s,s,s&"},
    {"RplcFld", 60, nullptr, "s&,s,i,s"},
    {"RplcGroup", 61, nullptr, "s&,i,s"},
    {"RplcSubFld", 62, nullptr, "s&,s,i,s"},
    {"HanziPrice", 51, nullptr, "i,s&"},
    {"CutHanziStr", 52, nullptr, "s&,i"},
    {"GetDate", 53, nullptr, "s"},
    {"InStr", 55, nullptr, "s,i"},
    {"LineBreak", 64, nullptr, "s&,i,s,s"},
    {"MsgBox", 43, nullptr, "s"},
    {"RplcStr", 37, nullptr, "s,s"},
    {"IsNum", 40, nullptr, "s"},
    {"DBCreate", 28, nullptr, "i"},
    {"DBDestroy", 29, nullptr, "i"},
    {"DBWrite", 30, nullptr, "i,s,i,i(,s)"},
    {"DBSearch", 31, nullptr, "i,s,i,i&(,s&)"},
    {"DBRead", 32, nullptr, "i,i,s&,i,i&(,s&)"},
    {"DBDelete", 33, nullptr, "i,i|s"},
    {"DBSort", 63, nullptr, "i,s,s"},
    {"CanonicalizeURL", 66, nullptr, "s&"},
    {"EscapeString", 67, nullptr, "s&,s"},
    {"min", 68, nullptr, "i,i"},
    {"max", 69, nullptr, "i,i"},
    {"HTMLString", 70, nullptr, "s&"},
    {"URLDelParam", 73, nullptr, "s&,i,s"},
    {"StrFindOneOf", 74, nullptr, "s,s"},
    {"StrReplace", 75, nullptr, "s&,s,s"},
    {"IsVar", 71, nullptr, "s"},
    {"IsFunc", 72, nullptr, "s"},
    {"bmprintf", 39, builtin::Bmprintf, "s,s,s,..."},
    {"OpenWindow", 3, nullptr, "s"},
    {"CloseWindow", 4, nullptr, "i"},
    {"WaitWindow", 5, nullptr, "i,s&"},
    {"MoveWindow", 27, nullptr, "i,i,i,i,i"},
    {"SetHyperFile", 6, nullptr, "i,s"},
    {"SetTitle", 36, nullptr, "i,s"},
    {"PrintWindow", 34, nullptr, "i(,i)"},
    {"GetHyperMacro", 35, nullptr, "i,s,s&"},
    {"SetHyperMacro", 45, nullptr, "i,s,s"},
    {"ZebGetRcd", 47, nullptr, "s,s,s&"},
    {"MakeFufenName", 76, nullptr, "s,s,s&"},
    {"", 77, nullptr, ""},
};
// clang-format on

inline constexpr int kKernelFunctionCount = static_cast<int>(std::size(kKernelFunctions)) - 1;

// How many arguments a call must have: those ahead of "..." and of "(".
constexpr int RequiredArguments(std::string_view kinds) {
  int count = 0;
  for (size_t i = 0; i < kinds.size() && kinds[i] != '(' && kinds[i] != '.'; ++i) {
    const bool begins = i == 0 || kinds[i - 1] == ',';
    if (begins) ++count;
  }
  return count;
}

// A built-in's own row, by its exact name: a name that is not in the table does not compile.
consteval const KernelFunctionRow& BuiltinRow(std::string_view name) {
  int row = 0;
  while (name != kKernelFunctions[row].name) ++row;
  return kKernelFunctions[row];
}

namespace table_checks {

constexpr bool CodesAreUnique() {
  for (const KernelFunctionRow& row : kKernelFunctions) {
    int same = 0;
    for (const KernelFunctionRow& other : kKernelFunctions) same += row.code == other.code;
    if (same != 1) return false;
  }
  return true;
}

// The index form is written over the name in the code, so it must fit there.
constexpr bool NamesHoldTheirIndexForms() {
  for (int row = 0; row < kKernelFunctionCount; ++row) {
    const size_t index_form = row < 10 ? 2 : 3;
    if (std::string_view(kKernelFunctions[row].name).size() < index_form) return false;
  }
  return true;
}

inline constexpr const KernelFunctionRow& kEndRow = kKernelFunctions[kKernelFunctionCount];

static_assert(kKernelFunctionCount == 71);
static_assert(std::string_view(kEndRow.name).empty() && kEndRow.code == 77 && kEndRow.handler == nullptr);
static_assert(CodesAreUnique());
static_assert(NamesHoldTheirIndexForms());

}  // namespace table_checks

}  // namespace karst

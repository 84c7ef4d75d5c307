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
    {"itos", 1, builtin::Itos, "i,s&,i"},
    {"stoi", 2, builtin::Stoi, "s"},
    {"printf", 44, builtin::Printf, "s,..."},
    {"StrCmp", 7, builtin::StrCmp, "s,s"},
    {"MemCmp", 8, builtin::MemCmp, "s,s,i"},
    {"SubStr", 9, builtin::SubStr, "s,s"},
    {"CutStr", 10, builtin::CutStr, "s&,i,i"},
    {"CopyStr", 11, builtin::CopyStr, "s,i,i,s&"},
    {"StrLen", 12, builtin::StrLen, "s"},
    {"StrToChar", 13, builtin::StrToChar, "s,i"},
    {"StrCat", 14, builtin::StrCat, "s&,s"},
    {"StrIns", 15, builtin::StrIns, "s&,i,s"},
    {"CharToStr", 16, builtin::CharToStr, "i,s&"},
    {"DateCmp", 17, builtin::DateCmp, "s,s"},
    {"PriceToInt", 18, builtin::PriceToInt, "s"},
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
    {"GetFld", 48, builtin::GetFld, "s,s,i,s&"},
    {"GetGroup", 49, builtin::GetGroup, "s,i,s&"},
    {"GetSubFld", 50, builtin::GetSubFld, "s,s,i,s&"},
    {"VerifyISBN", 54, builtin::VerifyISBN, "s,s&"},
    {"VerifySubField", 56, builtin::VerifySubField, "s,s,s,s&"},
    {"VerifyIndicator", 57, builtin::VerifyIndicator, "s,s,s,s&"},
    {"RplcFld", 60, builtin::RplcFld, "s&,s,i,s"},
    {"RplcGroup", 61, builtin::RplcGroup, "s&,i,s"},
    {"RplcSubFld", 62, builtin::RplcSubFld, "s&,s,i,s"},
    {"HanziPrice", 51, builtin::HanziPrice, "i,s&"},
    {"CutHanziStr", 52, builtin::CutHanziStr, "s&,i"},
    {"GetDate", 53, builtin::GetDate, "s"},
    {"InStr", 55, builtin::InStr, "s,i"},
    {"LineBreak", 64, builtin::LineBreak, "s&,i,s,s"},
    {"MsgBox", 43, builtin::MsgBox, "s"},
    {"RplcStr", 37, builtin::RplcStr, "s,s"},
    {"IsNum", 40, builtin::IsNum, "s"},
    {"DBCreate", 28, builtin::DBCreate, "i"},
    {"DBDestroy", 29, builtin::DBDestroy, "i"},
    {"DBWrite", 30, builtin::DBWrite, "i,s,i,i(,s)"},
    {"DBSearch", 31, builtin::DBSearch, "i,s,i,i&(,s&)"},
    {"DBRead", 32, builtin::DBRead, "i,i,s&,i,i&(,s&)"},
    {"DBDelete", 33, builtin::DBDelete, "i,i|s"},
    {"DBSort", 63, builtin::DBSort, "i,s,s"},
    {"CanonicalizeURL", 66, builtin::CanonicalizeURL, "s&"},
    {"EscapeString", 67, builtin::EscapeString, "s&,s"},
    {"min", 68, builtin::Min, "i,i"},
    {"max", 69, builtin::Max, "i,i"},
    {"HTMLString", 70, builtin::HTMLString, "s&"},
    {"URLDelParam", 73, builtin::URLDelParam, "s&,i,s"},
    {"StrFindOneOf", 74, builtin::StrFindOneOf, "s,s"},
    {"StrReplace", 75, builtin::StrReplace, "s&,s,s"},
    {"IsVar", 71, builtin::IsVar, "s"},
    {"IsFunc", 72, builtin::IsFunc, "s"},
    {"bmprintf", 39, builtin::Bmprintf, "s,s,s,..."},
    {"OpenWindow", 3, builtin::OpenWindow, "s"},
    {"CloseWindow", 4, builtin::CloseWindow, "i"},
    {"WaitWindow", 5, builtin::WaitWindow, "i,s&"},
    {"MoveWindow", 27, builtin::MoveWindow, "i,i,i,i,i"},
    {"SetHyperFile", 6, builtin::SetHyperFile, "i,s"},
    {"SetTitle", 36, builtin::SetTitle, "i,s"},
    {"PrintWindow", 34, builtin::PrintWindow, "i(,i)"},
    {"GetHyperMacro", 35, builtin::GetHyperMacro, "i,s,s&"},
    {"SetHyperMacro", 45, builtin::SetHyperMacro, "i,s,s"},
    {"ZebGetRcd", 47, builtin::ZebGetRcd, "s,s,s&"},
    {"MakeFufenName", 76, builtin::MakeFufenName, "s,s,s&"},
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

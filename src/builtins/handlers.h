// The handlers of the built-ins, by family. Only the table of built-ins names them.
#pragma once

#include "builtins/funcarray.h"

namespace karst::builtin {

using Handler = void(CFuncArray* self, int argc, int first, CValue* result);

// Formatted output (printapi.cpp).
Handler Printf, Fprintf, Sprintf, Fnprintf, Bmprintf;

// Files (fileapi.cpp).
Handler Open, Close, Seek, Read, Write, FnCat, ReadLine;

// Strings (stringapi.cpp).
Handler Itos, Stoi, StrCmp, MemCmp, SubStr, CutStr, CopyStr, StrLen, StrToChar, StrCat, StrIns, CharToStr;

// Dates, prices, the user, what exists, the host's records (zebhostapi.cpp).
Handler DateCmp, PriceToInt, MsgBox, IsVar, IsFunc, ZebGetRcd;

// Checks of a record's contents (catalogue/validation.cpp).
Handler VerifyISBN, VerifySubField, VerifyIndicator;

// Chinese text and prices (catalogue/chinese.cpp, catalogue/linebreak.cpp).
Handler HanziPrice, CutHanziStr, LineBreak, GetDate, InStr, MakeFufenName;

// Statistics tables (dbapi.cpp).
Handler DBCreate, DBDestroy, DBWrite, DBRead, DBSearch, DBDelete, DBSort;

// Hypertext windows (hyperapi.cpp).
Handler OpenWindow, CloseWindow, WaitWindow, MoveWindow, SetHyperFile, SetTitle, PrintWindow, GetHyperMacro,
    SetHyperMacro;

// MARC fields (catalogue/marcapi.cpp).
Handler GetFld, GetGroup, GetSubFld, RplcFld, RplcGroup, RplcSubFld;

// Texts, URLs, HTML (catalogue/textapi.cpp).
Handler RplcStr, StrReplace, StrFindOneOf, IsNum, CanonicalizeURL, EscapeString, HTMLString, URLDelParam, Min, Max;

}  // namespace karst::builtin

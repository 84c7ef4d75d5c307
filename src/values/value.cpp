// CValue: ownership of texts, and the sum.
#include "values/value.h"

#include <cstring>
#include <new>

#include "formats/format.h"
#include "helpers/zebutil.h"
#include "text/mbtext.h"
#include "values/vararray.h"

namespace {

constexpr char kSumTypeError[] = "CValue operator + val1 leixing error ...";

// A copy from new[], or MemoryError with `message`.
char* CopyText(const char* text, const char* message) {
  const size_t size = std::strlen(text) + 1;
  char* copy = new (std::nothrow) char[size];
  if (!copy) throw karst::MemoryError(message);
  std::memcpy(copy, text, size);
  return copy;
}

int32_t WrappingSum(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
int64_t WrappingSum(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

const char* TextOf(const CValue& value) { return value.string ? value.string : ""; }

CValue JoinedText(const char* left, const char* right) {
  CValue joined;
  joined.string = AddTwoString(left, right);
  joined.leixing = karst::kText;
  joined.bOwn = true;
  return joined;
}

CValue SumFromInt(const CValue& left, const CValue& right) {
  switch (right.leixing) {
    case karst::kInt: return CValue(WrappingSum(left.lVal, right.lVal));
    case karst::kInt64: return CValue(WrappingSum(int64_t{left.lVal}, right.i64Val));
    case karst::kText: return CValue(WrappingSum(left.lVal, karst::TextToInt(TextOf(right))));
    default: throw CError(kSumTypeError, -1, -1);
  }
}

CValue SumFromInt64(const CValue& left, const CValue& right) {
  switch (right.leixing) {
    case karst::kInt: return CValue(WrappingSum(left.i64Val, int64_t{right.lVal}));
    case karst::kInt64: return CValue(WrappingSum(left.i64Val, right.i64Val));
    case karst::kText: return CValue(WrappingSum(left.i64Val, _atoi64(TextOf(right))));
    default: throw CError(kSumTypeError, -1, -1);
  }
}

CValue SumFromText(const CValue& left, const CValue& right) {
  if (right.leixing == karst::kText) return JoinedText(TextOf(left), TextOf(right));
  if (right.leixing != karst::kInt) throw CError(kSumTypeError, -1, -1);
  char digits[40];
  return JoinedText(TextOf(left), _ltoa(right.lVal, digits, 10));
}

}  // namespace

CValue::CValue(const char* text, bool bCopy) : leixing(karst::kText) {
  if (!text) return;
  if (!bCopy) {
    string = const_cast<char*>(text);
    return;
  }
  string = CopyText(text, "CValue::CValue(LPTSTR,BOOL) malloc error ...");
  bOwn = true;
}

CValue::CValue(const CVarCell* cell, bool bCopy) : leixing(cell->leixing) {
  if (leixing == karst::kInt) lVal = cell->lVal;
  if (leixing == karst::kInt64) i64Val = cell->i64Val;
  if (leixing != karst::kText || !cell->string) return;
  if (!bCopy) {
    string = cell->string->data();
    return;
  }
  string = CopyText(cell->string->c_str(), "CValue(LPVAR,BOOL) malloc error...");
  bOwn = true;
}

CValue::CValue(const CValue& source) : leixing(source.leixing) {
  if (leixing != karst::kText) {
    lVal = source.lVal;
    i64Val = source.i64Val;
    dwVal = source.dwVal;
    return;
  }
  if (!source.string) return;
  string = CopyText(source.string, "CValue(const CValue &) malloc error ...");
  bOwn = true;
}

int CValue::SetVal(const char* text, bool bCopy) {
  // The copy is made ahead of the release: `text` may be this value's own.
  char* copy = bCopy && text ? CopyText(text, "CValue::SetVal(LPTSTR,BOOL) malloc error") : nullptr;
  FreeText();
  lVal = 0;
  leixing = karst::kText;
  if (!bCopy) {
    string = const_cast<char*>(text);
    return 0;
  }
  string = copy;
  bOwn = copy != nullptr;
  return copy ? 0 : -1;
}

int CValue::SetVal(const CVarCell* cell, bool bCopy) {
  if (cell->leixing == karst::kInt) return SetVal(cell->lVal);
  if (cell->leixing == karst::kInt64) return SetVal(cell->i64Val);
  FreeText();
  leixing = cell->leixing;
  if (leixing != karst::kText) return 0;
  lVal = 0;
  if (!cell->string) return bCopy ? -1 : 0;
  if (!bCopy) {
    string = cell->string->data();
    return 0;
  }
  string = CopyText(cell->string->c_str(), "CValue::SetVal(LPVAR,BOOL) malloc error");
  bOwn = true;
  return 0;
}

CValue& CValue::operator=(const CValue& src) {
  if (src.leixing == karst::kInt) SetVal(src.lVal);
  if (src.leixing == karst::kInt64) SetVal(src.i64Val);
  if (src.leixing == karst::kText) SetVal(src.string, true);
  return *this;
}

CValue& CValue::operator=(CValue&& src) {
  if (src.leixing != karst::kText || !src.bOwn) return *this = src;
  if (this == &src) return *this;
  FreeText();
  TakeOver(src);
  lVal = 0;
  return *this;
}

CValue operator+(const CValue& val1, const CValue& val2) {
  switch (val1.leixing) {
    case karst::kInt: return SumFromInt(val1, val2);
    case karst::kInt64: return SumFromInt64(val1, val2);
    case karst::kText: return SumFromText(val1, val2);
    default: throw CError(kSumTypeError, -1, -1);
  }
}

char* AddTwoString(const char* s1, const char* s2) {
  if (!s1 || !s2) throw CError("AddTwoString() s1 or s2 == NULL", -1, -1);
  const size_t first = std::strlen(s1);
  const size_t second = std::strlen(s2);
  char* joined = new (std::nothrow) char[first + second + 1];
  if (!joined) throw karst::MemoryError("AddTwoString() malloc error ...");
  std::memcpy(joined, s1, first);
  std::memcpy(joined + first, s2, second + 1);
  return joined;
}

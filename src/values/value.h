// CValue: one tagged value, an int, an int64 or a text: what every expression, built-in and variable operation passes
// around. Text is NUL-terminated GBK; lengths count bytes.
#pragma once

#include <cstdint>

#include "export.h"

class CVarCell;

namespace karst {

// The type codes of CValue::leixing and CVarCell::leixing.
enum ValueType : int32_t {
  kNoValue = 0,
  kInt = 1,
  kInt64 = 2,
  kWord = 3,
  kText = 4,
  kFrameMark = 9,  // on cells of the variable table only
};

}  // namespace karst

class KARST_API CValue {
 public:
  CValue() = default;
  explicit CValue(int32_t n) : leixing(karst::kInt), lVal(n) {}
  explicit CValue(int64_t n) : leixing(karst::kInt64), i64Val(n) {}
  // Borrows `text`, which must outlive the value, or, with `bCopy`, keeps a copy. A null text leaves a null string.
  CValue(const char* text, bool bCopy);
  CValue(const CVarCell* cell, bool bCopy);
  // A text is copied, whether the source owned it or not.
  CValue(const CValue& source);
  CValue(CValue&& source) noexcept { TakeOver(source); }
  virtual ~CValue() { FreeText(); }

  // Each frees an owned text first. 0, or -1 where told.
  int SetVal(int32_t n) {
    FreeText();
    leixing = karst::kInt;
    lVal = n;
    return 0;
  }
  int SetVal(int64_t n) {
    FreeText();
    leixing = karst::kInt64;
    i64Val = n;
    return 0;
  }
  // -1 for a null text that is to be copied; the value then is a text with none.
  int SetVal(const char* text, bool bCopy);
  // -1 for a text cell that has no string and is to be copied.
  int SetVal(const CVarCell* cell, bool bCopy);

  // Assigns an int, an int64 or a private copy of a text; any other type changes nothing.
  CValue& operator=(const CValue& src);
  // The same from a value that is no longer needed: its own text changes hands.
  CValue& operator=(CValue&& src);
  // Makes a borrowed text this value's own, so that it outlives its source.
  void KeepText() {
    if (leixing == karst::kText && !bOwn) SetVal(string, true);
  }

  int32_t leixing = karst::kNoValue;  // the type code ("leixing": type)
  int32_t lVal = 0;                   // type 1
  int64_t i64Val = 0;                 // type 2
  uint32_t dwVal = 0;                 // type 3
  char* string = nullptr;             // type 4, else null
  bool bOwn = false;                  // true: `string` is this value's own and is freed by it

 private:
  void TakeOver(CValue& source) {
    leixing = source.leixing;
    lVal = source.lVal;
    i64Val = source.i64Val;
    dwVal = source.dwVal;
    string = source.string;
    bOwn = source.bOwn;
    source.string = nullptr;
    source.bOwn = false;
  }
  void FreeText() {
    if (leixing == karst::kText && bOwn && string) delete[] string;
    string = nullptr;
    bOwn = false;
  }
};

// Adds two values: the left operand's type decides, except that an int widens to meet an int64. An int plus a text
// adds the number that the text reads as; a text plus an int appends its decimal digits. Throws CError for a text plus
// an int64 and for any value of another type.
KARST_API CValue operator+(const CValue& val1, const CValue& val2);

// The two texts joined, in a block from new[] that the caller owns. Throws CError for a null text.
KARST_API char* AddTwoString(const char* s1, const char* s2);

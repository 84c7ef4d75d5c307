// CScript: arithmetic expressions, computed as they are read.
//
// Each level is entered with its first token read, and leaves with the token behind it read.
#include <cstring>

#include "helpers/zebutil.h"
#include "script/arithmetic.h"
#include "script/nesting.h"
#include "script/script.h"
#include "text/mbtext.h"
#include "values/name.h"

using karst::NestingGuard;

void CScript::GetExp(CValue* pResult) {
  GetToken();
  if (!*szToken && nTokenType != karst::STRING) halt("no expression present...");
  level2(pResult);
  PutBack();
}

void CScript::level2(CValue* pResult) {
  level3(pResult);
  while (*szToken == '+' || *szToken == '-') {
    const char op = *szToken;
    pResult->KeepText();
    GetToken();
    CValue right;
    level3(&right);
    arith(op, pResult, &right);
  }
}

void CScript::level3(CValue* pResult) {
  level4(pResult);
  while (*szToken == '*' || *szToken == '/' || *szToken == '%') {
    const char op = *szToken;
    pResult->KeepText();
    GetToken();
    CValue right;
    level4(&right);
    arith(op, pResult, &right);
  }
}

void CScript::level4(CValue* pResult) {
  level5(pResult);
  if (*szToken != '^') return;
  const NestingGuard guard(*this);
  pResult->KeepText();
  GetToken();
  CValue right;
  level4(&right);
  arith('^', pResult, &right);
}

void CScript::level5(CValue* pResult) {
  char sign = 0;
  if (nTokenType == karst::DELIMITER && (*szToken == '+' || *szToken == '-')) {
    sign = *szToken;
    GetToken();
  }
  level6(pResult);
  if (sign) unary(sign, pResult);
}

void CScript::level6(CValue* pResult) {
  if (nTokenType != karst::DELIMITER || *szToken != '(') return primitive(pResult);
  const NestingGuard guard(*this);
  GetToken();
  level2(pResult);
  if (*szToken != ')') halt("unbanlanced parentheses");
  GetToken();
}

void CScript::primitive(CValue* pResult) {
  switch (nTokenType) {
    case karst::VARIABLE: {
      const karst::NameBuffer name(szToken);
      find_var(name.text, pResult);
      break;
    }
    case karst::NUMBER: karst::SetNumber(*pResult, szToken); break;
    case karst::STRING: pResult->SetVal(szToken, true); break;
    case karst::CHARCONST: pResult->SetVal(karst::CharacterValue(szToken)); break;
    default: halt("syntax error");
  }
  GetToken();
}

int CScript::find_var(const char* lpszName, CValue* pResult) {
  karst::NameBuffer name(lpszName);
  char* name_end = lpProg;
  GetToken();
  if (*szToken == '(') {
    if (name.text[0] != '@') CvtFuncName(name.text, sizeof name.text, name_end);
    return DoFunction(name.text, pResult);
  }
  PutBack();
  const CVarCell* cell = SearchVar(name.text);
  if (!cell) RefuseName(name.text);
  return pResult->SetVal(cell, false);
}

void CScript::RefuseName(const char* name) {
  DumpVars();
  halt("%s不是变量名或函数名", name);
}

void CScript::unary(char cOp, CValue* pValue) {
  if (pValue->leixing == karst::kText) halt(" 不支持string类型的-(负)运算");
  if (cOp != '-') return;
  if (pValue->leixing == karst::kInt) pValue->lVal = karst::Wrapped<int32_t>(-static_cast<int64_t>(pValue->lVal));
  if (pValue->leixing == karst::kInt64) pValue->i64Val = karst::WrappingDifference(int64_t{0}, pValue->i64Val);
}

void CScript::arith(char cOp, CValue* pLeft, CValue* pRight) {
  const bool text = pLeft->leixing == karst::kText || pRight->leixing == karst::kText;
  if (text && cOp != '+') halt(" 不支持string类型的非+运算");
  if (cOp == '+') {
    *pLeft = *pLeft + *pRight;
    return;
  }
  if (cOp == '^') return karst::RaiseToPower(*pLeft, *pRight);
  if (cOp == '/' && karst::IsZero(*pRight)) halt("分母不应当为0...");
  if (cOp == '%' && karst::IsZero(*pRight)) halt("分母为0...");
  karst::Combine(cOp, *pLeft, *pRight);
}

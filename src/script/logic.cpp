// CScript: conditions, laid over the arithmetic expressions. Operators are told by the first byte of the token.
#include "script/comparison.h"
#include "script/nesting.h"
#include "script/script.h"

using karst::NestingGuard;

void CScript::GetLogicExp(int* pnResult) {
  GetToken();
  if (!*szToken) halt("no logic expression present");
  CValue value;
  l_level2(&value);
  const int truth = karst::Truth(value);
  if (truth < 0) halt(kConditionWithoutTruth);
  *pnResult = truth;
  PutBack();
}

void CScript::l_level2(CValue* pResult) {
  l_level3(pResult);
  while (*szToken == '|') {
    GetToken();
    if (*szToken != '|') halt("逻辑表达式中应当用||");
    pResult->KeepText();
    GetToken();
    CValue right;
    l_level3(&right);
    logic_arith('|', pResult, &right);
  }
}

void CScript::l_level3(CValue* pResult) {
  l_level4(pResult);
  while (*szToken == '&') {
    GetToken();
    if (*szToken != '&') halt("逻辑表达式中应当用&&");
    pResult->KeepText();
    GetToken();
    CValue right;
    l_level4(&right);
    logic_arith('&', pResult, &right);
  }
}

void CScript::l_level4(CValue* pResult) {
  const bool negated = nTokenType == karst::DELIMITER && *szToken == '!';
  if (negated) {
    GetToken();
    if (*szToken == '=') halt("logic exp error!!!");
  }
  l_level5(pResult);
  if (negated) logic_unary('!', pResult);
}

void CScript::l_level5(CValue* pResult) {
  l_level6(pResult);
  char op[3] = {*szToken, 0, 0};
  if (op[0] != '=' && op[0] != '!' && op[0] != '>' && op[0] != '<') return;
  GetToken();
  const bool with_equals = *szToken == '=';
  if (!with_equals && (op[0] == '!' || op[0] == '=')) halt("逻辑表达式中应当用!=或==");
  if (with_equals) {
    op[1] = '=';
    GetToken();
  }
  pResult->KeepText();
  CValue right;
  l_level6(&right);
  logic_arith(op, pResult, &right);
}

void CScript::l_level6(CValue* pResult) {
  if (nTokenType != karst::DELIMITER || *szToken != '(') {
    PutBack();
    return l_primitive(pResult);
  }
  const NestingGuard guard(*this);
  GetToken();
  l_level2(pResult);
  if (*szToken != ')') halt("左右括号不配对... token[%s]", szToken);
  GetToken();
}

void CScript::l_primitive(CValue* pResult) {
  GetExp(pResult);
  GetToken();
}

void CScript::logic_arith(char cOp, CValue* pLeft, CValue* pRight) {
  // Both are looked at only as far as the answer needs.
  int truth = CvtLogicValue(pLeft);
  if (truth == (cOp == '&')) truth = CvtLogicValue(pRight);
  pLeft->SetVal(static_cast<int32_t>(truth));
}

void CScript::logic_arith(const char* lpszOp, CValue* pLeft, CValue* pRight) {
  if (pLeft->leixing != pRight->leixing) halt("%s两端类型不一致！", lpszOp);
  const bool holds = karst::Holds(karst::ComparisonOf(lpszOp), karst::CompareSameType(*pLeft, *pRight));
  if (pLeft->leixing == karst::kInt64) {
    pLeft->SetVal(int64_t{holds});
  } else {
    pLeft->SetVal(int32_t{holds});
  }
}

int CScript::CvtLogicValue(CValue* pValue) {
  const int truth = karst::Truth(*pValue);
  if (truth < 0) halt("CvtLogicValue() error...");
  return truth;
}

void CScript::logic_unary(char cOp, CValue* pValue) {
  if (cOp != '!') return;
  const int truth = karst::Truth(*pValue);
  if (truth < 0) halt("logic_unary() error...");
  if (pValue->leixing == karst::kInt64) {
    pValue->SetVal(int64_t{!truth});
  } else {
    pValue->SetVal(int32_t{!truth});
  }
}

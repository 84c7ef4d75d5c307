// CScript: conditions, laid over the arithmetic expressions. The grammar is in language/grammar.h.
#include "script/comparison.h"
#include "script/evaluator.h"

using karst::Evaluator;

void CScript::GetLogicExp(int* pnResult) {
  CValue value;
  Evaluator(*this).Condition(value);
  *pnResult = karst::Truth(value);
}

void Evaluator::CheckTruth(const CValue& value) {
  if (Truth(value) < 0) script_.halt(CScript::kConditionWithoutTruth);
}

void CScript::l_level2(CValue* pResult) { Evaluator(*this).Or(*pResult); }
void CScript::l_level3(CValue* pResult) { Evaluator(*this).And(*pResult); }
void CScript::l_level4(CValue* pResult) { Evaluator(*this).Not(*pResult); }
void CScript::l_level5(CValue* pResult) { Evaluator(*this).Comparison(*pResult); }
void CScript::l_level6(CValue* pResult) { Evaluator(*this).ConditionGroup(*pResult); }
void CScript::l_primitive(CValue* pResult) { Evaluator(*this).ConditionOperand(*pResult); }

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

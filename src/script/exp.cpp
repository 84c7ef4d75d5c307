// CScript: arithmetic expressions, computed as they are read. The grammar is in language/grammar.h.
#include "helpers/zebutil.h"
#include "script/arithmetic.h"
#include "script/evaluator.h"

using karst::Evaluator;

void CScript::GetExp(CValue* pResult) { Evaluator(*this).Expression(*pResult); }
void CScript::level2(CValue* pResult) { Evaluator(*this).Sum(*pResult); }
void CScript::level3(CValue* pResult) { Evaluator(*this).Product(*pResult); }
void CScript::level4(CValue* pResult) { Evaluator(*this).Power(*pResult); }
void CScript::level5(CValue* pResult) { Evaluator(*this).Signed(*pResult); }
void CScript::level6(CValue* pResult) { Evaluator(*this).Group(*pResult); }
void CScript::primitive(CValue* pResult) { Evaluator(*this).Primitive(*pResult); }

int CScript::find_var(const char* lpszName, CValue* pResult) {
  Evaluator::CodeName name{karst::NameBuffer(lpszName), lpProg};
  Evaluator(*this).NameOrCall(name, *pResult);
  return 0;
}

namespace karst {

void Evaluator::NumberOperand(CValue& value) const { SetNumber(value, script_.szToken); }

void Evaluator::CharacterOperand(CValue& value) const { value.SetVal(CharacterValue(script_.szToken)); }

void Evaluator::Call(CodeName& name, CValue& value) {
  char* text = name.buffer.text;
  if (*text != '@') script_.CvtFuncName(text, sizeof name.buffer.text, name.end);
  script_.DoFunction(text, &value);
}

void Evaluator::Variable(const CodeName& name, CValue& value) {
  const CVarCell* cell = script_.SearchVar(name.buffer.text);
  if (!cell) script_.RefuseName(name.buffer.text);
  value.SetVal(cell, false);
}

void Evaluator::Refuse(GrammarFault fault, char) {
  switch (fault) {
    case GrammarFault::kNoExpression: return script_.halt("no expression present...");
    case GrammarFault::kNoCondition: return script_.halt("no logic expression present");
    case GrammarFault::kNoOperand: return script_.halt("syntax error");
    case GrammarFault::kOpenGroup: return script_.halt("unbanlanced parentheses");
    case GrammarFault::kOpenCondition: return script_.halt("左右括号不配对... token[%s]", script_.szToken);
    case GrammarFault::kHalfOr: return script_.halt("逻辑表达式中应当用||");
    case GrammarFault::kHalfAnd: return script_.halt("逻辑表达式中应当用&&");
    case GrammarFault::kHalfComparison: return script_.halt("逻辑表达式中应当用!=或==");
    case GrammarFault::kEqualsAfterNot: return script_.halt("logic exp error!!!");
    case GrammarFault::kNoComma: return script_.halt("两个参数之间应当间隔逗号',' ...");
    case GrammarFault::kTooDeep: return script_.halt("表达式嵌套太深，超过%d层...", kMostNesting);
  }
}

}  // namespace karst

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

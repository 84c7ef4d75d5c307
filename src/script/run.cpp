// CScript: the statements. Each is entered with its first word read ("assignment" with it unread) and leaves the read
// position behind what it used.
#include "script/evaluator.h"
#include "values/cellstore.h"
#include "values/name.h"

using karst::NameBuffer;

namespace {

bool CanBeginName(char byte) {
  return byte == '_' || byte == '@' || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

}  // namespace

// Declarations.

template <typename Create>
void CScript::Declare(const char* name_refusal, const char* value_refusal, Create create) {
  if (GetToken() != karst::VARIABLE) halt(name_refusal);
  const NameBuffer name(szToken);
  GetToken();
  const bool with_value = nTok != karst::EOL;
  if (with_value && *szToken != '=') halt(value_refusal);
  create(name.text, with_value);
}

int CScript::CreateInt() {
  Declare("CreateInt error", "creat_int error , need =", [this](const char* name, bool with_value) {
    CValue value(int32_t{0});
    if (with_value) GetExp(&value);
    CreateDeclaredInt(Store().SlotOf(name), value);
  });
  return 0;
}

int CScript::CreateInt64() {
  Declare("CreateInt64 error", "creat_int error , need =", [this](const char* name, bool with_value) {
    CValue value(int32_t{0});
    if (with_value) GetExp(&value);
    CreateDeclaredInt64(Store().SlotOf(name), value);
  });
  return 0;
}

void CScript::CreateDeclaredInt(karst::NameSlot& slot, const CValue& value) {
  if (value.leixing != karst::kInt) halt(" INT类型变量不能用其它类型赋值");
  MakeInt(slot, value.lVal);
}

void CScript::CreateDeclaredInt64(karst::NameSlot& slot, CValue& value) {
  if (value.leixing == karst::kInt) value.SetVal(int64_t{value.lVal});
  if (value.leixing != karst::kInt64) halt(" INT64类型变量不能用INT和INT64以外的数据类型赋值");
  MakeValue(slot, value);
}

int CScript::CreateString() {
  Declare("CreateString error", "create_string error , need =", [this](const char* name, bool with_value) {
    if (with_value && GetToken() != karst::STRING) halt("\n need \" at create string");
    MakeText(Store().SlotOf(name), with_value ? szToken : "");
  });
  return 0;
}

// Statements that begin with a name.

void CScript::assignment() {
  GetToken();
  if (!CanBeginName(*szToken)) halt("赋值语句应当以变量开头, 或为函数调用...[%s]", szToken);
  NameBuffer name(szToken);
  char* name_end = lpProg;
  GetToken();
  switch (*szToken) {
    case '(': return CallStatement(name.text, name_end);
    case '<': return AppendStatement(name.text);
    case '>': return PrependStatement(name.text);
    case '=': return AssignStatement(name.text, name_end);
    default: halt(" 赋值语句语法错误, [%s]应当为'='", szToken);
  }
}

void CScript::CallStatement(char* name, char* name_end) {
  if (*name != '@') CvtFuncName(name, sizeof(NameBuffer::text), name_end);
  CValue dropped;
  DoFunction(name, &dropped);
  FindEOL();
}

void CScript::AssignStatement(const char* name, char* name_end) {
  CValue value;
  if (GetToken() == karst::STRING) {
    value.SetVal(szToken, true);
  } else {
    PutBack();
    GetExp(&value);
  }
  try {
    ChangeValue(Store().SlotOf(name), value);
  } catch (...) {
    lpProg = name_end;
    throw;
  }
}

CVarCell* CScript::TextVariable(CVarCell* cell, const char* name, const char* refusal) {
  if (!cell) halt("变量%s未定义...", name);
  if (cell->leixing != karst::kText) halt(refusal);
  return cell;
}

void CScript::AppendStatement(const char* name) {
  GetToken();
  if (*szToken != '<') halt(" 赋值语句语法错误, [%s]应当为'<'", szToken);
  CValue value;
  GetExp(&value);
  if (value.leixing != karst::kText) halt(kAppendOnlyTexts);
  CVarCell* cell = TextVariable(SearchVar(name), name, kAppendOnlyTexts);
  CString text = *cell->string;
  text += value.string;
  ReplaceString(text.view(), cell);
}

void CScript::PrependStatement(const char* name) {
  GetToken();
  if (*szToken != '>') halt(" 赋值语句语法错误, [%s]应当为'>'", szToken);
  if (GetToken() != karst::VARIABLE) halt(" >> 运算符右侧[%s]应当是变量![%d]", szToken, nTokenType);
  const NameBuffer right_name(szToken);
  CVarCell* right = TextVariable(SearchVar(right_name.text), right_name.text, kPrependOnlyTexts);
  const CVarCell* left = TextVariable(SearchVar(name), name, kPrependOnlyTexts);
  CString text = *left->string;
  text += *right->string;
  ReplaceString(text.view(), right);
}

// Conditions and blocks.

int CScript::DoIf() {
  int holds = 0;
  GetLogicExp(&holds);
  SkipBlankLine();
  if (!holds) return FindElse();
  GetToken();
  if (nTokenType == karst::COMMAND && nTok == karst::kTokBegin) return DoBegin();
  return PutBack();
}

int CScript::DoElse() {
  SkipBlankLine();
  GetToken();
  if (nTokenType == karst::COMMAND && nTok == karst::kTokBegin) return SkipBlock();
  return FindEOL();
}

int CScript::DoBegin() { return OpenFrame(0); }

int CScript::DoEnd() {
  if (m_nBeginCount == 0) halt("end或者'}'比begin或'{'多...");
  return ClearStackVars();
}

// Loops.

int CScript::DoLoop() {
  PutBack();
  pLoopStack->push(lpProg);
  GetToken();
  int holds = 0;
  GetLogicExp(&holds);
  if (holds) return 0;
  pLoopStack->pop();
  return SkipUntilPeiduiEndcir();
}

int CScript::DoEndLoop() {
  if (IsStop()) halt("循环被强制中断");
  return BackToLoop();
}

int CScript::BackToLoop() {
  char* loop_word = pLoopStack->pop();
  if (!loop_word) halt("endloop与loop不配对...");
  lpProg = loop_word;
  return 0;
}

int CScript::DoBreak() {
  SkipUntilPeiduiEndcir();
  pLoopStack->pop();
  return 0;
}

int CScript::SkipUntilPeiduiEndcir() {
  for (int depth = 0;;) {
    GetToken();
    if (nTok == karst::FINISHED) halt("endloop与loop不配对...");
    if (nTokenType != karst::COMMAND) continue;
    if (nTok == karst::kTokLoop) ++depth;
    if (nTok == karst::kTokEndLoop && depth-- == 0) return 0;
  }
}

// Jumps.

int CScript::DoGoto() {
  if (GetToken() == karst::LABEL) halt(" goto 语句后面标号前面不能有:号");
  char* target = FindLabel(szToken);
  if (!target) halt(" GOTO语句标号[%s]没有找到", szToken);
  return GotoPos(lpProg, target);
}

int CScript::GotoPos(char* lpFrom, char* lpTo) {
  for (int left = karst::Evaluator(*this).FramesBetween(lpFrom, lpTo); left > 0; --left) ClearStackVars();
  lpProg = lpTo;
  return 0;
}

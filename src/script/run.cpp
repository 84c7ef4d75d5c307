// CScript: the statements. Each is entered with its first word read ("assignment" with it unread) and leaves the read
// position behind what it used.
#include "script/evaluator.h"

using karst::Evaluator;

namespace {

bool CanBeginName(char byte) {
  return byte == '_' || byte == '@' || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

}  // namespace

// Declarations.

int CScript::CreateInt() {
  Evaluator evaluator(*this);
  evaluator.Declaration(karst::kTokInt, evaluator);
  return 0;
}

int CScript::CreateInt64() {
  Evaluator evaluator(*this);
  evaluator.Declaration(karst::kTokInt64, evaluator);
  return 0;
}

int CScript::CreateString() {
  Evaluator evaluator(*this);
  evaluator.Declaration(karst::kTokString, evaluator);
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

// Statements that begin with a name.

void CScript::assignment() {
  GetToken();
  if (!CanBeginName(*szToken)) halt("赋值语句应当以变量开头, 或为函数调用...[%s]", szToken);
  Evaluator evaluator(*this);
  evaluator.NamedStatement(evaluator);
}

CVarCell* CScript::TextVariable(CVarCell* cell, const char* name, const char* refusal) {
  if (!cell) halt("变量%s未定义...", name);
  if (cell->leixing != karst::kText) halt(refusal);
  return cell;
}

namespace karst {

void Evaluator::Declare(int word, const CodeName& name) {
  CValue zero(int32_t{0});
  if (word == kTokString) {
    script_.MakeText(SlotOf(name), "");
  } else {
    DeclareValue(word, name, zero);
  }
}

void Evaluator::DeclareValue(int word, const CodeName& name, CValue& value) {
  if (word == kTokInt) return script_.CreateDeclaredInt(SlotOf(name), value);
  script_.CreateDeclaredInt64(SlotOf(name), value);
}

void Evaluator::RefuseDeclaration(StatementFault fault, int word, char) {
  const bool text = word == kTokString;
  switch (fault) {
    case StatementFault::kNoName:
      return script_.halt(text ? "CreateString error" : word == kTokInt ? "CreateInt error" : "CreateInt64 error");
    case StatementFault::kNoEquals:
      return script_.halt(text ? "create_string error , need =" : "creat_int error , need =");
    default: return script_.halt("\n need \" at create string");
  }
}

void Evaluator::CallStatement(CodeName& name) {
  CValue dropped;
  Call(name, dropped);
  script_.FindEOL();
}

void Evaluator::Assign(const CodeName& name, const CValue& value, bool) {
  try {
    script_.ChangeValue(SlotOf(name), value);
  } catch (...) {
    script_.lpProg = name.end;
    throw;
  }
}

void Evaluator::Append(const CodeName& name, char, const CValue& value) {
  const char* text = name.buffer.text;
  if (value.leixing != kText) script_.halt(CScript::kAppendOnlyTexts);
  CVarCell* cell = script_.TextVariable(script_.SearchVar(text), text, CScript::kAppendOnlyTexts);
  CString longer = *cell->string;
  longer += value.string;
  script_.ReplaceString(longer.view(), cell);
}

void Evaluator::Prepend(const CodeName& name, const CodeName& right) {
  const auto variable = [this](const char* text) {
    return script_.TextVariable(script_.SearchVar(text), text, CScript::kPrependOnlyTexts);
  };
  CVarCell* cell = variable(right.buffer.text);
  CString longer = *variable(name.buffer.text)->string;
  longer += *cell->string;
  script_.ReplaceString(longer.view(), cell);
}

void Evaluator::Refuse(StatementFault fault, char) {
  const char* token = script_.szToken;
  switch (fault) {
    case StatementFault::kNoOperator: return script_.halt(" 赋值语句语法错误, [%s]应当为'='", token);
    case StatementFault::kHalfAppend: return script_.halt(" 赋值语句语法错误, [%s]应当为'<'", token);
    case StatementFault::kHalfPrepend: return script_.halt(" 赋值语句语法错误, [%s]应当为'>'", token);
    case StatementFault::kNoRightName:
      return script_.halt(" >> 运算符右侧[%s]应当是变量![%d]", token, script_.nTokenType);
    case StatementFault::kJumpFunction: return script_.halt(" goto语句不能跨越function!");
    case StatementFault::kJumpEnd: return script_.halt("花括号不配对('}'少)...");
    case StatementFault::kJumpInward: return script_.halt(" goto语句不应能往内跳转!正");
    case StatementFault::kJumpBackInward: return script_.halt(" goto语句不应能往内跳转!倒");
    case StatementFault::kNoName:
    case StatementFault::kNoEquals:
    case StatementFault::kNoLiteral: break;  // of declarations: RefuseDeclaration
  }
}

}  // namespace karst

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
  CloseFrames(m_nBeginCount - Evaluator(*this).FramesBetween(lpFrom, lpTo));
  lpProg = lpTo;
  return 0;
}

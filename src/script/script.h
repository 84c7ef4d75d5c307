// CScript: the interpreter: source, variables and built-ins under one main loop.
#pragma once

#include <memory>

#include "builtins/funcarray.h"
#include "script/code.h"
#include "script/loopstack.h"

namespace karst {
class Evaluator;
class Remembered;
class RememberedRunner;
class StatementBuilder;
}  // namespace karst

// Runs a script file. `lpszFileName` is its path (GBK), `hWnd` the host's output control or null. Gives the script's
// result, or -1 when it failed; the message is then on the host's output as "\r\n第%d行: %s". So is "mem low..." when
// an allocation failed. What a host's own callbacks throw passes; nothing else does.
KARST_API int RunKarstPro(const char* lpszFileName, HWND hWnd);

namespace karst {

// The last message of a run that failed, on the host's output control. -1.
KARST_API int TellRunFailed(HWND control, int line, const char* text);

}  // namespace karst

class KARST_API CScript : public CCode, public CFuncArray {
 public:
  CScript();
  ~CScript() override;

  // Loads a script and runs it. -1 if it cannot be loaded, else the main loop's result. A fault of the script leaves
  // as CError.
  int Run(const char* lpszFileName);
  // Runs the code from lpProg on, to lpProgEnd where it is set (a piece). 0 at a normal end, 1 after "break" and 2
  // after "Continue" in a piece, or the int of "stop". An allocation that fails is a fault of the script as any other:
  // karst::MemoryError, a CError.
  int MainLoop();

  // Expressions. GetExp and GetLogicExp read one from the next token on and leave the token that ended it unread. The
  // levels are entered with their first token read, and leave with the token behind them read.
  void GetExp(CValue* pResult);
  void level2(CValue* pResult);
  void level3(CValue* pResult);
  void level4(CValue* pResult);
  void level5(CValue* pResult);
  void level6(CValue* pResult);
  void primitive(CValue* pResult);
  void arith(char cOp, CValue* pLeft, CValue* pRight);
  void unary(char cOp, CValue* pValue);
  int find_var(const char* lpszName, CValue* pResult);

  void GetLogicExp(int* pnResult);
  void l_level2(CValue* pResult);
  void l_level3(CValue* pResult);
  void l_level4(CValue* pResult);
  void l_level5(CValue* pResult);
  void l_level6(CValue* pResult);
  void l_primitive(CValue* pResult);
  void logic_arith(char cOp, CValue* pLeft, CValue* pRight);
  void logic_arith(const char* lpszOp, CValue* pLeft, CValue* pRight);
  int CvtLogicValue(CValue* pValue);
  void logic_unary(char cOp, CValue* pValue);

  // Statements, each entered with its first word read ("assignment" with it unread).
  void assignment();
  int DoIf();
  int DoElse();
  int DoBegin();
  int DoEnd();
  int DoGoto();
  int GotoPos(char* lpFrom, char* lpTo);
  int DoLoop();
  int DoEndLoop();
  int DoBreak();
  // Goes behind the "endloop" that pairs with the current loop ("peidui": matching).
  int SkipUntilPeiduiEndcir();
  int CreateInt();
  int CreateInt64();
  int CreateString();
  int DoStop(int nEntryDepth);

  // Calls. DoFunction is entered behind the "(" and leaves behind the ")" or the line end in its place.
  int DoFunction(const char* lpszName, CValue* pResult);
  // Overwrites a built-in's name in the code, and in `lpszName`, by its index form. 0, or -1 if nothing was done.
  int CvtFuncName(char* lpszName, int nMaxLen, char* lpNameEnd);

  CLoopStack* pLoopStack;

 private:
  static constexpr char kAppendOnlyTexts[] = " << 运算只能在string类型变量之间进行!";
  static constexpr char kConditionWithoutTruth[] = "GetLogicExp() error...";
  static constexpr char kPrependOnlyTexts[] = " >> 运算只能在string类型变量之间进行!";

  friend class karst::Evaluator;
  friend class karst::RememberedRunner;
  friend class karst::StatementBuilder;

  enum class Flow { kNext, kLeave };
  // One turn of the main loop, read from the text; kLeave with the loop's result in `result`.
  Flow RunStatement(int entry_depth, int& result);
  Flow ActOnWord(int entry_depth, int& result);
  // DoEndLoop in the main loop, which has just looked for a stop request.
  int BackToLoop();

  // The cell, if it is a text; halts if it is null or another type.
  CVarCell* TextVariable(CVarCell* cell, const char* name, const char* refusal);
  void CreateDeclaredInt(karst::NameSlot& slot, const CValue& value);
  void CreateDeclaredInt64(karst::NameSlot& slot, CValue& value);
  void RefuseName(const char* name);

  int nesting_ = 0;  // parentheses and calls that are open on the machine's stack
  std::unique_ptr<karst::Remembered> remembered_;
};

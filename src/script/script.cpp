// CScript: construction, the entry point, and the main loop.
#include "script/script.h"

#include "outside/zebutil.h"
#include "script/remembered_runner.h"

using karst::FINISHED;

int RunKarstPro(const char* lpszFileName, HWND hWnd) {
  const auto script = std::make_unique<CScript>();
  script->hWnd = hWnd;
  try {
    return script->Run(lpszFileName);
  } catch (const CError& error) {
    script->eprintf("\r\n第%d行: %s", script->GetCurLineNumber(), error.what());
    return -1;
  }
}

CScript::CScript() : pLoopStack(new CLoopStack), remembered_(std::make_unique<karst::Remembered>()) {}

CScript::~CScript() { delete pLoopStack; }

int CScript::Run(const char* lpszFileName) { return ReadCodeFromFile(lpszFileName, 0) == -1 ? -1 : MainLoop(); }

int CScript::MainLoop() {
  pLoopStack->RemoveAll();
  nTok = 0;
  if (!lpProg) return 0;
  const int entry_depth = m_nBeginCount;
  const bool in_code = lpProg >= lpCodeBuffer && lpProg < lpCodeBuffer + nCodeLen;
  if (in_code && karst::IsRemembering()) return karst::RememberedRunner(*this, entry_depth).Run();
  int result = 0;
  while (RunStatement(entry_depth, result) == Flow::kNext) {
  }
  return result;
}

CScript::Flow CScript::RunStatement(int entry_depth, int& result) {
  result = 0;
  if (IsStop()) return Flow::kLeave;
  if (lpProgEnd && lpProg >= lpProgEnd) return Flow::kLeave;
  if (GetToken() == karst::VARIABLE) {
    PutBack();
    karst::CountStatement(*this);
    assignment();
  } else if (ActOnWord(entry_depth, result) == Flow::kLeave) {
    return Flow::kLeave;
  }
  return nTok == FINISHED ? Flow::kLeave : Flow::kNext;
}

CScript::Flow CScript::ActOnWord(int entry_depth, int& result) {
  if (karst::HasAction(nTok)) karst::CountStatement(*this);
  switch (nTok) {
    case karst::kTokIf: DoIf(); break;
    case karst::kTokGoto: DoGoto(); break;
    case karst::kTokStop: result = DoStop(entry_depth); return Flow::kLeave;
    case karst::kTokLoop: DoLoop(); break;
    case karst::kTokEndLoop: DoEndLoop(); break;
    case karst::kTokInt: CreateInt(); break;
    case karst::kTokString: CreateString(); break;
    case karst::kTokInt64: CreateInt64(); break;
    case karst::kTokBegin: DoBegin(); break;
    case karst::kTokEnd: DoEnd(); break;
    case karst::kTokElse: DoElse(); break;
    case karst::kTokBreak:
      if (!lpProgEnd) return DoBreak(), Flow::kNext;
      CloseFrames(entry_depth);
      result = 1;
      return Flow::kLeave;
    case karst::kTokContinue:
      if (!lpProgEnd) halt(".pro运行时尚不能使用continue语句");
      CloseFrames(entry_depth);
      result = 2;
      return Flow::kLeave;
    default: break;  // read and dropped
  }
  return Flow::kNext;
}

void CScript::CloseFrames(int entry_depth) {
  for (int open = m_nBeginCount - entry_depth; open >= 1; --open) ClearStackVars();
}

// CScript: construction, the entry point, and the main loop.
#include "script/script.h"

#include <new>

#include "helpers/zebutil.h"
#include "script/remembered_runner.h"

using karst::FINISHED;

int RunKarstPro(const char* lpszFileName, HWND hWnd) {
  std::unique_ptr<CScript> script;
  try {
    script = std::make_unique<CScript>();
    script->hWnd = hWnd;
    return script->Run(lpszFileName);
  } catch (const CError& error) {
    return karst::TellRunFailed(hWnd, script->LineOf(error), error.what());
  } catch (const std::bad_alloc&) {
    return karst::TellRunFailed(hWnd, 1, karst::MemoryError::kText);
  }
}

int karst::TellRunFailed(HWND control, int line, const char* text) {
  CRunable host;
  host.hWnd = control;
  host.eprintf("\r\n第%d行: %s", line, text);
  return -1;
}

// The loop stack comes last: nothing would free it if what follows it failed.
CScript::CScript() : pLoopStack(nullptr), remembered_(std::make_unique<karst::Remembered>()) {
  pLoopStack = new CLoopStack;
}

CScript::~CScript() { delete pLoopStack; }

int CScript::Run(const char* lpszFileName) { return ReadCodeFromFile(lpszFileName, 0) == -1 ? -1 : MainLoop(); }

int CScript::MainLoop() try {
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
} catch (const std::bad_alloc&) {
  HaltForMemory();
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
    case karst::kTokEndLoop: BackToLoop(); break;
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

// CScript: calls of built-ins, and the end of a script.
#include <cstdio>
#include <cstring>

#include "script/call.h"
#include "script/evaluator.h"

int CScript::DoFunction(const char* lpszName, CValue* pResult) {
  karst::BuiltinHandler handler = nullptr;
  if (FindKernelFunction(lpszName, &handler, nullptr, 0) == -1 || !handler) halt("函数 %s 未定义", lpszName);
  ++m_nBeginCount;  // a call that is broken off stays counted: see CMARCTree::CloseAfterError
  const int first = static_cast<int>(m_Cells.size());
  int count = 0;
  karst::Evaluator(*this).Arguments(count);
  CallBuiltin(handler, static_cast<int>(m_Cells.size()) - first, first, pResult);
  ClearSomeVars(first);
  --m_nBeginCount;
  return 0;
}

namespace karst {

void Evaluator::LiteralArgument(int& count) { script_.MakeText(NextArgument(count), script_.szToken); }

void Evaluator::ReferenceArgument(int& count) {
  NameSlot& slot = NextArgument(count);
  script_.MakeDup(slot, script_.Store().SlotOf(NameBuffer(script_.szToken).text));
}

void Evaluator::ValueArgument(int& count, char, const CValue& value) { script_.MakeValue(NextArgument(count), value); }

NameSlot& Evaluator::NextArgument(int& count) {
  char name[kArgumentNameSize];
  FormatArgumentName(name, count++);
  return script_.Store().SlotOf(name);
}

}  // namespace karst

int CScript::CvtFuncName(char* lpszName, int nMaxLen, char* lpNameEnd) {
  char form[sizeof(karst::NameBuffer::text)] = "";
  karst::BuiltinHandler handler = nullptr;
  if (FindKernelFunction(lpszName, &handler, form, sizeof form) == -1 || !*form) return -1;
  const size_t room = std::strlen(lpszName);
  const size_t form_length = std::strlen(form);
  if (form_length > room) return -1;
  char* name = lpNameEnd - room;
  std::memset(name, ' ', room);
  std::memcpy(name, form, form_length);
  NoteOwnEdit(name, room);
  std::snprintf(lpszName, static_cast<size_t>(nMaxLen), "%s", form);
  return 0;
}

int CScript::DoStop(int nEntryDepth) {
  CValue value;
  GetToken();
  const bool with_value = nTok != karst::EOL && nTok != karst::FINISHED;
  if (with_value) {
    PutBack();
    GetExp(&value);
  }
  const bool is_int = value.leixing == karst::kInt;
  const int result = is_int ? value.lVal : 0;
  CloseFrames(nEntryDepth);
  return result;
}

// CScript: calls of built-ins, and the end of a script.
#include <cstdio>
#include <cstring>

#include "script/call.h"
#include "script/nesting.h"
#include "script/script.h"
#include "values/cellstore.h"
#include "values/name.h"

int CScript::DoFunction(const char* lpszName, CValue* pResult) {
  karst::BuiltinHandler handler = nullptr;
  if (FindKernelFunction(lpszName, &handler, nullptr, 0) == -1 || !handler) halt("函数 %s 未定义", lpszName);
  const karst::NestingGuard guard(*this);
  ++m_nBeginCount;
  const int first = static_cast<int>(m_Cells.size());
  ReadArguments();
  CallBuiltin(handler, static_cast<int>(m_Cells.size()) - first, first, pResult);
  ClearSomeVars(first);
  --m_nBeginCount;
  return 0;
}

void CScript::ReadArguments() {
  CValue value;
  bool by_reference = false;
  for (int number = 0;;) {
    GetToken();
    if (nTokenType == karst::DELIMITER && (nTok == karst::EOL || nTok == karst::FINISHED)) return;
    if (nTokenType != karst::STRING && *szToken == ')') return;
    if (nTokenType == karst::DELIMITER && *szToken == '&') {
      by_reference = true;
      continue;
    }
    MakeArgument(number++, by_reference, value);
    by_reference = false;
    GetToken();
    if (nTokenType == karst::DELIMITER && nTok == karst::EOL) return;
    if (*szToken == ')') return;
    if (*szToken != ',') halt("两个参数之间应当间隔逗号',' ...");
  }
}

void CScript::MakeArgument(int number, bool by_reference, CValue& value) {
  char name[karst::kArgumentNameSize];
  karst::FormatArgumentName(name, number);
  karst::NameSlot& slot = Store().SlotOf(name);
  if (nTokenType == karst::STRING) {
    MakeText(slot, szToken);
  } else if (by_reference) {
    MakeDup(slot, Store().SlotOf(karst::NameBuffer(szToken).text));
  } else {
    PutBack();
    GetExp(&value);
    MakeValue(slot, value);
  }
}

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
  while (m_nBeginCount > nEntryDepth) ClearStackVars();
  return result;
}

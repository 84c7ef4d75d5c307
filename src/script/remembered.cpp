// What is remembered: its store, and the switches for tests.
#include "script/remembered.h"

#include "script/script.h"

namespace karst {

bool remembering = true;
long statement_budget = -1;

void Remembered::Forget(const char* code, int length, uint32_t generation) {
  statements_.clear();
  calls_.clear();
  nodes_.clear();
  places_.assign(static_cast<size_t>(length), 0);
  code_ = code;
  generation_ = generation;
}

bool HasAction(int token_number) {
  switch (token_number) {
    case kTokIf:
    case kTokGoto:
    case kTokStop:
    case kTokLoop:
    case kTokEndLoop:
    case kTokInt:
    case kTokString:
    case kTokInt64:
    case kTokBegin:
    case kTokEnd:
    case kTokElse:
    case kTokBreak:
    case kTokContinue: return true;
    default: return false;
  }
}

void SetRememberingForTests(bool on) { remembering = on; }
void SetStatementBudgetForTests(long statements) { statement_budget = statements; }

void SpendStatement(CScript& script) {
  if (statement_budget-- == 0) {
    statement_budget = 0;
    script.halt("statement budget spent");
  }
}

}  // namespace karst

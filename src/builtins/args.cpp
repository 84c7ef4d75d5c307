// The argument reader: what its inline reads do not need.
#include "builtins/args.h"

#include <cstdio>

#include "builtins/table.h"

namespace karst {

int32_t Arguments::SetText(int number, std::string_view text) {
  CVarCell* cell = Cell(number);
  self_->ReplaceString(text, cell);
  return TextOf(cell).GetLength();
}

void Arguments::HaltForCount() {
  self_->halt("函数%s()应当以%d个参数调用，现错为%d个", name_, RequiredArguments(row_.kinds), argc_);
}

void HaltForBytes(CFuncArray* self, int64_t bytes) {
  char text[48];
  std::snprintf(text, sizeof text, "mem low, need %lld bytes...", static_cast<long long>(bytes));
  self->HaltForMemory(text);
}

const CString& Arguments::NoText() {
  static const CString empty;
  return empty;
}

}  // namespace karst

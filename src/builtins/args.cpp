// The argument reader: what its inline reads do not need.
#include "builtins/args.h"

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

const CString& Arguments::NoText() {
  static const CString empty;
  return empty;
}

}  // namespace karst

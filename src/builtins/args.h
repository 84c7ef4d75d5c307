// What every built-in uses to read its arguments and to write back to them, and the working text they share.
//
// Each read makes the shared check of that argument's kind just before it reads, so a handler that reads its arguments
// in order also refuses them in order. Arguments count from 1. SPEED: the kind that is wanted as a rule is let through
// without the call of the check.
#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "builtins/funcarray.h"

namespace karst {

class Arguments {
 public:
  // The arguments of one call of `row`. `name` is how the built-in calls itself in messages; null: by the row's name.
  Arguments(CFuncArray* self, int argc, int first, const KernelFunctionRow& row, const char* name = nullptr)
      : self_(self), argc_(argc), first_(first), row_(row), name_(name ? name : row.name) {}

  int Count() const { return argc_; }

  // The argument as it stands, of any kind. Halts if the call has too few arguments.
  CVarCell* Cell(int number) {
    if (number > argc_) HaltForCount();
    return self_->m_Cells[static_cast<size_t>(first_) + number - 1];
  }

  // The argument's text; it stays as it is until the argument is written to.
  const CString& Text(int number) {
    CVarCell* cell = Cell(number);
    if (cell->leixing != kText) self_->CheckStringArg(cell, name_, number);
    return TextOf(cell);
  }
  const CString& TextRef(int number) {
    CVarCell* cell = Cell(number);
    if (cell->leixing != kText || cell->nDupPos == -1) self_->CheckStringRefArg(cell, name_, number);
    return TextOf(cell);
  }
  int32_t Int(int number) {
    CVarCell* cell = Cell(number);
    if (cell->leixing == kInt) return cell->lVal;
    self_->CheckIntArg(cell, name_, number);
    return self_->GetIntArg(cell);
  }
  int32_t IntRef(int number) {
    CVarCell* cell = Cell(number);
    if (cell->leixing == kInt && cell->nDupPos != -1) return cell->lVal;
    self_->CheckIntRefArg(cell, name_, number);
    return self_->GetIntArg(cell);
  }

  // Write to an argument that was read before, and through it to the variable it refers to. A text ends at its first
  // NUL; gives the length that was stored.
  int32_t SetText(int number, std::string_view text);
  void SetInt(int number, int64_t value) { self_->ReplaceIntOr64(value, Cell(number)); }

  // Halts with the message that names the number of arguments wanted.
  void HaltForCount();

 private:
  static const CString& TextOf(const CVarCell* cell) { return cell->string ? *cell->string : NoText(); }
  static const CString& NoText();

  CFuncArray* self_;
  int argc_;
  int first_;
  const KernelFunctionRow& row_;
  const char* name_;
};

// Stops the script: there is no memory for a buffer of so many bytes.
[[noreturn]] void HaltForBytes(CFuncArray* self, int64_t bytes);

// The interpreter's working text, for the time of one call: empty at first, with the memory of earlier calls. One call
// at a time has it: no built-in runs another.
class WorkText {
 public:
  // More memory than this is given back after the call.
  static constexpr uint32_t kMostKept = 64 * 1024;

  explicit WorkText(CFuncArray* self) : home_(self->work_text_), text_(std::move(home_)) {
    if (!text_) text_ = std::make_unique<CString>();
  }
  WorkText(const WorkText&) = delete;
  WorkText& operator=(const WorkText&) = delete;
  ~WorkText() {
    text_->EmptyAndShrink(kMostKept);
    home_ = std::move(text_);
  }

  CString& operator*() { return *text_; }
  CString* operator->() { return text_.get(); }

 private:
  std::unique_ptr<CString>& home_;
  std::unique_ptr<CString> text_;
};

}  // namespace karst

#include "support/builtin_call.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>

namespace karst::testing {

BuiltinCaller::~BuiltinCaller() {
  if (self.hWnd) DestroyWindow(self.hWnd);
}

const CString& BuiltinCaller::Output() {
  if (!output_) {
    auto control = std::make_unique<MemoryTextControl>();
    output_ = control.get();
    self.hWnd = AddWindow(std::move(control));
  }
  return output_->Text();
}

void BuiltinCaller::MakeCell(const char* name, const Argument& value) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    self.CreateNewVar(name, text->c_str());
  } else if (const auto* number = std::get_if<int32_t>(&value)) {
    self.CreateNewVar(name, *number);
  } else if (const auto* large = std::get_if<int64_t>(&value)) {
    self.CreateNewVar(name, *large);
  } else {
    self.CreateNewVarDup(name, std::get<Ref>(value).name.c_str());
  }
}

void BuiltinCaller::Declare(const char* name, const Argument& value) { MakeCell(name, value); }

std::string BuiltinCaller::Run(const char* name, const std::vector<Argument>& arguments, int32_t& result) {
  BuiltinHandler handler = nullptr;
  if (self.FindKernelFunction(name, &handler, nullptr, 0) == -1 || !handler) {
    ADD_FAILURE() << "no built-in " << name;
    return "";
  }
  std::string message;
  const int first = static_cast<int>(self.m_Cells.size());
  ++self.m_nBeginCount;
  try {
    for (size_t i = 0; i < arguments.size(); ++i) {
      char cell_name[20];
      std::snprintf(cell_name, sizeof cell_name, "_param%3d", static_cast<int>(i));
      MakeCell(cell_name, arguments[i]);
    }
    CValue value("no result", false);
    self.CallBuiltin(handler, static_cast<int>(arguments.size()), first, &value);
    EXPECT_EQ(value.leixing, kInt) << name << " gave no int";
    result = value.lVal;
  } catch (const CError& error) {
    message = error.text;
  }
  self.ClearSomeVars(first);
  --self.m_nBeginCount;
  return message;
}

int32_t BuiltinCaller::Call(const char* name, const std::vector<Argument>& arguments) {
  int32_t result = 0;
  EXPECT_EQ(Run(name, arguments, result), "") << "in a call of " << name;
  return result;
}

std::string BuiltinCaller::Refusal(const char* name, const std::vector<Argument>& arguments) {
  int32_t result = 0;
  const std::string message = Run(name, arguments, result);
  return message.empty() ? "(no refusal)" : message;
}

std::string BuiltinCaller::Text(const char* variable) {
  CString text;
  return self.GetVarString(variable, text) == 0 ? std::string(text.view()) : "(no text)";
}

int64_t BuiltinCaller::Number(const char* variable) {
  const CVarCell* cell = self.SearchVar(variable);
  EXPECT_TRUE(cell && (cell->leixing == kInt || cell->leixing == kInt64)) << variable << " holds no number";
  if (!cell) return 0;
  return cell->leixing == kInt ? cell->lVal : cell->i64Val;
}

std::string FileBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return "(none)";
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void MakeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

}  // namespace karst::testing

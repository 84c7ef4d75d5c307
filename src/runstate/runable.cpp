// CRunable: failing, and the ways out to the host.
#include "runstate/runable.h"

#include <cstdarg>
#include <exception>
#include <memory>
#include <new>

#include "formats/format.h"
#include "platform/files.h"

namespace {

// Message box style: the box stops the task until it is answered (MB_TASKMODAL).
constexpr unsigned kTaskModal = 0x2000;

// 0 if the whole text went to the file's end.
int AppendToFile(const char* name, std::string_view text) {
  const karst::FileHandle file = karst::OpenForAppending(name);
  if (file == karst::kNoFile) return -1;
  const int64_t written = karst::WriteFile(file, text);
  karst::CloseFile(file);
  return written == static_cast<int64_t>(text.size()) ? 0 : -1;
}

enum class Made { kYes, kNoMemory, kBadFormat };

Made TryFormat(CString& text, const char* format, va_list values) {
  try {
    text.FormatV(format, values);
    return Made::kYes;
  } catch (const std::bad_alloc&) {
    return Made::kNoMemory;
  } catch (...) {
    return Made::kBadFormat;
  }
}

// False without memory.
bool TryFormatMessage(CString& text, const char* format, va_list values) {
  try {
    karst::FormatHostMessageV(text, format, values);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// 0, or -1 if the control had no memory for the text.
int AppendToControl(HWND control, const char* text) {
  try {
    karst::AppendToTextControl(control, text);
    return 0;
  } catch (const std::bad_alloc&) {
    return -1;
  }
}

}  // namespace

void CRunable::halt(const char* lpszFormat, ...) {
  va_list values;
  va_start(values, lpszFormat);
  const Made made = TryFormat(strError, lpszFormat, values);
  va_end(values);
  if (made == Made::kYes) throw CError(strError, -1, -1);
  if (made == Made::kNoMemory) HaltForMemory();
}

void CRunable::HaltForMemory(const char* text) {
  try {
    strError = text;
  } catch (const std::bad_alloc&) {
    strError = karst::MemoryError::kText;  // lives inside the object
  }
  throw karst::MemoryError(text);
}

int CRunable::eprintf(const char* lpszFormat, ...) {
  if (hWnd == nullptr) return -1;
  CString text;
  va_list values;
  va_start(values, lpszFormat);
  const bool made = TryFormatMessage(text, lpszFormat, values);
  va_end(values);
  return made ? AppendToControl(hWnd, text) : -1;
}

int CRunable::eprintf1(const char* lpszText) {
  if (hWnd == nullptr) return -1;
  return AppendToControl(hWnd, lpszText);
}

int CRunable::fnprintf(const char* lpszFile, const char* lpszFormat, ...) {
  CString text;
  va_list values;
  va_start(values, lpszFormat);
  const Made made = TryFormat(text, lpszFormat, values);
  va_end(values);
  return made == Made::kYes ? AppendToFile(lpszFile, text.view()) : -1;
}

int CRunable::CreateConsoleWindow() {
  try {
    hWnd = karst::AddWindow(std::make_unique<karst::MemoryTextControl>());
  } catch (const std::exception&) {
    hWnd = nullptr;
  }
  return hWnd ? 0 : -1;
}

int CRunable::MessageBoxA(const char* lpszText) {
  karst::ShowMessageBox(nullptr, lpszText, "Karst Message", kTaskModal);
  return 0;
}

// CRunable: failing, and the ways out to the host.
#include "script/runable.h"

#include <cstdarg>
#include <exception>
#include <memory>

#include "platform/files.h"
#include "platform/format.h"

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

// False if the text cannot be made, for whatever reason.
bool TryFormat(CString& text, const char* format, va_list values) {
  try {
    text.FormatV(format, values);
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace

void CRunable::halt(const char* lpszFormat, ...) {
  va_list values;
  va_start(values, lpszFormat);
  const bool made = TryFormat(strError, lpszFormat, values);
  va_end(values);
  if (made) throw CError(strError, -1, -1);
}

int CRunable::eprintf(const char* lpszFormat, ...) {
  if (hWnd == nullptr) return -1;
  CString text;
  va_list values;
  va_start(values, lpszFormat);
  karst::FormatHostMessageV(text, lpszFormat, values);
  va_end(values);
  return eprintf1(text);
}

int CRunable::eprintf1(const char* lpszText) {
  if (hWnd == nullptr) return -1;
  karst::AppendToTextControl(hWnd, lpszText);
  return 0;
}

int CRunable::fnprintf(const char* lpszFile, const char* lpszFormat, ...) {
  CString text;
  va_list values;
  va_start(values, lpszFormat);
  const bool made = TryFormat(text, lpszFormat, values);
  va_end(values);
  return made ? AppendToFile(lpszFile, text.view()) : -1;
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

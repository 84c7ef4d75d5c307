// CFuncArray: the built-in functions, how they are found and called, and what they keep between calls.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "formats/format.h"
#include "hyper/hyperwindow.h"
#include "platform/files.h"
#include "statis/statisdb.h"
#include "values/vararray.h"

class CFuncArray;
class CReplaceTable;

namespace karst {

class WorkText;

// A built-in: the interpreter, the number of arguments, the position of the first argument's cell, the result.
using BuiltinHandler = void (*)(CFuncArray* self, int argc, int first, CValue* result);

// One row of the table of built-ins; a row is addressed by its position, from 0.
struct KernelFunctionRow {
  const char* name;
  int32_t code;
  BuiltinHandler handler;  // null in the end row
  const char* kinds;       // its arguments, as builtins/table.h tells
};

// A text on its way to a file that a script names (fnprintf, FnCat, bmprintf).
struct NamedText {
  std::string_view file;
  std::string_view bytes;
  bool converted;  // bmprintf: the bytes are in a charset that the script chose
};
// Takes such a text in the place of the file. Gives the bytes that the script is told were written, or -1.
using NamedOutputHandler = std::function<int32_t(const NamedText& text)>;
// Is told of such a file that failed: its name as the script gives it, and the system's number of the error.
using NamedOutputFailureHandler = std::function<void(std::string_view file, int error)>;

}  // namespace karst

using KernelFunctionRow = karst::KernelFunctionRow;

class KARST_API CFuncArray : public CVarArray {
 public:
  using StdOutWriteCallBack = int32_t (*)(karst::FileHandle handle, const char* bytes, int32_t count, uint32_t param);
  using GetRcdCallBackFunction = int32_t (*)(const char* first, const char* second, std::vector<char>* record,
                                             uint32_t zero, CString* text);

  CFuncArray();
  ~CFuncArray() override;

  // The row of a built-in, or -1. `name` is matched without regard to ASCII case, or is "@" and a row number.
  // `handler` (may be null for a look-up by name) gets the row's handler, or null. `outName` (may be null) gets
  // "@" and the row number, for a look-up by name.
  int32_t FindKernelFunction(const char* name, karst::BuiltinHandler* handler, char* outName, int outSize);

  // Calls a built-in with the cells from position `first` on. An allocation that fails in any of them stops the script.
  void CallBuiltin(karst::BuiltinHandler handler, int argc, int first, CValue* result) {
    try {
      handler(this, argc, first, result);
    } catch (const std::bad_alloc&) {
      HaltForMemory();
    }
  }

  // Adds `count` argument cells from position `first` on to the words of a format call.
  void ProcessArgList(karst::WordList& words, int first, int count);

  // The shared checks: halt unless the cell is of the kind wanted. `name` (may be null) and `number`, from 1, go into
  // the message.
  void CheckStringArg(const CVarCell* cell, const char* name, int number);
  void CheckStringRefArg(const CVarCell* cell, const char* name, int number);
  void CheckIntArg(const CVarCell* cell, const char* name, int number);
  void CheckIntRefArg(const CVarCell* cell, const char* name, int number);
  // An int cell's value, or the low 32 bits of an int64 cell's.
  int32_t GetIntArg(const CVarCell* cell);

  // The cached handle behind a file name, opened at its end (or made) at first use; -1 on failure.
  karst::FileHandle GetFileHandleForAppend(const char* name);
  // What has failed until then is told as OnNamedOutputFailure says.
  void CloseAllCatchedFileHandle();
  // `handler` gets what goes to named files from here on; an empty one takes it off again. It may call AppendToFile, at
  // once or later. The host's stream "stdout" does not come this way.
  void OnNamedOutput(karst::NamedOutputHandler handler);
  const karst::NamedOutputHandler& NamedOutputTaker() const { return named_output_; }
  // What is done without a handler: appends to the file. The bytes written, or -1.
  int32_t AppendToFile(const karst::NamedText& text);
  // `handler` is told from here on of each failure of a file that scripts write by name: it cannot be opened, does not
  // take the whole text, or loses something when it is closed. EBUSY is a file for bmprintf that is open in this run.
  // The script gets its -1 all the same, but need not look at it; and a file that stays open is closed after the run,
  // by CloseAllCatchedFileHandle or the destructor. The handler is called on the thread of the failure, as often as
  // something fails, and throws nothing. What a handler of OnNamedOutput takes does not come here.
  void OnNamedOutputFailure(karst::NamedOutputFailureHandler handler);
  // For what writes such a file: calls the handler, with the reason in errno.
  void TellNamedOutputFailure(std::string_view file) const;
  // True if the file is open in this run: by a handle of a script, by its name, or to be read.
  bool HasFileOpen(const char* name) const;
  // From here on, files that this object's scripts open by handle are open for this object only. For objects that share
  // one run; any other handle is open for all objects of the process.
  void KeepFilesApart() { keeps_files_apart_ = true; }
  // Whose the handles of its scripts are, for the file layer.
  karst::FileOwner FileOwner() const { return keeps_files_apart_ ? this : karst::kNoOwner; }
  // A cached file is emptied and its handle given; any other is deleted, and the result is 1 in any case.
  int32_t DeleteMappedFile(const char* name);
  // 0, with `value` set, if the table file has a line for `key`; else -1.
  int ReplaceStringFromFile(const char* key, CString& value, const char* table_file);

  // Hypertext windows. All on the thread of the script; a window's handle is never given out again.
  //
  // Where this object's windows are shown; before the first one is opened. Without it: as SetHyperModuleMaker tells.
  void UseHyperModule(std::shared_ptr<karst::HyperModule> module);
  const std::shared_ptr<karst::HyperModule>& HyperModule();
  // Opens a window that shows the file. The handle, also where no window could be made: then it names none.
  int32_t OpenHyperWindow(const char* lpszFile);
  // 0, or -1 for a handle that was never opened or is closed already. Handle 0 stays: 0.
  int32_t CloseHyperWindow(int32_t nHandle);
  void CloseAllHyperWindow();
  // The live window behind a handle, or null; good until it is closed.
  CHyperWindow* HyperWindowFromHandle(int32_t nHandle);
  // Puts a control of the host behind handle 0, in the place of an earlier one. Its parent gets message 2024 with the
  // window's object and calls that object's SetCmd when the control has a command; a 2024 with 0 says that the object
  // is gone. Always 0.
  int32_t SetDefaultHyperWindow(HWND hControl);

  CStatisDB m_statisDB;  // the tables of the DB built-ins
  std::map<std::string, karst::FileHandle, std::less<>> m_mapCatchedFile;
  std::map<std::string, std::unique_ptr<CReplaceTable>, std::less<>> m_mapReplaceTable;
  karst::HyperWindowMap m_mapHyperWindow;
  int32_t m_nNextHyperWindow = 1;

  // The host's output stream, known to scripts as the file "stdout". Set by the host after construction; a handle
  // without a callback counts as none.
  karst::FileHandle m_hStdOut = karst::kNoFile;
  int32_t m_nStdOutChunked = 0;  // 1: HTTP chunked framing
  StdOutWriteCallBack m_pfnStdOutWrite = nullptr;
  uint32_t m_lStdOutParam = 0;
  GetRcdCallBackFunction GetRcdCallBack = nullptr;

 private:
  friend class karst::WorkText;
  karst::NamedOutputHandler named_output_;
  karst::NamedOutputFailureHandler named_output_failure_;
  bool keeps_files_apart_ = false;
  std::shared_ptr<karst::HyperModule> hyper_module_;
  std::unique_ptr<CString> work_text_;  // a call in a loop finds its memory ready; null while a call uses it
};

// CMARCFilter: loading, and one record at a time.
#include "marc/marcfilter.h"

#include <new>

// -1, with the message of a failure in `error_text`: the whole of it, or what can be had without memory.
int CMARCFilter::Refuse(const char* lead, const char* text, int line, CString& error_text) {
  try {
    error_text.Format("%s第%d行: %s (位于%s)", lead, line, text, szCodeFile);
  } catch (const std::bad_alloc&) {
    error_text = karst::MemoryError::kText;
  }
  return -1;
}

int CMARCFilter::LoadFilterFile(const char* lpszFltFile, CString& error_text, int nFlags) {
  const StopsHeld held(*this);
  hWnd = nullptr;
  const int result = LoadAndBuild(lpszFltFile, error_text, nFlags);
  if (result == -1) FreeAllCellOnTree();  // the filter from before is not run in its place either
  return result;
}

int CMARCFilter::LoadAndBuild(const char* lpszFltFile, CString& error_text, int nFlags) {
  try {
    if (ReadCodeFromFile(lpszFltFile, 0) == -1) {
      error_text.Format(".flt文件[%s]打开错误", lpszFltFile ? lpszFltFile : "");
      return -1;
    }
    if (BuildMARCTree() == -1 || !m_pheadcell) {
      error_text = "CMARCFilter::BuildMarcTree() error...\n";
      return -1;
    }
    if ((nFlags & 1) && SafeSetVar("HyperFn", "stdout") == -1) HaltForMemory();
    return 0;
  } catch (const CError& error) {
    return Refuse("\r\n", error.what(), LineOf(error), error_text);
  } catch (const std::bad_alloc&) {
    return Refuse("\r\n", karst::MemoryError::kText, GetCurLineNumber(), error_text);
  }
}

int CMARCFilter::FilterOneRecord(const CString& strRecord, CString& error_text) {
  const StopsHeld held(*this);
  try {
    CMARCString stream;
    stream.Open(strRecord);
    if (RunOneOfMany(&stream) == 0) return 0;
    error_text = "CMARCTree::RunMARCTree(CMARCStream *) error...";
    return -1;
  } catch (const CError& error) {
    return Refuse("", error.what(), LineOf(error), error_text);
  } catch (const std::bad_alloc&) {
    return Refuse("", karst::MemoryError::kText, GetCurLineNumber(), error_text);
  }
}

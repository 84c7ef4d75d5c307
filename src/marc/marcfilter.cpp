// CMARCFilter: loading, and one record at a time.
#include "marc/marcfilter.h"

CString CMARCFilter::DescribeError(const CError& error) {
  CString text;
  text.Format("第%d行: %s (位于%s)", GetCurLineNumber(), error.what(), szCodeFile);
  return text;
}

int CMARCFilter::LoadFilterFile(const char* lpszFltFile, CString& error_text, int nFlags) {
  try {
    Initial();
    hWnd = nullptr;
    if (ReadCodeFromFile(lpszFltFile, 0) == -1) {
      error_text.Format(".flt文件[%s]打开错误", lpszFltFile ? lpszFltFile : "");
      return -1;
    }
    if (BuildMARCTree() == -1) {
      error_text = "CMARCFilter::BuildMarcTree() error...\n";
      return -1;
    }
    if (nFlags & 1) SafeSetVar("HyperFn", "stdout");
    return 0;
  } catch (const CError& error) {
    error_text = "\r\n";
    error_text += DescribeError(error).view();
    return -1;
  }
}

int CMARCFilter::FilterOneRecord(const CString& strRecord, CString& error_text) {
  CMARCString stream;
  stream.Open(strRecord);
  try {
    if (RunOneOfMany(&stream) == 0) return 0;
    error_text = "CMARCTree::RunMARCTree(CMARCStream *) error...";
  } catch (const CError& error) {
    error_text = DescribeError(error);
  }
  return -1;
}

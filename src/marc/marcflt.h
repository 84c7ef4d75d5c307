// CMARCFLT: a filter tree in an object of its own, for a host that holds one record at a time; errors go to message
// boxes.
#pragma once

#include "marc/marctree.h"

// As CMARCFilter (marcfilter.h): each run is the whole tree over one record, and after an error the object serves the
// next one. m_pTree->CloseAfterError() does away with what an error left open.
//
// A message box comes by karst::ShowMessageBox (windows/window.h), where a host chooses what becomes of it. The call
// returns when it is answered.
//
// CHOICE: no copies. A copy would share the tree that each destructor deletes.
class KARST_API CMARCFLT {
 public:
  CMARCFLT();
  CMARCFLT(const CMARCFLT&) = delete;
  CMARCFLT& operator=(const CMARCFLT&) = delete;
  virtual ~CMARCFLT();

  // Loads the filter file, in the place of the filter that is loaded, and builds its tree. 0, or -1 after a message
  // box. A fault of the filter is a CError, and so is an allocation that failed. After either no filter is loaded, and
  // Run gives -1. A file that was read last, and has been corrected since, is read again after
  // m_pTree->ClearCodeCatch() alone (see marcfilter.h).
  int Initial(const char* lpszFltFile);
  // Runs the tree over one record in the internal form, with the variable "soutput" emptied first and handed back in
  // `strOutput`. 0, or -1 after message boxes, also for an allocation that failed; `strOutput` is then as it was.
  int Run(const CString& strRecord, CString& strOutput);
  // Runs the tree over one record, with the variable "HyperFn" set to the name of the file to write to. 0 or -1.
  int Run(const CString& strRecord, const char* lpszHyperFn);

  // Writes a record in the internal form out as ISO 2709, without its local fields (tag "-.."), and gives the length of
  // the output, which no NUL ends. `src` ends with its 0x1D; `dst`, which lies elsewhere, has room for the length of
  // the record, 9 bytes for each field, and 1.
  //
  // A field of 10,000 bytes or more has only the last four digits of its length in the directory, a record of 100,000
  // the last five of its own (karst::IsoLayout can tell beforehand). A field without a whole tag is left out. A last
  // field without its 0x1E gets one where the room bears it, as it does if a field was left out, and is left out
  // otherwise. A text with no 0x1D ahead of its NUL, or with one in the header, is no record: 0, and nothing is
  // written.
  int JineiToISO2709(const char* src, char* dst);
  // Writes `n` as exactly `width` decimal digits, zero-filled, with no NUL. Digits that do not fit are dropped, and so
  // is a sign. 0.
  int my_itoa(int n, char* buf, int width);

  CString m_strFltFile;  // the loaded filter file
  CMARCTree* m_pTree;    // owned
  CMARCString m_Stream;  // the record that runs

 private:
  void SetVariable(const char* name, const char* value);
  int ReportFailure(const char* text, int line);
  int RunOverRecord(const CString& record, const char* variable, const char* value);
};

// CMARCFilter: a filter for a host that holds one record at a time and wants errors as text.
//
//   CMARCFilter filter;
//   CString error, output;
//   if (filter.LoadFilterFile("books.flt", error, 0) == -1) return Report(error);
//   for (const CString& record : records) {
//     filter.SafeSetVar("soutput", "");
//     if (filter.FilterOneRecord(record, error) == -1) {
//       Report(error);
//       filter.CloseAfterError();
//     } else if (filter.GetVarString("soutput", output) == 0) {
//       Use(output);
//     }
//   }
#pragma once

#include "marc/marctree.h"

// Each call runs the whole tree over its record: Root code, Record block, Final code. What the Root code declares is
// gone after the run. What is to outlast a record lives in variables of the host, made with SafeSetVar; the filter uses
// them without declaring them. Between host and filter these names are customary: "soutput", the text that the filter
// makes of a record, and "HyperFn", the file that it writes to.
//
// After an error the object serves the next record. The scopes that the error left open stay open, with the cells in
// them, and the next records run inside them: a name that such a scope declared is still known there. Of several errors
// only what the last one left stays, so that the object does not grow. A host that wants each record to run as if it
// were the first calls CloseAfterError behind an error.
//
// Errors come as text only, and what the filter prints is dropped. An object serves one thread at a time; two objects
// do not touch each other.
//
// CHOICE: no copies. An interpreter with its variables half way through a run has no copy that would make sense.
class KARST_API CMARCFilter : public CMARCTree {
 public:
  CMARCFilter() = default;
  CMARCFilter(const CMARCFilter&) = delete;
  CMARCFilter& operator=(const CMARCFilter&) = delete;
  ~CMARCFilter() override = default;

  // Loads the filter file, in the place of the filter that is loaded, and builds its tree. With bit 0 of `nFlags` the
  // variable "HyperFn" is set to "stdout", the host's output stream. 0, or -1 with `strError` set: "\r\n第%d行: %s
  // (位于%s)" for a fault of the filter. After -1, to which a stop request during the call leads too, no filter is
  // loaded: not the one from before either.
  //
  // The object keeps the code of the file that it read last, also where the filter in it was refused: the same name
  // again serves that code, and the file is not read. A host that offers to load a corrected file calls ClearCodeCatch
  // before LoadFilterFile.
  int LoadFilterFile(const char* lpszFltFile, CString& strError, int nFlags);
  // Runs the tree over one record in the internal form. 0, or -1 with `strError` set: "第%d行: %s (位于%s)" for a
  // script error, "CMARCTree::RunMARCTree(CMARCStream *) error..." where no filter is loaded or the filter ended with
  // -1.
  // An allocation that failed is a script error too, "mem low...": nothing passes but what a host's own callbacks
  // throw.
  int FilterOneRecord(const CString& strRecord, CString& strError);

 private:
  int LoadAndBuild(const char* lpszFltFile, CString& strError, int nFlags);
  int Refuse(const char* lead, const char* text, int line, CString& error_text);
};

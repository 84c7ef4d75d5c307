// CMARCFLT: one record at a time with message boxes, and records out as ISO 2709.
#include "marc/marcflt.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "records/isowriter.h"

namespace {

// Where there is no memory to show it, the result of -1 has to do.
void ShowBox(const char* text) {
  try {
    karst::ShowMessageBox(nullptr, text, "Karst Message", 0);
  } catch (const std::bad_alloc&) {
  }
}

}  // namespace

// The tree comes last: nothing would free it if another member failed.
CMARCFLT::CMARCFLT() : m_pTree(nullptr) { m_pTree = new CMARCTree; }

CMARCFLT::~CMARCFLT() { delete m_pTree; }

int CMARCFLT::Initial(const char* lpszFltFile) try {
  const CRunable::StopsHeld held(*m_pTree);
  m_pTree->hWnd = nullptr;
  m_pTree->FreeAllCellOnTree();  // whatever refuses the new filter, the old one is not run in its place
  m_strFltFile = lpszFltFile;
  if (m_pTree->ReadCodeFromFile(m_strFltFile, 0) == -1) {
    ShowBox(".flt文件打开错误");
    return -1;
  }
  if (m_pTree->BuildMARCTree() == -1 || !m_pTree->m_pheadcell) {
    m_pTree->FreeAllCellOnTree();
    ShowBox("nBuildMarcTree error");
    return -1;
  }
  return 0;
} catch (const std::bad_alloc&) {
  m_pTree->HaltForMemory();
}

int CMARCFLT::Run(const CString& strRecord, CString& strOutput) {
  if (RunOverRecord(strRecord, "soutput", "") == -1) return -1;
  try {
    if (m_pTree->GetVarString("soutput", strOutput) == 0) return 0;
  } catch (const std::bad_alloc&) {
    return ReportFailure(karst::MemoryError::kText, m_pTree->GetCurLineNumber());
  }
  ShowBox("GetVarString error ");
  return -1;
}

int CMARCFLT::Run(const CString& strRecord, const char* lpszHyperFn) {
  return RunOverRecord(strRecord, "HyperFn", lpszHyperFn);
}

void CMARCFLT::SetVariable(const char* name, const char* value) {
  // An error may have left a variable open that hides the host's by one of another type.
  const CVarCell* found = m_pTree->SearchVar(name);
  if (found && found->leixing != karst::kText) m_pTree->CloseAfterError();
  if (m_pTree->SafeSetVar(name, value) == -1) m_pTree->HaltForMemory();
}

// The boxes that show an error. -1.
int CMARCFLT::ReportFailure(const char* text, int line) {
  CString message;
  try {
    message.Format("第%d行: %s", line, text);
  } catch (const std::bad_alloc&) {
    message = karst::MemoryError::kText;
  }
  ShowBox(message);
  ShowBox("error == 1");
  return -1;
}

// Runs the tree with a variable of the host set. 0, or -1 after message boxes.
int CMARCFLT::RunOverRecord(const CString& record, const char* variable, const char* value) {
  const CRunable::StopsHeld held(*m_pTree);
  try {
    m_Stream.Open(record);
    SetVariable(variable, value);
    if (m_pTree->RunOneOfMany(&m_Stream) != -1) return 0;
  } catch (const CError& error) {
    return ReportFailure(error.what(), m_pTree->LineOf(error));
  } catch (const char* text) {
    return ReportFailure(text, m_pTree->GetCurLineNumber());
  } catch (const std::bad_alloc&) {
    return ReportFailure(karst::MemoryError::kText, m_pTree->GetCurLineNumber());
  }
  ShowBox("CMARCTree::RunMARCTree() Error");
  return -1;
}

int CMARCFLT::JineiToISO2709(const char* src, char* dst) {
  const size_t length = src ? std::strcspn(src, "\x1d") : 0;
  if (!src || !dst || !src[length]) return 0;
  const std::string_view record(src, length + 1);
  karst::IsoLayout layout(record, karst::LocalFields::kLeftOut);
  if (layout.Fault() == karst::IsoFault::kNoRecord) return 0;
  const size_t room = record.size() + 9 * layout.FieldsSeen() + 1;
  if (layout.Length() > room) layout.LeaveOutOpenField();
  layout.Write(dst);
  return static_cast<int>(layout.Length());
}

int CMARCFLT::my_itoa(int n, char* buf, int width) {
  if (width > 0) karst::WriteDigits(static_cast<uint64_t>(std::abs(int64_t{n})), buf, static_cast<size_t>(width));
  return 0;
}

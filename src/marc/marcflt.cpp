// CMARCFLT: one record at a time with message boxes, and records out as ISO 2709.
#include "marc/marcflt.h"

#include <cstdlib>
#include <cstring>

#include "outside/isowriter.h"

namespace {

void ShowBox(const char* text) { karst::ShowMessageBox(nullptr, text, "Karst Message", 0); }

}  // namespace

CMARCFLT::CMARCFLT() : m_pTree(new CMARCTree) {}

CMARCFLT::~CMARCFLT() { delete m_pTree; }

int CMARCFLT::Initial(const char* lpszFltFile) {
  m_pTree->Initial();
  m_pTree->hWnd = nullptr;
  m_strFltFile = lpszFltFile;
  if (m_pTree->ReadCodeFromFile(m_strFltFile, 0) == -1) {
    ShowBox(".flt文件打开错误");
    return -1;
  }
  if (m_pTree->BuildMARCTree() == -1) {
    ShowBox("nBuildMarcTree error");
    return -1;
  }
  return 0;
}

int CMARCFLT::Run(const CString& strRecord, CString& strOutput) {
  if (!RunOverRecord(strRecord, "soutput", "")) return -1;
  if (m_pTree->GetVarString("soutput", strOutput) == 0) return 0;
  ShowBox("GetVarString error ");
  return -1;
}

int CMARCFLT::Run(const CString& strRecord, const char* lpszHyperFn) {
  return RunOverRecord(strRecord, "HyperFn", lpszHyperFn) ? 0 : -1;
}

void CMARCFLT::SetVariable(const char* name, const char* value) {
  // An error may have left a variable open that hides the host's by one of another type.
  const CVarCell* found = m_pTree->SearchVar(name);
  if (found && found->leixing != karst::kText) m_pTree->CloseAfterError();
  m_pTree->SafeSetVar(name, value);
}

// Runs the tree with a variable of the host set. False after message boxes.
bool CMARCFLT::RunOverRecord(const CString& record, const char* variable, const char* value) {
  const auto report = [this](const char* text) {
    CString message;
    message.Format("第%d行: %s", m_pTree->GetCurLineNumber(), text);
    ShowBox(message);
    ShowBox("error == 1");
    return false;
  };
  m_Stream.Open(record);
  try {
    SetVariable(variable, value);
    if (m_pTree->RunOneOfMany(&m_Stream) != -1) return true;
  } catch (const CError& error) {
    return report(error.what());
  } catch (const char* text) {
    return report(text);
  }
  ShowBox("CMARCTree::RunMARCTree() Error");
  return false;
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

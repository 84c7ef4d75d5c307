// The built-ins of hypertext windows, and the windows that an interpreter object owns.
#include <utility>

#include "builtins/args.h"
#include "builtins/table.h"
#include "hyper/hyperframe.h"
#include "hyper/hypermodule.h"
#include "windows/hypermessages.h"

void CFuncArray::UseHyperModule(std::shared_ptr<karst::HyperModule> module) { hyper_module_ = std::move(module); }

const std::shared_ptr<karst::HyperModule>& CFuncArray::HyperModule() {
  if (!hyper_module_) hyper_module_ = karst::MakeHyperModule();
  return hyper_module_;
}

int32_t CFuncArray::OpenHyperWindow(const char* lpszFile) {
  // LIMIT: a handle whose low 16 bits are those of the host's window is passed over, and the 65,536th window from an
  // open one on takes that one's place.
  if (static_cast<uint16_t>(m_nNextHyperWindow) == 0) ++m_nNextHyperWindow;
  const int32_t handle = m_nNextHyperWindow++;
  const std::shared_ptr<karst::HyperModule> module = HyperModule();
  if (!module->Prepare()) MessageBoxA("Load DLL veldctl.dll error ...");
  auto made = std::make_unique<CHyperWindow>();
  CHyperWindow& window = *made;
  m_mapHyperWindow[static_cast<uint16_t>(handle)] = std::move(made);
  karst::ShowHyperWindow(*module, window, lpszFile ? lpszFile : "");
  return handle;
}

int32_t CFuncArray::CloseHyperWindow(int32_t nHandle) {
  if (nHandle == 0) return 0;
  const auto key = static_cast<uint16_t>(nHandle);
  // CHOICE: no handle but 0 closes the host's window.
  if (nHandle < 0 || key == 0) return -1;
  const auto found = m_mapHyperWindow.find(key);
  if (found == m_mapHyperWindow.end()) return -1;
  karst::DestroyWindow(found->second->m_hFrame);
  m_mapHyperWindow.extract(key);
  return 0;
}

void CFuncArray::CloseAllHyperWindow() {
  // Taken out first: a host that hears of it may look for windows.
  karst::HyperWindowMap windows;
  windows.swap(m_mapHyperWindow);
  for (auto& [handle, window] : windows) window.reset();
}

CHyperWindow* CFuncArray::HyperWindowFromHandle(int32_t nHandle) {
  return karst::FindHyperWindow(m_mapHyperWindow, nHandle);
}

int32_t CFuncArray::SetDefaultHyperWindow(HWND hControl) {
  auto window = std::make_unique<CHyperWindow>();
  m_mapHyperWindow[0].reset();
  window->m_hControl = hControl;
  CHyperWindow* entered = (m_mapHyperWindow[0] = std::move(window)).get();
  karst::SendMessage(karst::GetParent(hControl), karst::kSetHyperWindow, 0,
                     reinterpret_cast<karst::MessageLong>(entered));
  return 0;
}

namespace karst::builtin {
namespace {

constexpr int32_t kNoWindow = -1;

template <typename Content>
MessageLong SendTo(const CHyperWindow& window, unsigned message, const Content* content) {
  return SendMessage(window.m_hControl, message, 0, reinterpret_cast<MessageLong>(content));
}

}  // namespace

// OpenWindow (file): the new window's handle.
void OpenWindow(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("OpenWindow"), "OpenHyperWindow");
  result->SetVal(self->OpenHyperWindow(args.Text(1)));
}

// CloseWindow (handle): 0, or -1.
void CloseWindow(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("CloseWindow"));
  result->SetVal(self->CloseHyperWindow(args.Int(1)));
}

// WaitWindow (handle, &command): the command's length, or -1.
void WaitWindow(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("WaitWindow"));
  const int32_t handle = args.Int(1);
  args.TextRef(2);
  CHyperWindow* window = self->HyperWindowFromHandle(handle);
  const auto key = static_cast<uint16_t>(handle);
  // What is dispatched meanwhile may be a host's own closing of this window.
  const auto goes_on = [&] {
    const auto found = self->m_mapHyperWindow.find(key);
    return !self->IsStop() && found != self->m_mapHyperWindow.end() && found->second.get() == window;
  };
  const std::shared_ptr<HyperModule> module = window ? self->HyperModule() : nullptr;
  if (!window || !WaitForCommand(module->System(), *window, goes_on)) {
    args.SetText(2, {});
    result->SetVal(kNoWindow);
    return;
  }
  result->SetVal(args.SetText(2, window->m_strCmd.view()));
  window->m_strCmd.Empty();
}

// MoveWindow (handle, left, top, width, height): nonzero if it was moved, 0 if not, or -1.
void MoveWindow(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("MoveWindow"));
  const int32_t handle = args.Int(1);
  result->SetVal(kNoWindow);
  if (handle == 0) return;
  Place place{args.Int(2), args.Int(3), args.Int(4), args.Int(5)};
  const CHyperWindow* window = self->HyperWindowFromHandle(handle);
  if (!window) return;
  WindowSystem& system = self->HyperModule()->System();
  place.width = FrameWidth(system, place.width);
  place.height = FrameHeight(system, place.height);
  result->SetVal(system.MoveWindow(window->m_hFrame, place, true));
}

// SetHyperFile (handle, file): the control's answer, or -1.
void SetHyperFile(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("SetHyperFile"));
  const int32_t handle = args.Int(1);
  const CString& file = args.Text(2);
  const CHyperWindow* window = self->HyperWindowFromHandle(handle);
  result->SetVal(kNoWindow);
  if (!window) return;
  // The file may be one that the script has just written.
  self->CloseAllCatchedFileHandle();
  const HWND control = window->m_hControl;
  const auto answer = SendTo(*window, kShowFile, file.c_str());
  WindowSystem& system = self->HyperModule()->System();
  system.UpdateWindow(control);
  system.SetFocus(control);
  result->SetVal(static_cast<int32_t>(answer));
}

// SetTitle (handle, title): 0, or -1.
void SetTitle(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("SetTitle"));
  const int32_t handle = args.Int(1);
  const CString& title = args.Text(2);
  const CHyperWindow* window = handle == 0 ? nullptr : self->HyperWindowFromHandle(handle);
  result->SetVal(kNoWindow);
  if (!window) return;
  self->HyperModule()->System().SetWindowTitle(window->m_hFrame, title);
  result->SetVal(0);
}

// PrintWindow (handle, flag): the control's answer, or -1. The flag may be left out: 0.
void PrintWindow(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("PrintWindow"));
  const int32_t handle = args.Int(1);
  const int32_t flag = argc == 1 ? 0 : args.Int(2);
  const CHyperWindow* window = self->HyperWindowFromHandle(handle);
  result->SetVal(kNoWindow);
  if (!window) return;
  result->SetVal(static_cast<int32_t>(SendMessage(window->m_hControl, kPrint, 0, flag)));
}

// GetHyperMacro (handle, name, &value): the control's answer, or -1.
void GetHyperMacro(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("GetHyperMacro"));
  const int32_t handle = args.Int(1);
  const CString& name = args.Text(2);
  args.TextRef(3);
  const CHyperWindow* window = self->HyperWindowFromHandle(handle);
  if (!window) {
    args.SetText(3, {});
    result->SetVal(kNoWindow);
    return;
  }
  char value[kHyperTextRoom] = {};
  const MacroRequest request{name, value, sizeof value};
  const MessageLong answer = SendTo(*window, kGetMacro, &request);
  value[sizeof value - 1] = 0;
  if (answer != -1) args.SetText(3, value);
  result->SetVal(static_cast<int32_t>(answer));
}

// SetHyperMacro (handle, name, value): the control's answer, or -1.
void SetHyperMacro(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("SetHyperMacro"));
  const int32_t handle = args.Int(1);
  const CString& name = args.Text(2);
  const MacroSetting setting{name, args.Text(3)};
  const CHyperWindow* window = self->HyperWindowFromHandle(handle);
  result->SetVal(window ? static_cast<int32_t>(SendTo(*window, kSetMacro, &setting)) : kNoWindow);
}

}  // namespace karst::builtin

// How the tables tell the user that there is no memory: their results alone tell a script only that something failed.
#pragma once

#include "windows/window.h"

namespace karst {

inline void ReportNoMemory() { ShowMessageBox(nullptr, "mem low...", "Karst Message", 0); }

}  // namespace karst

// Starting the user's browser.
#pragma once

#include <string>

namespace karst::cli {

// True if there is a screen to show a browser on.
bool HasDisplay();
// Hands an address to the user's browser by xdg-open, without a shell, and does not wait for it. What it prints is
// dropped. False if it could not be started.
bool OpenInBrowser(const std::string& address);

}  // namespace karst::cli

// The module that the server of pages is in. The libraries that it stands on take longer to load than a short script
// takes to run, so it is loaded with the first window.
#pragma once

#include <memory>

#include "cli/windows/page_server.h"

namespace karst::cli {

// Loads the module, which then stays. False if it is not there or does not fit.
bool LoadPageModule();
// A server of the module, which has to be loaded. HostError if it cannot listen.
std::unique_ptr<PageServer> MakePageServer(PageBoard& board, PageServer::Taker taker);

}  // namespace karst::cli

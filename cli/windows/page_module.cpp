// Finding the module: beside the program where it was built, in a folder of its own below the libraries where it was
// installed.
#include "cli/windows/page_module.h"

#include <dlfcn.h>

#include <filesystem>
#include <utility>

namespace karst::cli {
namespace {

decltype(&KarstMakePageServer) maker = nullptr;

void* OpenModule() {
  std::error_code failure;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failure);
  if (failure) return nullptr;
  for (const char* folder : {".", KARST_MODULE_FOLDER}) {
    const std::filesystem::path file = program.parent_path() / folder / "karst-pages.so";
    if (void* module = dlopen(file.c_str(), RTLD_NOW)) return module;
  }
  return nullptr;
}

}  // namespace

bool LoadPageModule() {
  if (!maker) {
    if (void* module = OpenModule()) {
      maker = reinterpret_cast<decltype(maker)>(dlsym(module, "KarstMakePageServer"));
    }
  }
  return maker != nullptr;
}

std::unique_ptr<PageServer> MakePageServer(PageBoard& board, PageServer::Taker taker) {
  std::unique_ptr<PageServer> server;
  maker(board, std::move(taker), server);
  return server;
}

}  // namespace karst::cli

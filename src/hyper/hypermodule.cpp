// The control library and the frame class of a window system, and the module that an interpreter object gets.
#include "hyper/hypermodule.h"

#include <mutex>
#include <utility>

#include "hyper/hyperframe.h"
#include "hyper/veldctl.h"
#include "windows/hypermessages.h"
#include "windows/memorywindows.h"

namespace karst {

namespace {

struct MakerSlot {
  std::mutex mutex;
  HyperModuleMaker maker;
};

// Never destroyed: an interpreter object in a host's static storage may outlive every static of this library.
MakerSlot& Slot() {
  static MakerSlot& slot = *new MakerSlot;
  return slot;
}

}  // namespace

HyperModule::HyperModule(std::unique_ptr<WindowSystem> system) : system_(std::move(system)) {}

HyperModule::~HyperModule() {
  if (library_loaded_) system_->FreeControlLibrary();
  if (class_registered_) system_->UnregisterClass(kFrameClassName);
}

bool HyperModule::Prepare() {
  if (library_loaded_) return true;
  library_loaded_ = system_->LoadControlLibrary(kHyperControlLibrary);
  if (library_loaded_ && !class_registered_) class_registered_ = system_->RegisterClass(FrameClass());
  return library_loaded_;
}

std::shared_ptr<HyperModule> MakeMemoryModule() {
  return std::make_shared<HyperModule>(
      std::make_unique<MemoryWindows>([] { return std::make_unique<VeldControl>(nullptr); }));
}

void SetHyperModuleMaker(HyperModuleMaker maker) {
  std::lock_guard lock(Slot().mutex);
  Slot().maker = std::move(maker);
}

std::shared_ptr<HyperModule> MakeHyperModule() {
  HyperModuleMaker maker;
  {
    std::lock_guard lock(Slot().mutex);
    maker = Slot().maker;
  }
  std::shared_ptr<HyperModule> made = maker ? maker() : nullptr;
  return made ? made : MakeMemoryModule();
}

}  // namespace karst

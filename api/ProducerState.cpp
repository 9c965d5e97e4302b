// Definitions of the entry layer's process-wide values.
#include "api/ProducerState.h"

#include <memory>

#include "api/HandleRegistry.h"
#include "modules/tcSystem.h"

std::atomic<bool> Initialised{false};
std::atomic<GenTL::GC_ERROR> LastError{GenTL::GC_ERR_SUCCESS};

namespace {

// Owns the system. A consumer that exits or unloads the library without TLClose or GCCloseLib
// gets the tree released (acquisitions stopped) by this object's destructor. Touching the
// handle registry first constructs it before the owner, so it is destroyed after it.
struct tsSystemOwner {
  tsSystemOwner() { HandleRegistry::Find(nullptr); }
  std::unique_ptr<tcSystem> system;
};
tsSystemOwner gOwner;

}  // namespace

tcSystem* SystemSingleton() {
  return gOwner.system.get();
}

void CreateSystem() {
  gOwner.system = std::make_unique<tcSystem>();
}

void DestroySystem() {
  gOwner.system.reset();
}

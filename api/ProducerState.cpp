// Definitions of the entry layer's process-wide values.
#include "api/ProducerState.h"

#include "base/ModuleOwner.h"
#include "base/tcMutex.h"
#include "modules/tcSystem.h"

std::atomic<bool> Initialised{false};
std::atomic<GenTL::GC_ERROR> LastError{GenTL::GC_ERR_SUCCESS};

namespace {

// Owns the system. A consumer that exits or unloads the library without TLClose or GCCloseLib
// gets the tree released (acquisitions stopped) by this object's destructor. Touching the
// handle registry first constructs it before the owner, so it is destroyed after it.
struct tsSystemOwner {
  tsSystemOwner() { HandleRegistry::Find(nullptr); }
  tcMutex mutex;
  ModuleOwner<tcSystem> system GENTL_GUARDED_BY(mutex);
};
tsSystemOwner gOwner;

}  // namespace

GenTL::GC_ERROR CreateSystem(void** handle) {
  tcMutexLock lock(gOwner.mutex);
  if (gOwner.system != nullptr) return GenTL::GC_ERR_RESOURCE_IN_USE;
  if (handle == nullptr) return GenTL::GC_ERR_INVALID_PARAMETER;
  gOwner.system = MakeModule<tcSystem>(&GenTL::GCGetInfo);
  *handle = gOwner.system.get();
  return GenTL::GC_ERR_SUCCESS;
}

bool DestroySystem(const void* handle) {
  ModuleOwner<tcSystem> system;
  {
    tcMutexLock lock(gOwner.mutex);
    if (gOwner.system == nullptr || (handle != nullptr && handle != gOwner.system.get())) {
      return false;
    }
    system = std::move(gOwner.system);
  }
  return true;  // `system` is destroyed here, outside the lock, once no call runs on it
}

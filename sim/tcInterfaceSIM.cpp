// tcInterfaceSIM: identity of the simulated interface.
#include "sim/tcInterfaceSIM.h"

#include "base/Log.h"

using namespace GenTL;

tcInterfaceSIM::tcInterfaceSIM(tcSystem* system) : tcInterface("Simulated", "Custom", system) {}

GC_ERROR tcInterfaceSIM::UpdateDeviceList(bool8_t* changed, uint64_t) {
  if (changed != nullptr) *changed = false;
  GENTL_LOG(kLogWarning, "%s: the simulated camera is not available in this build; no devices",
            Name());
  return GC_ERR_SUCCESS;
}

// tcInterfaceU3V: identity of the USB3 Vision interface.
#include "u3v/tcInterfaceU3V.h"

#include "base/Log.h"

using namespace GenTL;

tcInterfaceU3V::tcInterfaceU3V(tcSystem* system) : tcInterface("U3V", "U3V", system) {}

GC_ERROR tcInterfaceU3V::UpdateDeviceList(bool8_t* changed, uint64_t) {
  if (changed != nullptr) *changed = false;
  GENTL_LOG(kLogWarning, "%s: USB3 Vision enumeration is not available in this build; no devices",
            Name());
  return GC_ERR_SUCCESS;
}

// tcInterfaceGEV: identity and information of the GigE Vision interface.
#include "gev/tcInterfaceGEV.h"

#include "base/Log.h"

using namespace GenTL;

tcInterfaceGEV::tcInterfaceGEV(tcSystem* system) : tcInterface("GEV", "GEV", system) {}

GC_ERROR tcInterfaceGEV::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  if (type == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (command == INTERFACE_INFO_DISPLAYNAME || command == INTERFACE_INFO_TLTYPE) {
    return GC_ERR_NOT_IMPLEMENTED;
  }
  return tcInterface::GetInfo(command, type, buffer, size);
}

GC_ERROR tcInterfaceGEV::UpdateDeviceList(bool8_t* changed, uint64_t) {
  if (changed != nullptr) *changed = false;
  GENTL_LOG(kLogWarning, "%s: GigE Vision discovery is not available in this build; no devices",
            Name());
  return GC_ERR_SUCCESS;
}

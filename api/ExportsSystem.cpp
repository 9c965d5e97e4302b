// TL-family exports: the handle must be the system singleton; the operations are tcSystem's.
#include "GenTL.h"
#include "api/Frame.h"
#include "api/ProducerState.h"
#include "modules/tcSystem.h"

namespace GenTL {

namespace {

tcSystem* SystemOf(TL_HANDLE handle) {
  tcSystem* system = SystemSingleton();
  return handle != nullptr && handle == system ? system : nullptr;
}

}  // namespace

// Library information through the system handle; the inner GCGetInfo call is itself framed.
GC_ERROR GC_CALLTYPE TLGetInfo(TL_HANDLE hSystem, TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                               void* pBuffer, size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    if (SystemOf(hSystem) == nullptr) return GC_ERR_INVALID_HANDLE;
    return GCGetInfo(iInfoCmd, piType, pBuffer, piSize);
  });
}

GC_ERROR GC_CALLTYPE TLGetNumInterfaces(TL_HANDLE hSystem, uint32_t* piNumIfaces) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tcSystem* system = SystemOf(hSystem);
    return system == nullptr ? GC_ERR_INVALID_HANDLE : system->GetNumInterfaces(piNumIfaces);
  });
}

GC_ERROR GC_CALLTYPE TLGetInterfaceID(TL_HANDLE hSystem, uint32_t iIndex, char* sID,
                                      size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tcSystem* system = SystemOf(hSystem);
    return system == nullptr ? GC_ERR_INVALID_HANDLE : system->GetInterfaceID(iIndex, sID, piSize);
  });
}

GC_ERROR GC_CALLTYPE TLGetInterfaceInfo(TL_HANDLE hSystem, const char* sIfaceID,
                                        INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                                        void* pBuffer, size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tcSystem* system = SystemOf(hSystem);
    return system == nullptr
               ? GC_ERR_INVALID_HANDLE
               : system->GetInterfaceInfo(sIfaceID, iInfoCmd, piType, pBuffer, piSize);
  });
}

// Hands out the interface object (owned by the system) and runs its open hook.
GC_ERROR GC_CALLTYPE TLOpenInterface(TL_HANDLE hSystem, const char* sIfaceID, IF_HANDLE* phIface) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tcSystem* system = SystemOf(hSystem);
    return system == nullptr ? GC_ERR_INVALID_HANDLE : system->OpenInterface(sIfaceID, phIface);
  });
}

GC_ERROR GC_CALLTYPE TLUpdateInterfaceList(TL_HANDLE hSystem, bool8_t* pbChanged,
                                           uint64_t iTimeout) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tcSystem* system = SystemOf(hSystem);
    return system == nullptr ? GC_ERR_INVALID_HANDLE
                             : system->UpdateInterfaceList(pbChanged, iTimeout);
  });
}

}  // namespace GenTL

// TL-family exports: the handle must be the live system; the operations are tcSystem's.
#include "GenTL.h"
#include "api/Frame.h"
#include "api/PinnedHandle.h"
#include "modules/tcSystem.h"

namespace GenTL {

namespace {

template <typename Operation>
GC_ERROR ForwardToSystem(const char* signature, TL_HANDLE handle, Operation&& operation) {
  return Framed(signature, kForwardingCall, [&]() -> GC_ERROR {
    tsPinned<tcSystem> system = PinAs<tcSystem>(handle, HandleKind::kSystem);
    return system.object == nullptr ? GC_ERR_INVALID_HANDLE : operation(system.object);
  });
}

}  // namespace

// Library information through the system handle; the inner GCGetInfo call is itself framed.
GC_ERROR GC_CALLTYPE TLGetInfo(TL_HANDLE hSystem, TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                               void* pBuffer, size_t* piSize) {
  return ForwardToSystem(__PRETTY_FUNCTION__, hSystem, [&](tcSystem*) -> GC_ERROR {
    return GCGetInfo(iInfoCmd, piType, pBuffer, piSize);
  });
}

GC_ERROR GC_CALLTYPE TLGetNumInterfaces(TL_HANDLE hSystem, uint32_t* piNumIfaces) {
  return ForwardToSystem(__PRETTY_FUNCTION__, hSystem, [&](tcSystem* system) -> GC_ERROR {
    return system->GetNumInterfaces(piNumIfaces);
  });
}

GC_ERROR GC_CALLTYPE TLGetInterfaceID(TL_HANDLE hSystem, uint32_t iIndex, char* sID,
                                      size_t* piSize) {
  return ForwardToSystem(__PRETTY_FUNCTION__, hSystem, [&](tcSystem* system) -> GC_ERROR {
    return system->GetInterfaceID(iIndex, sID, piSize);
  });
}

GC_ERROR GC_CALLTYPE TLGetInterfaceInfo(TL_HANDLE hSystem, const char* sIfaceID,
                                        INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                                        void* pBuffer, size_t* piSize) {
  return ForwardToSystem(__PRETTY_FUNCTION__, hSystem, [&](tcSystem* system) -> GC_ERROR {
    return system->GetInterfaceInfo(sIfaceID, iInfoCmd, piType, pBuffer, piSize);
  });
}

// Hands out the interface object (owned by the system) and runs its open hook.
GC_ERROR GC_CALLTYPE TLOpenInterface(TL_HANDLE hSystem, const char* sIfaceID, IF_HANDLE* phIface) {
  return ForwardToSystem(__PRETTY_FUNCTION__, hSystem, [&](tcSystem* system) -> GC_ERROR {
    return system->OpenInterface(sIfaceID, phIface);
  });
}

GC_ERROR GC_CALLTYPE TLUpdateInterfaceList(TL_HANDLE hSystem, bool8_t* pbChanged,
                                           uint64_t iTimeout) {
  return ForwardToSystem(__PRETTY_FUNCTION__, hSystem, [&](tcSystem* system) -> GC_ERROR {
    return system->UpdateInterfaceList(pbChanged, iTimeout);
  });
}

}  // namespace GenTL

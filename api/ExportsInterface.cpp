// IF-family exports: a null handle is GC_ERR_INVALID_PARAMETER; a handle that is not a live
// interface is GC_ERR_INVALID_HANDLE.
#include "GenTL.h"
#include "api/Frame.h"
#include "api/PinnedHandle.h"
#include "modules/tcInterface.h"

namespace GenTL {

namespace {

template <typename Operation>
GC_ERROR ForwardToInterface(const char* signature, IF_HANDLE handle, GC_ERROR nullHandleResult,
                            Operation&& operation) {
  return Framed(signature, kForwardingCall, [&]() -> GC_ERROR {
    if (handle == nullptr) return nullHandleResult;
    tsPinned<tcInterface> interface = PinAs<tcInterface>(handle, HandleKind::kInterface);
    return interface.object == nullptr ? GC_ERR_INVALID_HANDLE : operation(interface.object);
  });
}

}  // namespace

GC_ERROR GC_CALLTYPE IFClose(IF_HANDLE hIface) {
  return ForwardToInterface(__PRETTY_FUNCTION__, hIface, GC_ERR_INVALID_PARAMETER,
                            [&](tcInterface* i) -> GC_ERROR { return i->Close(); });
}

GC_ERROR GC_CALLTYPE IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                               void* pBuffer, size_t* piSize) {
  return ForwardToInterface(
      __PRETTY_FUNCTION__, hIface, GC_ERR_INVALID_PARAMETER,
      [&](tcInterface* i) -> GC_ERROR { return i->GetInfo(iInfoCmd, piType, pBuffer, piSize); });
}

GC_ERROR GC_CALLTYPE IFGetNumDevices(IF_HANDLE hIface, uint32_t* piNumDevices) {
  return ForwardToInterface(
      __PRETTY_FUNCTION__, hIface, GC_ERR_INVALID_PARAMETER,
      [&](tcInterface* i) -> GC_ERROR { return i->GetNumDevices(piNumDevices); });
}

GC_ERROR GC_CALLTYPE IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char* sIDeviceID,
                                   size_t* piSize) {
  return ForwardToInterface(
      __PRETTY_FUNCTION__, hIface, GC_ERR_INVALID_PARAMETER,
      [&](tcInterface* i) -> GC_ERROR { return i->GetDeviceID(iIndex, sIDeviceID, piSize); });
}

GC_ERROR GC_CALLTYPE IFUpdateDeviceList(IF_HANDLE hIface, bool8_t* pbChanged, uint64_t iTimeout) {
  return ForwardToInterface(
      __PRETTY_FUNCTION__, hIface, GC_ERR_INVALID_PARAMETER,
      [&](tcInterface* i) -> GC_ERROR { return i->UpdateDeviceList(pbChanged, iTimeout); });
}

GC_ERROR GC_CALLTYPE IFGetDeviceInfo(IF_HANDLE hIface, const char* sDeviceID,
                                     DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                                     size_t* piSize) {
  return ForwardToInterface(__PRETTY_FUNCTION__, hIface, GC_ERR_INVALID_PARAMETER,
                            [&](tcInterface* i) -> GC_ERROR {
                              return i->GetDeviceInfo(sDeviceID, iInfoCmd, piType, pBuffer, piSize);
                            });
}

// Hands out the device object (owned by the interface) and runs its Open.
GC_ERROR GC_CALLTYPE IFOpenDevice(IF_HANDLE hIface, const char* sDeviceID,
                                  DEVICE_ACCESS_FLAGS iOpenFlag, DEV_HANDLE* phDevice) {
  return ForwardToInterface(
      __PRETTY_FUNCTION__, hIface, GC_ERR_INVALID_PARAMETER,
      [&](tcInterface* i) -> GC_ERROR { return i->OpenDevice(sDeviceID, iOpenFlag, phDevice); });
}

GC_ERROR GC_CALLTYPE IFGetParentTL(IF_HANDLE hIface, TL_HANDLE* phSystem) {
  return ForwardToInterface(__PRETTY_FUNCTION__, hIface, GC_ERR_INVALID_HANDLE,
                            [&](tcInterface* i) -> GC_ERROR {
                              if (phSystem == nullptr) return GC_ERR_INVALID_PARAMETER;
                              *phSystem = i->Parent();
                              return GC_ERR_SUCCESS;
                            });
}

}  // namespace GenTL

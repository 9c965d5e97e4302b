// IF-family exports: a null handle is GC_ERR_INVALID_PARAMETER; any other handle is trusted to
// be an interface handed out by TLOpenInterface.
#include "GenTL.h"
#include "api/Frame.h"
#include "modules/tcInterface.h"

namespace GenTL {

namespace {

tcInterface* InterfaceOf(IF_HANDLE handle) {
  return static_cast<tcInterface*>(handle);
}

}  // namespace

GC_ERROR GC_CALLTYPE IFClose(IF_HANDLE hIface) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    return hIface == nullptr ? GC_ERR_INVALID_PARAMETER : InterfaceOf(hIface)->Close();
  });
}

GC_ERROR GC_CALLTYPE IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                               void* pBuffer, size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    return hIface == nullptr ? GC_ERR_INVALID_PARAMETER
                             : InterfaceOf(hIface)->GetInfo(iInfoCmd, piType, pBuffer, piSize);
  });
}

GC_ERROR GC_CALLTYPE IFGetNumDevices(IF_HANDLE hIface, uint32_t* piNumDevices) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    return hIface == nullptr ? GC_ERR_INVALID_PARAMETER
                             : InterfaceOf(hIface)->GetNumDevices(piNumDevices);
  });
}

GC_ERROR GC_CALLTYPE IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char* sIDeviceID,
                                   size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    return hIface == nullptr ? GC_ERR_INVALID_PARAMETER
                             : InterfaceOf(hIface)->GetDeviceID(iIndex, sIDeviceID, piSize);
  });
}

GC_ERROR GC_CALLTYPE IFUpdateDeviceList(IF_HANDLE hIface, bool8_t* pbChanged, uint64_t iTimeout) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    return hIface == nullptr ? GC_ERR_INVALID_PARAMETER
                             : InterfaceOf(hIface)->UpdateDeviceList(pbChanged, iTimeout);
  });
}

GC_ERROR GC_CALLTYPE IFGetDeviceInfo(IF_HANDLE hIface, const char* sDeviceID,
                                     DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                                     size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    return hIface == nullptr
               ? GC_ERR_INVALID_PARAMETER
               : InterfaceOf(hIface)->GetDeviceInfo(sDeviceID, iInfoCmd, piType, pBuffer, piSize);
  });
}

// Hands out the device object (owned by the interface) and runs its Open.
GC_ERROR GC_CALLTYPE IFOpenDevice(IF_HANDLE hIface, const char* sDeviceID,
                                  DEVICE_ACCESS_FLAGS iOpenFlag, DEV_HANDLE* phDevice) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    return hIface == nullptr ? GC_ERR_INVALID_PARAMETER
                             : InterfaceOf(hIface)->OpenDevice(sDeviceID, iOpenFlag, phDevice);
  });
}

GC_ERROR GC_CALLTYPE IFGetParentTL(IF_HANDLE hIface, TL_HANDLE* phSystem) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    if (hIface == nullptr) return GC_ERR_INVALID_HANDLE;
    if (phSystem == nullptr) return GC_ERR_INVALID_PARAMETER;
    *phSystem = InterfaceOf(hIface)->Parent();
    return GC_ERR_SUCCESS;
  });
}

}  // namespace GenTL

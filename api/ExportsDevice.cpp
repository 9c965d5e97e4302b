// Dev-family exports: a null handle is GC_ERR_INVALID_HANDLE; any other handle is trusted to be
// a device handed out by IFOpenDevice.
#include "GenTL.h"
#include "api/Frame.h"
#include "modules/tcDevice.h"

namespace GenTL {

namespace {

tcDevice* DeviceOf(DEV_HANDLE handle) {
  return static_cast<tcDevice*>(handle);
}

}  // namespace

GC_ERROR GC_CALLTYPE DevClose(DEV_HANDLE hDevice) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    return hDevice == nullptr ? GC_ERR_INVALID_HANDLE : DeviceOf(hDevice)->Close();
  });
}

GC_ERROR GC_CALLTYPE DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                                void* pBuffer, size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    return hDevice == nullptr ? GC_ERR_INVALID_HANDLE
                              : DeviceOf(hDevice)->GetInfo(iInfoCmd, piType, pBuffer, piSize);
  });
}

GC_ERROR GC_CALLTYPE DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t* piNumDataStreams) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    return hDevice == nullptr ? GC_ERR_INVALID_HANDLE
                              : DeviceOf(hDevice)->GetNumDataStreams(piNumDataStreams);
  });
}

GC_ERROR GC_CALLTYPE DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char* sDataStreamID,
                                        size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    return hDevice == nullptr ? GC_ERR_INVALID_HANDLE
                              : DeviceOf(hDevice)->GetDataStreamID(iIndex, sDataStreamID, piSize);
  });
}

// Succeeds even when the stream cannot be opened; the handle is then left as it was.
GC_ERROR GC_CALLTYPE DevOpenDataStream(DEV_HANDLE hDevice, const char* sDataStreamID,
                                       DS_HANDLE* phDataStream) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    return hDevice == nullptr ? GC_ERR_INVALID_HANDLE
                              : DeviceOf(hDevice)->OpenDataStream(sDataStreamID, phDataStream);
  });
}

GC_ERROR GC_CALLTYPE DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE* phIface) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    if (hDevice == nullptr) return GC_ERR_INVALID_HANDLE;
    if (phIface == nullptr) return GC_ERR_INVALID_PARAMETER;
    *phIface = DeviceOf(hDevice)->Parent();
    return GC_ERR_SUCCESS;
  });
}

// The remote device port; GC_ERR_NOT_AVAILABLE (and a null port) while the device is closed.
GC_ERROR GC_CALLTYPE DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE* phRemoteDevice) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    if (hDevice == nullptr) return GC_ERR_INVALID_HANDLE;
    if (phRemoteDevice == nullptr) return GC_ERR_INVALID_PARAMETER;
    tcPort* port = DeviceOf(hDevice)->RemotePort();
    *phRemoteDevice = port;
    return port != nullptr ? GC_ERR_SUCCESS : GC_ERR_NOT_AVAILABLE;
  });
}

}  // namespace GenTL

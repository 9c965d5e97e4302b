// Dev-family exports: a null handle, or one that is not a live device, is
// GC_ERR_INVALID_HANDLE.
#include "GenTL.h"
#include "api/Frame.h"
#include "api/PinnedHandle.h"
#include "modules/tcDevice.h"

namespace GenTL {

namespace {

template <typename Operation>
GC_ERROR ForwardToDevice(const char* signature, DEV_HANDLE handle, Operation&& operation) {
  return Framed(signature, kForwardingCall, [&]() -> GC_ERROR {
    tsPinned<tcDevice> device = PinAs<tcDevice>(handle, HandleKind::kDevice);
    return device.object == nullptr ? GC_ERR_INVALID_HANDLE : operation(device.object);
  });
}

}  // namespace

GC_ERROR GC_CALLTYPE DevClose(DEV_HANDLE hDevice) {
  return ForwardToDevice(__PRETTY_FUNCTION__, hDevice,
                         [&](tcDevice* d) -> GC_ERROR { return d->Close(); });
}

GC_ERROR GC_CALLTYPE DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                                void* pBuffer, size_t* piSize) {
  return ForwardToDevice(__PRETTY_FUNCTION__, hDevice, [&](tcDevice* d) -> GC_ERROR {
    return d->GetInfo(iInfoCmd, piType, pBuffer, piSize);
  });
}

GC_ERROR GC_CALLTYPE DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t* piNumDataStreams) {
  return ForwardToDevice(__PRETTY_FUNCTION__, hDevice, [&](tcDevice* d) -> GC_ERROR {
    return d->GetNumDataStreams(piNumDataStreams);
  });
}

GC_ERROR GC_CALLTYPE DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char* sDataStreamID,
                                        size_t* piSize) {
  return ForwardToDevice(__PRETTY_FUNCTION__, hDevice, [&](tcDevice* d) -> GC_ERROR {
    return d->GetDataStreamID(iIndex, sDataStreamID, piSize);
  });
}

// Succeeds even when the stream cannot be opened; the handle is then left as it was.
GC_ERROR GC_CALLTYPE DevOpenDataStream(DEV_HANDLE hDevice, const char* sDataStreamID,
                                       DS_HANDLE* phDataStream) {
  return ForwardToDevice(__PRETTY_FUNCTION__, hDevice, [&](tcDevice* d) -> GC_ERROR {
    return d->OpenDataStream(sDataStreamID, phDataStream);
  });
}

GC_ERROR GC_CALLTYPE DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE* phIface) {
  return ForwardToDevice(__PRETTY_FUNCTION__, hDevice, [&](tcDevice* d) -> GC_ERROR {
    if (phIface == nullptr) return GC_ERR_INVALID_PARAMETER;
    *phIface = d->Parent();
    return GC_ERR_SUCCESS;
  });
}

// The remote device port; GC_ERR_NOT_AVAILABLE (and a null port) while the device is closed.
GC_ERROR GC_CALLTYPE DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE* phRemoteDevice) {
  return ForwardToDevice(__PRETTY_FUNCTION__, hDevice, [&](tcDevice* d) -> GC_ERROR {
    if (phRemoteDevice == nullptr) return GC_ERR_INVALID_PARAMETER;
    tcPort* port = d->RemotePort();
    *phRemoteDevice = port;
    return port != nullptr ? GC_ERR_SUCCESS : GC_ERR_NOT_AVAILABLE;
  });
}

}  // namespace GenTL

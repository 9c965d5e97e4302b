// Port-family exports. Unlike the other families these validate the handle against the
// handle registry; a data stream handle resolves to the stream's port.
#include "GenTL.h"
#include "api/Frame.h"
#include "api/PinnedHandle.h"
#include "base/Log.h"
#include "modules/tcPort.h"
#include "stream/tcDataStream.h"

namespace GenTL {

namespace {

// A port handle is any module or remote port; a data stream's port is a base of the stream.
struct tsPinnedPort {
  tcHandlePin pin;
  tcPort* port = nullptr;
};

tsPinnedPort PinPort(PORT_HANDLE handle) {
  tcHandlePin pin = HandleRegistry::Pin(handle);
  std::optional<HandleKind> kind = pin.Kind();
  if (!kind.has_value() || *kind == HandleKind::kEvent) return {};
  tcPort* port = *kind == HandleKind::kDataStream ? static_cast<tcDataStream*>(handle)
                                                  : static_cast<tcPort*>(handle);
  return {std::move(pin), port};
}

}  // namespace

GC_ERROR GC_CALLTYPE GCGetPortURL(PORT_HANDLE hPort, char* sURL, size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tsPinnedPort pinned = PinPort(hPort);
    tcPort* port = pinned.port;
    return port == nullptr ? GC_ERR_INVALID_HANDLE : port->GetPortURL(sURL, piSize);
  });
}

GC_ERROR GC_CALLTYPE GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t* piNumURLs) {
  const char* self = __PRETTY_FUNCTION__;
  LogPrintFrom(kLogDebug, self, "hPort = 0x%X, piNumURLs = 0x%X", hPort, piNumURLs);
  return Framed(self, kForwardingCall, [&]() -> GC_ERROR {
    tsPinnedPort pinned = PinPort(hPort);
    tcPort* port = pinned.port;
    if (port == nullptr) return GC_ERR_INVALID_HANDLE;
    GC_ERROR result = port->GetNumPortURLs(piNumURLs);
    if (result == GC_ERR_SUCCESS) {
      LogPrintFrom(kLogDebug, self, "hPort = 0x%X, *piNumURLs = %u", hPort, *piNumURLs);
    }
    return result;
  });
}

GC_ERROR GC_CALLTYPE GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t iURLIndex, URL_INFO_CMD iInfoCmd,
                                      INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tsPinnedPort pinned = PinPort(hPort);
    tcPort* port = pinned.port;
    return port == nullptr ? GC_ERR_INVALID_HANDLE
                           : port->GetPortURLInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
  });
}

GC_ERROR GC_CALLTYPE GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                                   void* pBuffer, size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tsPinnedPort pinned = PinPort(hPort);
    tcPort* port = pinned.port;
    return port == nullptr ? GC_ERR_INVALID_HANDLE
                           : port->GetPortInfo(iInfoCmd, piType, pBuffer, piSize);
  });
}

// Reads *piSize bytes at iAddress. Leaves the last error untouched, whatever the result.
GC_ERROR GC_CALLTYPE GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void* pBuffer,
                                size_t* piSize) {
  tsRegisterAccess access{iAddress, piSize};
  return Framed(
      __PRETTY_FUNCTION__, kReadPortCall,
      [&]() -> GC_ERROR {
        tsPinnedPort pinned = PinPort(hPort);
        tcPort* port = pinned.port;
        if (port == nullptr) return GC_ERR_INVALID_HANDLE;
        if (pBuffer == nullptr || piSize == nullptr) return GC_ERR_INVALID_PARAMETER;
        return port->ReadPort(iAddress, pBuffer, piSize);
      },
      &access);
}

GC_ERROR GC_CALLTYPE GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void* pBuffer,
                                 size_t* piSize) {
  tsRegisterAccess access{iAddress, piSize};
  return Framed(
      __PRETTY_FUNCTION__, kForwardingCall,
      [&]() -> GC_ERROR {
        tsPinnedPort pinned = PinPort(hPort);
        tcPort* port = pinned.port;
        if (port == nullptr) return GC_ERR_INVALID_HANDLE;
        if (pBuffer == nullptr || piSize == nullptr) return GC_ERR_INVALID_PARAMETER;
        return port->WritePort(iAddress, pBuffer, piSize);
      },
      &access);
}

GC_ERROR GC_CALLTYPE GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                                       size_t* piNumEntries) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tsPinnedPort pinned = PinPort(hPort);
    tcPort* port = pinned.port;
    return port == nullptr ? GC_ERR_INVALID_HANDLE : port->ReadPortStacked(pEntries, piNumEntries);
  });
}

GC_ERROR GC_CALLTYPE GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                                        size_t* piNumEntries) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tsPinnedPort pinned = PinPort(hPort);
    tcPort* port = pinned.port;
    return port == nullptr ? GC_ERR_INVALID_HANDLE : port->WritePortStacked(pEntries, piNumEntries);
  });
}

}  // namespace GenTL

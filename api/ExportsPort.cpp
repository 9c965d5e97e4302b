// Port-family exports. Unlike the other families these validate the handle against the
// handle registry; a data stream handle resolves to the stream's port.
#include "GenTL.h"
#include "api/Frame.h"
#include "api/HandleRegistry.h"
#include "base/Log.h"
#include "modules/tcPort.h"
#include "stream/tcDataStream.h"

namespace GenTL {

namespace {

tcPort* PortOf(PORT_HANDLE handle) {
  std::optional<HandleKind> kind = HandleRegistry::Find(handle);
  if (!kind.has_value()) return nullptr;
  if (*kind == HandleKind::kDataStream) return static_cast<tcDataStream*>(handle);
  return static_cast<tcPort*>(handle);
}

}  // namespace

GC_ERROR GC_CALLTYPE GCGetPortURL(PORT_HANDLE hPort, char* sURL, size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tcPort* port = PortOf(hPort);
    return port == nullptr ? GC_ERR_INVALID_HANDLE : port->GetPortURL(sURL, piSize);
  });
}

GC_ERROR GC_CALLTYPE GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t* piNumURLs) {
  const char* self = __PRETTY_FUNCTION__;
  LogPrintFrom(kLogDebug, self, "hPort = 0x%X, piNumURLs = 0x%X", hPort, piNumURLs);
  return Framed(self, kForwardingCall, [&]() -> GC_ERROR {
    tcPort* port = PortOf(hPort);
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
    tcPort* port = PortOf(hPort);
    return port == nullptr ? GC_ERR_INVALID_HANDLE
                           : port->GetPortURLInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
  });
}

GC_ERROR GC_CALLTYPE GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                                   void* pBuffer, size_t* piSize) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tcPort* port = PortOf(hPort);
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
        tcPort* port = PortOf(hPort);
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
        tcPort* port = PortOf(hPort);
        if (port == nullptr) return GC_ERR_INVALID_HANDLE;
        if (pBuffer == nullptr || piSize == nullptr) return GC_ERR_INVALID_PARAMETER;
        return port->WritePort(iAddress, pBuffer, piSize);
      },
      &access);
}

GC_ERROR GC_CALLTYPE GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                                       size_t* piNumEntries) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tcPort* port = PortOf(hPort);
    return port == nullptr ? GC_ERR_INVALID_HANDLE : port->ReadPortStacked(pEntries, piNumEntries);
  });
}

GC_ERROR GC_CALLTYPE GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                                        size_t* piNumEntries) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tcPort* port = PortOf(hPort);
    return port == nullptr ? GC_ERR_INVALID_HANDLE : port->WritePortStacked(pEntries, piNumEntries);
  });
}

}  // namespace GenTL

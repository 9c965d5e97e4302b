// Event-family exports. GCRegisterEvent/GCUnregisterEvent accept data stream handles only
// (checked in the handle registry); the Event* calls trust a non-null event handle.
#include "GenTL.h"
#include "api/Frame.h"
#include "api/HandleRegistry.h"
#include "stream/tcDataStream.h"
#include "stream/tcEvent.h"

namespace GenTL {

namespace {

tcDataStream* EventSourceOf(EVENTSRC_HANDLE handle) {
  std::optional<HandleKind> kind = HandleRegistry::Find(handle);
  if (kind != HandleKind::kDataStream) return nullptr;
  return static_cast<tcDataStream*>(handle);
}

tcEvent* EventOf(EVENT_HANDLE handle) {
  return static_cast<tcEvent*>(handle);
}

template <typename Operation>
GC_ERROR ForwardToEvent(const char* signature, EVENT_HANDLE handle, Operation&& operation) {
  return Framed(signature, kForwardingCall, [&]() -> GC_ERROR {
    return handle == nullptr ? GC_ERR_INVALID_HANDLE : operation(EventOf(handle));
  });
}

}  // namespace

// The event belongs to the stream; it lives until GCUnregisterEvent or the stream's end.
GC_ERROR GC_CALLTYPE GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID,
                                     EVENT_HANDLE* phEvent) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tcDataStream* source = EventSourceOf(hEventSrc);
    return source == nullptr ? GC_ERR_INVALID_HANDLE : source->RegisterEvent(iEventID, phEvent);
  });
}

GC_ERROR GC_CALLTYPE GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID) {
  return Framed(__PRETTY_FUNCTION__, kForwardingCall, [&]() -> GC_ERROR {
    tcDataStream* source = EventSourceOf(hEventSrc);
    return source == nullptr ? GC_ERR_INVALID_HANDLE : source->UnregisterEvent(iEventID);
  });
}

// Waits up to iTimeout ms for the oldest entry. Any thread; several may wait at once.
GC_ERROR GC_CALLTYPE EventGetData(EVENT_HANDLE hEvent, void* pBuffer, size_t* piSize,
                                  uint64_t iTimeout) {
  return ForwardToEvent(__PRETTY_FUNCTION__, hEvent, [&](tcEvent* e) -> GC_ERROR {
    return e->GetData(pBuffer, piSize, iTimeout);
  });
}

GC_ERROR GC_CALLTYPE EventGetDataInfo(EVENT_HANDLE hEvent, const void* pInBuffer, size_t iInSize,
                                      EVENT_DATA_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                                      void* pOutBuffer, size_t* piOutSize) {
  return ForwardToEvent(__PRETTY_FUNCTION__, hEvent, [&](tcEvent* e) -> GC_ERROR {
    return e->GetDataInfo(pInBuffer, iInSize, iInfoCmd, piType, pOutBuffer, piOutSize);
  });
}

GC_ERROR GC_CALLTYPE EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd,
                                  INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return ForwardToEvent(__PRETTY_FUNCTION__, hEvent, [&](tcEvent* e) -> GC_ERROR {
    return e->GetInfo(iInfoCmd, piType, pBuffer, piSize);
  });
}

GC_ERROR GC_CALLTYPE EventFlush(EVENT_HANDLE hEvent) {
  return ForwardToEvent(__PRETTY_FUNCTION__, hEvent,
                        [&](tcEvent* e) -> GC_ERROR { return e->Flush(); });
}

GC_ERROR GC_CALLTYPE EventKill(EVENT_HANDLE hEvent) {
  return ForwardToEvent(__PRETTY_FUNCTION__, hEvent,
                        [&](tcEvent* e) -> GC_ERROR { return e->Kill(); });
}

}  // namespace GenTL

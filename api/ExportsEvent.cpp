// Event-family exports. GCRegisterEvent/GCUnregisterEvent accept data stream handles only; the
// Event* calls accept live event handles. Anything else is GC_ERR_INVALID_HANDLE.
#include "GenTL.h"
#include "api/Frame.h"
#include "api/PinnedHandle.h"
#include "stream/tcDataStream.h"
#include "stream/tcEvent.h"

namespace GenTL {

namespace {

template <typename Operation>
GC_ERROR ForwardToSource(const char* signature, EVENTSRC_HANDLE handle, Operation&& operation) {
  return Framed(signature, kForwardingCall, [&]() -> GC_ERROR {
    tsPinned<tcDataStream> source = PinAs<tcDataStream>(handle, HandleKind::kDataStream);
    return source.object == nullptr ? GC_ERR_INVALID_HANDLE : operation(source.object);
  });
}

template <typename Operation>
GC_ERROR ForwardToEvent(const char* signature, EVENT_HANDLE handle, Operation&& operation) {
  return Framed(signature, kForwardingCall, [&]() -> GC_ERROR {
    tsPinned<tcEvent> event = PinAs<tcEvent>(handle, HandleKind::kEvent);
    return event.object == nullptr ? GC_ERR_INVALID_HANDLE : operation(event.object);
  });
}

}  // namespace

// The event belongs to the stream; it lives until GCUnregisterEvent or the stream's end.
GC_ERROR GC_CALLTYPE GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID,
                                     EVENT_HANDLE* phEvent) {
  return ForwardToSource(__PRETTY_FUNCTION__, hEventSrc, [&](tcDataStream* s) -> GC_ERROR {
    return s->RegisterEvent(iEventID, phEvent);
  });
}

GC_ERROR GC_CALLTYPE GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID) {
  return ForwardToSource(__PRETTY_FUNCTION__, hEventSrc,
                         [&](tcDataStream* s) -> GC_ERROR { return s->UnregisterEvent(iEventID); });
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

// DS-family exports: a null handle, or one that is not a live data stream (closed with its
// device, say), is GC_ERR_INVALID_HANDLE. Chunk data and multi-part buffers are not supported.
#include "GenTL.h"
#include "api/Frame.h"
#include "api/PinnedHandle.h"
#include "stream/tcDataStream.h"

namespace GenTL {

namespace {

template <typename Operation>
GC_ERROR ForwardToStream(const char* signature, DS_HANDLE handle, Operation&& operation) {
  return Framed(signature, kForwardingCall, [&]() -> GC_ERROR {
    tsPinned<tcDataStream> stream = PinAs<tcDataStream>(handle, HandleKind::kDataStream);
    return stream.object == nullptr ? GC_ERR_INVALID_HANDLE : operation(stream.object);
  });
}

}  // namespace

GC_ERROR GC_CALLTYPE DSAnnounceBuffer(DS_HANDLE hDataStream, void* pBuffer, size_t iSize,
                                      void* pPrivate, BUFFER_HANDLE* phBuffer) {
  return ForwardToStream(__PRETTY_FUNCTION__, hDataStream, [&](tcDataStream* s) -> GC_ERROR {
    return s->AnnounceBuffer(pBuffer, iSize, pPrivate, phBuffer);
  });
}

// The memory belongs to the buffer and is released when the buffer is revoked.
GC_ERROR GC_CALLTYPE DSAllocAndAnnounceBuffer(DS_HANDLE hDataStream, size_t iSize, void* pPrivate,
                                              BUFFER_HANDLE* phBuffer) {
  return ForwardToStream(__PRETTY_FUNCTION__, hDataStream, [&](tcDataStream* s) -> GC_ERROR {
    return s->AllocAndAnnounceBuffer(iSize, pPrivate, phBuffer);
  });
}

GC_ERROR GC_CALLTYPE DSFlushQueue(DS_HANDLE hDataStream, ACQ_QUEUE_TYPE iOperation) {
  return ForwardToStream(__PRETTY_FUNCTION__, hDataStream,
                         [&](tcDataStream* s) -> GC_ERROR { return s->FlushQueue(iOperation); });
}

GC_ERROR GC_CALLTYPE DSStartAcquisition(DS_HANDLE hDataStream, ACQ_START_FLAGS iStartFlags,
                                        uint64_t iNumToAcquire) {
  return ForwardToStream(__PRETTY_FUNCTION__, hDataStream, [&](tcDataStream* s) -> GC_ERROR {
    return s->StartAcquisition(iStartFlags, iNumToAcquire);
  });
}

GC_ERROR GC_CALLTYPE DSStopAcquisition(DS_HANDLE hDataStream, ACQ_STOP_FLAGS iStopFlags) {
  return ForwardToStream(__PRETTY_FUNCTION__, hDataStream, [&](tcDataStream* s) -> GC_ERROR {
    return s->StopAcquisition(iStopFlags);
  });
}

GC_ERROR GC_CALLTYPE DSGetInfo(DS_HANDLE hDataStream, STREAM_INFO_CMD iInfoCmd,
                               INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return ForwardToStream(__PRETTY_FUNCTION__, hDataStream, [&](tcDataStream* s) -> GC_ERROR {
    return s->GetInfo(iInfoCmd, piType, pBuffer, piSize);
  });
}

GC_ERROR GC_CALLTYPE DSGetBufferID(DS_HANDLE hDataStream, uint32_t iIndex,
                                   BUFFER_HANDLE* phBuffer) {
  return ForwardToStream(__PRETTY_FUNCTION__, hDataStream, [&](tcDataStream* s) -> GC_ERROR {
    return s->GetBufferID(iIndex, phBuffer);
  });
}

// Closes the stream: discards its queues and destroys its buffers (a consumer's memory stays).
GC_ERROR GC_CALLTYPE DSClose(DS_HANDLE hDataStream) {
  return ForwardToStream(__PRETTY_FUNCTION__, hDataStream,
                         [&](tcDataStream* s) -> GC_ERROR { return s->Close(); });
}

GC_ERROR GC_CALLTYPE DSRevokeBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, void** ppBuffer,
                                    void** ppPrivate) {
  return ForwardToStream(__PRETTY_FUNCTION__, hDataStream, [&](tcDataStream* s) -> GC_ERROR {
    return s->RevokeBuffer(hBuffer, ppBuffer, ppPrivate);
  });
}

GC_ERROR GC_CALLTYPE DSQueueBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer) {
  return ForwardToStream(__PRETTY_FUNCTION__, hDataStream,
                         [&](tcDataStream* s) -> GC_ERROR { return s->QueueBuffer(hBuffer); });
}

GC_ERROR GC_CALLTYPE DSGetBufferInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                     BUFFER_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                                     size_t* piSize) {
  return ForwardToStream(__PRETTY_FUNCTION__, hDataStream, [&](tcDataStream* s) -> GC_ERROR {
    return s->GetBufferInfo(hBuffer, iInfoCmd, piType, pBuffer, piSize);
  });
}

GC_ERROR GC_CALLTYPE DSGetParentDev(DS_HANDLE hDataStream, DEV_HANDLE* phDevice) {
  return ForwardToStream(__PRETTY_FUNCTION__, hDataStream,
                         [&](tcDataStream* s) -> GC_ERROR { return s->GetParentDev(phDevice); });
}

GC_ERROR GC_CALLTYPE DSGetBufferChunkData(DS_HANDLE hDataStream, BUFFER_HANDLE, SINGLE_CHUNK_DATA*,
                                          size_t*) {
  return Framed(__PRETTY_FUNCTION__, kLibraryCall, [&]() -> GC_ERROR {
    return hDataStream == nullptr ? GC_ERR_INVALID_HANDLE : GC_ERR_NOT_IMPLEMENTED;
  });
}

GC_ERROR GC_CALLTYPE DSGetNumBufferParts(DS_HANDLE, BUFFER_HANDLE, uint32_t*) {
  return Framed(__PRETTY_FUNCTION__, kUninitialisedCall,
                []() -> GC_ERROR { return GC_ERR_NOT_IMPLEMENTED; });
}

GC_ERROR GC_CALLTYPE DSGetBufferPartInfo(DS_HANDLE, BUFFER_HANDLE, uint32_t, BUFFER_PART_INFO_CMD,
                                         INFO_DATATYPE*, void*, size_t*) {
  return Framed(__PRETTY_FUNCTION__, kUninitialisedCall,
                []() -> GC_ERROR { return GC_ERR_NOT_IMPLEMENTED; });
}

}  // namespace GenTL

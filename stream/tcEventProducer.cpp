// tcEventProducer: a module without events refuses them.
#include "stream/tcEventProducer.h"

#include "base/Log.h"

using namespace GenTL;

GC_ERROR tcEventProducer::RegisterEvent(int32_t, void**) {
  return GC_ERR_NOT_AVAILABLE;
}

GC_ERROR tcEventProducer::UnregisterEvent(int32_t eventId) {
  GENTL_LOG(kLogWarning, "%s, iEventID = %d (Request Not Implemented)", "tcEventProducer", eventId);
  return GC_ERR_NOT_IMPLEMENTED;
}

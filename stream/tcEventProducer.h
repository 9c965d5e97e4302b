// Mix-in base of the modules that accept GCRegisterEvent.
#pragma once

#include <cstdint>

#include "GenTL.h"

class tcEventProducer {
 public:
  virtual ~tcEventProducer() = default;
  virtual GenTL::GC_ERROR RegisterEvent(int32_t eventId, void** event);
  virtual GenTL::GC_ERROR UnregisterEvent(int32_t eventId);
};

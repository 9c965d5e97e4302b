// The USB3 Vision interface: one interface for all USB buses of the host.
#pragma once

#include "modules/tcInterface.h"

class tcInterfaceU3V : public tcInterface {
 public:
  explicit tcInterfaceU3V(tcSystem* system);

  GenTL::GC_ERROR UpdateDeviceList(GenTL::bool8_t* changed, uint64_t timeout) override;
};

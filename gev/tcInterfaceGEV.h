// The GigE Vision interface: one interface for the host's IPv4 adapters.
#pragma once

#include "modules/tcInterface.h"

class tcInterfaceGEV : public tcInterface {
 public:
  explicit tcInterfaceGEV(tcSystem* system);

  // Answers the interface ID only; display name and TL type are not offered.
  GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;
  GenTL::GC_ERROR UpdateDeviceList(GenTL::bool8_t* changed, uint64_t timeout) override;
};

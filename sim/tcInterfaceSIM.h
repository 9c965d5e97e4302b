// The simulated interface: offers the one camera described by the file SIMCAM_XML_FILE names.
#pragma once

#include "modules/tcInterface.h"

class tcInterfaceSIM : public tcInterface {
 public:
  explicit tcInterfaceSIM(tcSystem* system);

  GenTL::GC_ERROR UpdateDeviceList(GenTL::bool8_t* changed, uint64_t timeout) override;
};

// The simulated camera's remote device port: register reads and writes on its register map,
// and the camera file itself as the port's one description URL.
#pragma once

#include "modules/tcPort.h"

class tcDeviceSIM;

class tcPortSIM : public tcPort {
 public:
  explicit tcPortSIM(tcDeviceSIM* device);

  GenTL::GC_ERROR GetPortURL(char* url, size_t* size) override;
  GenTL::GC_ERROR GetPortInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;
  GenTL::GC_ERROR GetNumPortURLs(uint32_t* count) override;
  GenTL::GC_ERROR GetPortURLInfo(uint32_t index, int32_t command, int32_t* type, void* buffer,
                                 size_t* size) override;
  GenTL::GC_ERROR Read(uint64_t address, void* buffer, size_t* size) override
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR Write(uint64_t address, const void* buffer, size_t* size) override
      GENTL_REQUIRES(AccessMutex());

 private:
  tcDeviceSIM* device_;
};

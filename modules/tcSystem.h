// The GenTL System module: the root of the module tree, owner of the three interfaces, and a
// port with its own description and virtual registers.
#pragma once

#include <cstdint>
#include <vector>

#include "base/ModuleOwner.h"
#include "base/tcMutex.h"
#include "modules/tcModulePort.h"

class tcInterface;

class tcSystem : public tcModulePort {
 public:
  // `libraryInfo` answers the library information (the entry layer passes GCGetInfo).
  explicit tcSystem(GenTL::PGCGetInfo libraryInfo);
  ~tcSystem() override;

  GenTL::GC_ERROR GetNumInterfaces(uint32_t* count);
  GenTL::GC_ERROR GetInterfaceID(uint32_t index, char* id, size_t* size);
  GenTL::GC_ERROR GetInterfaceInfo(const char* id, int32_t command, int32_t* type, void* buffer,
                                   size_t* size);
  GenTL::GC_ERROR OpenInterface(const char* id, void** handle);
  // Creates the interfaces on the first call; the set never changes afterwards.
  GenTL::GC_ERROR UpdateInterfaceList(GenTL::bool8_t* changed, uint64_t timeout);

 protected:
  void AddFeatures(tcFeatureTable& table) override;

 private:
  std::string LibraryText(GenTL::TL_INFO_CMD command);
  int64_t LibraryNumber(GenTL::TL_INFO_CMD command);
  tcInterface* FindInterface(const char* id);
  // Interfaces are never removed while the system lives, so the pointers stay valid.
  tcInterface* InterfaceAt(size_t index);
  size_t InterfaceCount();

  GenTL::PGCGetInfo libraryInfo_;
  tcMutex listMutex_;
  std::vector<ModuleOwner<tcInterface>> SystemInterfaceList GENTL_GUARDED_BY(listMutex_);
  uint32_t InterfaceUpdateTimeout = 0;  // register 0x10808, guarded by the access mutex
  uint32_t interfaceSelector_ = 0;      // register 0x10810, guarded by the access mutex
};

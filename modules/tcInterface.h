// Base of the GenTL Interface module: the device list, the interface-level GenTL calls and the
// interface's own port. Discovery belongs to the transport subclasses.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "modules/tcModulePort.h"

class tcSystem;
class tcDevice;

class tcInterface : public tcModulePort {
 public:
  tcInterface(const char* id, const char* tlType, tcSystem* system);
  ~tcInterface() override;

  virtual GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size);
  // Called when the consumer opens the interface.
  virtual GenTL::GC_ERROR Open();
  // Called when the consumer closes the interface (IFClose).
  virtual GenTL::GC_ERROR Close();
  // The transport's discovery.
  virtual GenTL::GC_ERROR UpdateDeviceList(GenTL::bool8_t* changed, uint64_t timeout) = 0;
  virtual GenTL::GC_ERROR GetNumDevices(uint32_t* count);
  virtual GenTL::GC_ERROR GetDeviceID(uint32_t index, char* id, size_t* size);
  virtual GenTL::GC_ERROR OpenDevice(const char* id, int32_t openFlags, void** device);
  virtual GenTL::GC_ERROR GetDeviceInfo(const char* id, int32_t command, int32_t* type,
                                        void* buffer, size_t* size);

  tcSystem* Parent() const { return parent_; }

 protected:
  void AddFeatures(tcFeatureTable& table) override;

  tcSystem* parent_;
  std::vector<std::unique_ptr<tcDevice>> devices_;
  bool listUpdated_ = false;
  std::string displayName_;
  std::string tlType_;

 private:
  // Asks the selected device for one of its information values.
  GenTL::GC_ERROR ReadDeviceRegister(int32_t command, void* buffer, size_t* size);
  tcDevice* FindDevice(const char* id) const;

  uint32_t deviceSelector_ = 0;  // guarded by the access mutex
};

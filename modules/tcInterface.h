// Base of the GenTL Interface module: the device list, the interface-level GenTL calls and the
// interface's own port. Discovery belongs to the transport subclasses.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/ModuleOwner.h"
#include "base/tcHandlePin.h"
#include "base/tcMutex.h"
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
  // The time-out of the updates the interface runs by itself (before an open).
  virtual uint64_t DefaultUpdateTimeout() const { return 300; }

  // The device list, for the transports' UpdateDeviceList. A device that leaves the list is
  // retired, not destroyed, while it is open: the consumer's handle stays usable until DevClose,
  // and a camera that answers again gets the same object back.
  void AddDevice(ModuleOwner<tcDevice> device);
  void RetireDevice(const std::string& id);
  // The retired device `id` taken back into the list when it is closed; null when there is none.
  tcDevice* ReviveDevice(const std::string& id);
  size_t DeviceCount();
  // Marks the list as updated; true when it already was.
  bool MarkListUpdated();
  bool ListUpdated();

  tcSystem* parent_;
  std::string displayName_;
  std::string tlType_;

 private:
  // Asks the selected device for one of its information values.
  GenTL::GC_ERROR ReadDeviceRegister(int32_t command, void* buffer, size_t* size);
  // The device `id` (or at `index`), pinned so that it outlives the caller's use of it.
  tcDevice* FindDevice(const char* id, tcHandlePin* pin);
  tcDevice* DeviceAt(size_t index, tcHandlePin* pin);
  tcDevice* MatchDevice(const char* id, tcHandlePin* pin);
  void DestroyClosedRetired();

  tcMutex listMutex_;
  std::vector<ModuleOwner<tcDevice>> devices_ GENTL_GUARDED_BY(listMutex_);
  std::vector<ModuleOwner<tcDevice>> retired_ GENTL_GUARDED_BY(listMutex_);
  bool listUpdated_ GENTL_GUARDED_BY(listMutex_) = false;
  uint32_t deviceSelector_ = 0;  // guarded by the access mutex
};

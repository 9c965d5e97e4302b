// Base of the GenTL Device module: identity strings, the data streams, and the device module's
// own port. Opening the camera, its remote port and its streams belong to the transports.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/ModuleOwner.h"
#include "base/tcHandlePin.h"
#include "base/tcMutex.h"
#include "modules/tcModulePort.h"

class tcInterface;
class tcDataStream;

class tcDevice : public tcModulePort {
 public:
  tcDevice(std::string id, tcInterface* parent);
  ~tcDevice() override;

  // Logs the access, then reads as every module port does.
  GenTL::GC_ERROR Read(uint64_t address, void* buffer, size_t* size) override
      GENTL_REQUIRES(AccessMutex());

  virtual GenTL::GC_ERROR Open(int32_t openFlags) = 0;
  virtual GenTL::GC_ERROR Close() = 0;
  virtual GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size);
  virtual GenTL::GC_ERROR GetNumDataStreams(uint32_t* count);
  virtual GenTL::GC_ERROR GetDataStreamID(uint32_t index, char* id, size_t* size);
  // Always succeeds; the handle is written only when the stream opened.
  virtual GenTL::GC_ERROR OpenDataStream(const char* id, void** handle);
  // The remote device port; null while the device is closed.
  virtual tcPort* RemotePort() { return nullptr; }
  // True between a successful Open and Close.
  bool IsOpen();
  int32_t AccessStatus();

  tcInterface* Parent() const { return parent_; }

 protected:
  void AddFeatures(tcFeatureTable& table) override;
  // Takes the streams away under the state lock and destroys them outside it, last first.
  void DestroyStreams();

  tcInterface* parent_;
  // Guards the open state, the access status and the stream list against concurrent open,
  // close and list calls. Objects are destroyed outside it.
  tcMutex stateMutex_;
  bool open_ GENTL_GUARDED_BY(stateMutex_) = false;
  std::vector<ModuleOwner<tcDataStream>> streams_ GENTL_GUARDED_BY(stateMutex_);
  std::string vendor_;
  std::string model_;
  std::string tlType_;
  std::string displayName_;
  int32_t accessStatus_ GENTL_GUARDED_BY(stateMutex_) = GenTL::DEVICE_ACCESS_STATUS_UNKNOWN;
  std::string userDefinedName_;
  std::string serialNumber_;
  std::string version_;

 private:
  // The stream `id` or at `index`, pinned so that it outlives the caller's use of it.
  tcDataStream* StreamAt(size_t index, tcHandlePin* pin);

  uint32_t streamSelector_ = 0;  // guarded by the access mutex
};

// tcInterface: device list access, device lookup and opening, interface registers and
// description.
#include "modules/tcInterface.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/Config.h"
#include "base/Log.h"
#include "modules/InfoAnswer.h"
#include "modules/tcDescriptionBuilder.h"
#include "modules/tcDevice.h"

using namespace GenTL;

namespace {

constexpr tsModulePortIdentity kInterfacePort = {
    "tcInterface",
    "InterfacePort",
    "Interface",
    "InterfacePort",
    "Interface Port",
    "The GenICam port through which the Interface module is accessed.",
    "vantora_interface_",
    true,
    false};

constexpr uint32_t kDeviceTextSize = 128;

}  // namespace

tcInterface::tcInterface(const char* id, const char* tlType, tcSystem* system)
    : tcModulePort(id, kInterfacePort), parent_(system), displayName_(id), tlType_(tlType) {
  GENTL_LOG(kLogDebug, "%s, this = 0x%X", Name(), this);
  HandleRegistry::Enter(this, HandleKind::kInterface);
}

tcInterface::~tcInterface() {
  std::vector<ModuleOwner<tcDevice>> devices;
  {
    tcMutexLock lock(listMutex_);
    devices = std::move(devices_);
    for (auto& device : retired_)
      devices.push_back(std::move(device));
    retired_.clear();
  }
  devices.clear();  // outside the lock: each waits for the calls still running on it
  HandleRegistry::Leave(this);
}

void tcInterface::AddDevice(ModuleOwner<tcDevice> device) {
  tcMutexLock lock(listMutex_);
  devices_.push_back(std::move(device));
}

void tcInterface::RetireDevice(const std::string& id) {
  {
    tcMutexLock lock(listMutex_);
    auto it = std::find_if(devices_.begin(), devices_.end(),
                           [&](const auto& device) { return device->Name() == id; });
    if (it == devices_.end()) return;
    retired_.push_back(std::move(*it));
    devices_.erase(it);
  }
  DestroyClosedRetired();
}

tcDevice* tcInterface::ReviveDevice(const std::string& id) {
  tcMutexLock lock(listMutex_);
  for (auto it = retired_.begin(); it != retired_.end(); ++it) {
    if ((*it)->Name() != id || (*it)->IsOpen()) continue;
    tcDevice* device = it->get();
    devices_.push_back(std::move(*it));
    retired_.erase(it);
    return device;
  }
  return nullptr;
}

void tcInterface::DestroyClosedRetired() {
  std::vector<ModuleOwner<tcDevice>> closed;
  {
    tcMutexLock lock(listMutex_);
    for (auto it = retired_.begin(); it != retired_.end();) {
      if ((*it)->IsOpen()) {
        ++it;
      } else {
        closed.push_back(std::move(*it));
        it = retired_.erase(it);
      }
    }
  }  // `closed` is destroyed outside the lock
}

size_t tcInterface::DeviceCount() {
  tcMutexLock lock(listMutex_);
  return devices_.size();
}

bool tcInterface::MarkListUpdated() {
  tcMutexLock lock(listMutex_);
  return std::exchange(listUpdated_, true);
}

bool tcInterface::ListUpdated() {
  tcMutexLock lock(listMutex_);
  return listUpdated_;
}

GC_ERROR tcInterface::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  if (size == nullptr || type == nullptr) return GC_ERR_INVALID_PARAMETER;
  const std::string* text = nullptr;
  switch (command) {
    case INTERFACE_INFO_ID:
      text = &Name();
      break;
    case INTERFACE_INFO_DISPLAYNAME:
      text = &displayName_;
      break;
    case INTERFACE_INFO_TLTYPE:
      text = &tlType_;
      break;
    default:
      return GC_ERR_NOT_IMPLEMENTED;
  }
  *type = INFO_DATATYPE_STRING;
  return CopyText(*text, buffer, size);
}

GC_ERROR tcInterface::Open() {
  return GC_ERR_SUCCESS;
}

GC_ERROR tcInterface::Close() {
  return GC_ERR_SUCCESS;
}

GC_ERROR tcInterface::GetNumDevices(uint32_t* count) {
  if (count == nullptr) return GC_ERR_INVALID_PARAMETER;
  *count = static_cast<uint32_t>(DeviceCount());
  return GC_ERR_SUCCESS;
}

GC_ERROR tcInterface::GetDeviceID(uint32_t index, char* id, size_t* size) {
  tcHandlePin pin;
  tcDevice* device = DeviceAt(index, &pin);
  if (device == nullptr) return GC_ERR_INVALID_INDEX;
  if (size == nullptr) return GC_ERR_INVALID_PARAMETER;
  return CopyText(device->Name(), id, size);
}

tcDevice* tcInterface::DeviceAt(size_t index, tcHandlePin* pin) {
  tcMutexLock lock(listMutex_);
  if (index >= devices_.size()) return nullptr;
  *pin = HandleRegistry::Pin(devices_[index].get());
  return devices_[index].get();
}

tcDevice* tcInterface::FindDevice(const char* id, tcHandlePin* pin) {
  tcMutexLock lock(listMutex_);
  for (const auto& device : devices_) {
    if (device->Name() != id) continue;
    *pin = HandleRegistry::Pin(device.get());
    return device.get();
  }
  return nullptr;
}

GC_ERROR tcInterface::GetDeviceInfo(const char* id, int32_t command, int32_t* type, void* buffer,
                                    size_t* size) {
  if (id == nullptr) return GC_ERR_INVALID_PARAMETER;
  tcHandlePin pin;
  tcDevice* device = FindDevice(id, &pin);
  if (device == nullptr) return GC_ERR_INVALID_ID;
  return device->GetInfo(command, type, buffer, size);
}

// Logs each comparison, as the open's trace shows which devices were looked at.
tcDevice* tcInterface::MatchDevice(const char* id, tcHandlePin* pin) {
  tcMutexLock lock(listMutex_);
  for (const auto& device : devices_) {
    LogPrint(kLogDebug, "tcInterface::OpenDevice", "Checking %s == %s", device->Name(), id);
    if (device->Name() != id) continue;
    *pin = HandleRegistry::Pin(device.get());
    return device.get();
  }
  return nullptr;
}

GC_ERROR tcInterface::OpenDevice(const char* id, int32_t openFlags, void** handle) {
  if (id == nullptr || handle == nullptr) return GC_ERR_INVALID_PARAMETER;
  GENTL_LOG(kLogDebug, "%s", Name());
  bool compat = config::CompatOpen();
  if (DeviceCount() == 0 && !ListUpdated()) {
    GENTL_LOG(kLogDebug, "Updating Device List");
    UpdateDeviceList(nullptr, 300);
  }
  tcHandlePin pin;
  tcDevice* device = MatchDevice(id, &pin);
  if (device == nullptr && compat) {
    GENTL_LOG(kLogInfo, "%s: device %s not in the list, updating it (GENTL_COMPAT_OPEN)", Name(),
              id);
    UpdateDeviceList(nullptr, DefaultUpdateTimeout());
    device = MatchDevice(id, &pin);
  }
  if (device == nullptr) {
    GENTL_LOG(kLogError, "Device %s not found", id);
    return GC_ERR_INVALID_ID;
  }
  if (openFlags == DEVICE_ACCESS_CONTROL && compat) {
    GENTL_LOG(kLogInfo, "%s: control access taken as exclusive access (GENTL_COMPAT_OPEN)",
              device->Name());
    openFlags = DEVICE_ACCESS_EXCLUSIVE;
  }
  *handle = device;
  return device->Open(openFlags);
}

GC_ERROR tcInterface::ReadDeviceRegister(int32_t command, void* buffer, size_t* size) {
  tcHandlePin pin;
  tcDevice* device = DeviceAt(deviceSelector_, &pin);
  if (device == nullptr) return GC_ERR_INVALID_INDEX;
  char answer[kDeviceTextSize] = "";
  size_t answerSize = command == DEVICE_INFO_ACCESS_STATUS ? 4 : sizeof answer;
  int32_t type = 0;
  if (device->GetInfo(command, &type, answer, &answerSize) != GC_ERR_SUCCESS) {
    return GC_ERR_IO;
  }
  if (answerSize > *size) return GC_ERR_BUFFER_TOO_SMALL;
  memcpy(buffer, answer, answerSize);
  return GC_ERR_SUCCESS;
}

void tcInterface::AddFeatures(tcFeatureTable& table) {
  using enum FeatureKind;
  table.Category(
      {"Root", "Root", "Provides the Root of the GenTL Producer Interface features.", "Beginner"},
      {"InterfaceInformation", "DeviceEnumeration"});
  table.Category(
      {"InterfaceInformation", "Interface Information",
       "Category that contains all Interface Information features of the Interface module.",
       "Beginner"},
      {"InterfaceID", "InterfaceDisplayName", "InterfaceType"});
  table.Category({"DeviceEnumeration", "Device Enumeration",
                  "Category that contains all Device Enumeration features of the Interface module.",
                  "Beginner"},
                 {"DeviceUpdateList", "DeviceSelector", "DeviceID", "DeviceVendorName",
                  "DeviceModelName", "DeviceAccessStatus", "DeviceSerialNumber", "DeviceUserID"});

  table.Feature(
      {.kind = kConstantString,
       .text = {"InterfaceID", "Interface ID",
                "GenTL Producer wide unique identifier of the selected interface.", "Beginner"},
       .string = [this] { return Name(); }});
  table.Feature({.kind = kConstantString,
                 .text = {"InterfaceDisplayName", "Interface Display Name",
                          "User readable name of the selected interface.", "Beginner"},
                 .string = [this] {
                   char text[kDeviceTextSize];
                   size_t size = sizeof text;
                   int32_t type = 0;
                   bool known =
                       GetInfo(INTERFACE_INFO_DISPLAYNAME, &type, text, &size) == GC_ERR_SUCCESS;
                   return known ? std::string(text) : Name();
                 }});
  table.Feature({.kind = kConstantEnumeration,
                 .text = {"InterfaceType", "Interface Type",
                          "Transport layer type of the interface.", "Beginner"},
                 .number = [this] { return TransportTypeValue(tlType_); },
                 .entries = TransportTypeEntries()});

  auto readSelector = [this](void* buffer, size_t* size) {
    return ReadWord(deviceSelector_, buffer, size);
  };
  table.Feature({.kind = kCommand,
                 .text = {"DeviceUpdateList", "Device Update List",
                          "Updates the internal device list.", "Beginner"},
                 .address = 0x10000,
                 .access = "WO",
                 .read = readSelector,  // a read of the command answers the selector
                 .write = [this](const void*, size_t*) {
                   UpdateDeviceList(nullptr, DefaultUpdateTimeout());
                   return GC_ERR_SUCCESS;
                 }});
  table.Feature({.kind = kRegisterInteger,
                 .text = {"DeviceSelector", "Device Selector",
                          "Selector for the different devices on this interface.", "Beginner"},
                 .selected = {"DeviceID", "DeviceVendorName", "DeviceModelName",
                              "DeviceAccessStatus", "DeviceSerialNumber", "DeviceUserID"},
                 .address = 0x10004,
                 .access = "RW",
                 .read = readSelector,
                 .write = [this](const void* buffer, size_t* size) {
                   return WriteWord(&deviceSelector_, buffer, *size);
                 }});

  // The selected device's information values; they change with the selector and the list.
  auto deviceInfo = [&](FeatureKind kind, tsFeatureText text, uint64_t address, int32_t command) {
    table.Feature({.kind = kind,
                   .text = text,
                   .entries = kind == kRegisterEnumeration ? AccessStatusEntries()
                                                           : std::vector<tsEnumEntry>{},
                   .address = address,
                   .length = kind == kStringRegister ? kDeviceTextSize : 4,
                   .invalidators = {"DeviceSelectorReg"},
                   .noCache = true,
                   .read = [this, command](void* buffer, size_t* size) {
                     return ReadDeviceRegister(command, buffer, size);
                   }});
  };
  deviceInfo(kStringRegister,
             {"DeviceID", "Device ID", "Interface wide unique identifier of the selected device.",
              "Beginner"},
             0x10100, DEVICE_INFO_ID);
  deviceInfo(kStringRegister,
             {"DeviceVendorName", "Device Vendor Name", "Name of the device vendor.", "Beginner"},
             0x10200, DEVICE_INFO_VENDOR);
  deviceInfo(kStringRegister,
             {"DeviceModelName", "Device Model Name", "Name of the device model.", "Beginner"},
             0x10300, DEVICE_INFO_MODEL);
  deviceInfo(kRegisterEnumeration,
             {"DeviceAccessStatus", "Device Access Status",
              "Gives the device's access status at the moment of the last execution of "
              "DeviceUpdateList.",
              "Expert"},
             0x10400, DEVICE_INFO_ACCESS_STATUS);
  deviceInfo(kStringRegister,
             {"DeviceSerialNumber", "Device Serial Number", "Serial number of the remote device.",
              "Expert"},
             0x10500, DEVICE_INFO_SERIAL_NUMBER);
  deviceInfo(kStringRegister,
             {"DeviceUserID", "Device User ID",
              "User-programmable device identifier of the remote device.", "Expert"},
             0x10600, DEVICE_INFO_USER_DEFINED_NAME);
}

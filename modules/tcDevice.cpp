// tcDevice: device information, stream enumeration and opening, device registers and
// description.
#include "modules/tcDevice.h"

#include <cstring>

#include "base/Log.h"
#include "modules/InfoAnswer.h"
#include "modules/tcDescriptionBuilder.h"
#include "stream/tcDataStream.h"

using namespace GenTL;

namespace {

constexpr tsModulePortIdentity kDevicePort = {
    "tcDevice",
    "DevicePort",
    "Device",
    "DevicePort",
    "Device Port",
    "The GenICam port through which the Device module is accessed.",
    "vantora_device_",
    true,
    true};

// The needed size check of the device information answers: a buffer too small leaves *size.
GC_ERROR AnswerDeviceInfo(const void* value, size_t valueSize, void* buffer, size_t* size) {
  if (size == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (buffer != nullptr) {
    if (valueSize > *size) return GC_ERR_BUFFER_TOO_SMALL;
    memcpy(buffer, value, valueSize);
  }
  *size = valueSize;
  return GC_ERR_SUCCESS;
}

}  // namespace

tcDevice::tcDevice(std::string id, tcInterface* parent)
    : tcModulePort(std::move(id), kDevicePort), parent_(parent) {
  GENTL_LOG(kLogDebug, "%s, this = 0x%X", Name(), this);
  HandleRegistry::Enter(this, HandleKind::kDevice);
}

tcDevice::~tcDevice() {
  DestroyStreams();
  HandleRegistry::Leave(this);
}

int32_t tcDevice::AccessStatus() {
  tcMutexLock lock(stateMutex_);
  return accessStatus_;
}

bool tcDevice::IsOpen() {
  tcMutexLock lock(stateMutex_);
  return open_;
}

void tcDevice::DestroyStreams() {
  std::vector<ModuleOwner<tcDataStream>> streams;
  {
    tcMutexLock lock(stateMutex_);
    streams = std::move(streams_);
    streams_.clear();
  }
  while (!streams.empty())
    streams.pop_back();  // stops a running acquisition first
}

tcDataStream* tcDevice::StreamAt(size_t index, tcHandlePin* pin) {
  tcMutexLock lock(stateMutex_);
  if (index >= streams_.size()) return nullptr;
  *pin = HandleRegistry::Pin(streams_[index].get());
  return streams_[index].get();
}

GC_ERROR tcDevice::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  const std::string* text = nullptr;
  switch (command) {
    case DEVICE_INFO_ID:
      text = &Name();
      break;
    case DEVICE_INFO_VENDOR:
      text = &vendor_;
      break;
    case DEVICE_INFO_MODEL:
      text = &model_;
      break;
    case DEVICE_INFO_TLTYPE:
      text = &tlType_;
      break;
    case DEVICE_INFO_DISPLAYNAME:
      text = &displayName_;
      break;
    case DEVICE_INFO_USER_DEFINED_NAME:
      text = &userDefinedName_;
      break;
    case DEVICE_INFO_SERIAL_NUMBER:
      text = &serialNumber_;
      break;
    case DEVICE_INFO_VERSION:
      text = &version_;
      break;
    case DEVICE_INFO_ACCESS_STATUS: {
      if (type != nullptr) *type = INFO_DATATYPE_INT32;
      tcMutexLock lock(stateMutex_);
      return AnswerDeviceInfo(&accessStatus_, sizeof accessStatus_, buffer, size);
    }
    case DEVICE_INFO_TIMESTAMP_FREQUENCY:
      if (type != nullptr) *type = INFO_DATATYPE_UINT64;
      GENTL_LOG(kLogWarning, "%s, iInfoCmd = %d (Request Not Implemented)", "tcDevice", command);
      return GC_ERR_NOT_IMPLEMENTED;
    default:
      return GC_ERR_INVALID_ID;
  }
  if (type != nullptr) *type = INFO_DATATYPE_STRING;
  return AnswerDeviceInfo(text->c_str(), text->size() + 1, buffer, size);
}

GC_ERROR tcDevice::GetNumDataStreams(uint32_t* count) {
  if (count == nullptr) return GC_ERR_INVALID_PARAMETER;
  tcMutexLock lock(stateMutex_);
  *count = static_cast<uint32_t>(streams_.size());
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDevice::GetDataStreamID(uint32_t index, char* id, size_t* size) {
  if (size == nullptr) return GC_ERR_INVALID_PARAMETER;
  tcHandlePin pin;
  tcDataStream* stream = StreamAt(index, &pin);
  if (stream == nullptr) return GC_ERR_INVALID_INDEX;
  const std::string& name = stream->Name();
  GC_ERROR result = GC_ERR_SUCCESS;
  if (id != nullptr) {
    if (*size > name.size()) {
      memcpy(id, name.c_str(), name.size() + 1);
    } else {
      result = GC_ERR_BUFFER_TOO_SMALL;
    }
  }
  *size = name.size() + 1;
  return result;
}

GC_ERROR tcDevice::OpenDataStream(const char* id, void** handle) {
  if (id == nullptr || handle == nullptr) return GC_ERR_SUCCESS;
  tcHandlePin pin;
  for (size_t index = 0;; ++index) {
    tcDataStream* stream = StreamAt(index, &pin);
    if (stream == nullptr) break;
    if (stream->Name() != id) continue;
    if (!stream->IsOpen() && stream->Open() == GC_ERR_SUCCESS) *handle = stream;
    break;
  }
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDevice::Read(uint64_t address, void* buffer, size_t* size) {
  GENTL_LOG(kLogDebug, "%s, iAddress = 0x%llX, size = 0x%X", Name(), address, *size);
  return tcModulePort::Read(address, buffer, size);
}

void tcDevice::AddFeatures(tcFeatureTable& table) {
  using enum FeatureKind;
  table.Category(
      {"Root", "Root", "Provides the Root of the GenTL Producer Device features.", "Beginner"},
      {"DeviceInformation", "DeviceControl", "StreamEnumeration"});
  table.Category(
      {"DeviceInformation", "Device Information",
       "Category that contains all Device Information features of the Device module.", "Beginner"},
      {"DeviceID", "DeviceVendorName", "DeviceModelName", "DeviceType", "DeviceDisplayName",
       "DeviceAccessStatus", "DeviceUserID", "DeviceSerialNumber", "DeviceVersion",
       "DeviceEndianessMechanism", "DeviceEventDataFormat", "DeviceChunkDataFormat"});
  table.Category(
      {"DeviceControl", "Device Control",
       "Category that contains all Device Control features of the Device module.", "Beginner"},
      {});
  table.Category(
      {"StreamEnumeration", "Stream Enumeration",
       "Category that contains all Stream Enumeration features of the Device module.", "Beginner"},
      {"StreamSelector", "StreamID"});

  // Texts of the device itself, read when the description is built.
  auto text = [&](tsFeatureText feature, const std::string* value) {
    table.Feature({.kind = kConstantString, .text = feature, .string = [value] { return *value; }});
  };
  text({"DeviceID", "Device ID", "Interface wide unique identifier of this device.", "Beginner"},
       &Name());
  text({"DeviceVendorName", "Device Vendor Name", "Name of the device vendor.", "Beginner"},
       &vendor_);
  text({"DeviceModelName", "Device Model Name", "Name of the device model.", "Beginner"}, &model_);
  table.Feature(
      {.kind = kConstantEnumeration,
       .text = {"DeviceType", "Device Type", "Transport layer type of the device.", "Expert"},
       .number = [this] { return TransportTypeValue(tlType_); },
       .entries = TransportTypeEntries()});
  text(
      {"DeviceDisplayName", "Device Display Name", "User readable name of the device.", "Beginner"},
      &displayName_);
  table.Feature({.kind = kConstantEnumeration,
                 .text = {"DeviceAccessStatus", "Device Access Status",
                          "Gets the access status the GenTL Producer has on the device.", "Expert"},
                 .number = [this] { return AccessStatus(); },
                 .entries = AccessStatusEntries()});
  text({"DeviceUserID", "Device User ID",
        "User-programmable device identifier of the remote device.", "Expert"},
       &userDefinedName_);
  text({"DeviceSerialNumber", "Device Serial Number", "Serial number of the remote device.",
        "Expert"},
       &serialNumber_);
  text({"DeviceVersion", "Device Version", "Version of the remote device.", "Expert"}, &version_);
  table.Feature(
      {.kind = kConstantEnumeration,
       .text = {"DeviceEndianessMechanism", "Device Endianess Mechanism",
                "Identifies the endianness mechanism used to access the remote device.", "Guru"},
       .number = [] { return 2; },
       .entries = {
           {"Legacy", "Legacy",
            "Handles the device endianness according to the GenICam Schema 1.0.", 1},
           {"Standard", "Standard",
            "Handles the device endianness according to the GenICam Schema 1.1 and later.", 2}}});
  table.Feature({.kind = kConstantEnumeration,
                 .text = {"DeviceEventDataFormat", "Device Event Data Format",
                          "Format of the event data the device delivers.", "Guru"},
                 .number = [] { return 0; },
                 .entries = {{"NotSupported", "Not Supported",
                              "The device delivers no event data through this producer.", 0}}});
  table.Feature({.kind = kConstantEnumeration,
                 .text = {"DeviceChunkDataFormat", "Device Chunk Data Format",
                          "Format of the chunk data the device delivers.", "Guru"},
                 .number = [] { return 0; },
                 .entries = {{"NotSupported", "Not Supported",
                              "The device delivers no chunk data through this producer.", 0}}});

  table.Feature(
      {.kind = kRegisterInteger,
       .text = {"StreamSelector", "Stream Selector", "Selector for the different stream channels.",
                "Beginner"},
       .selected = {"StreamID"},
       .address = 0x10800,
       .access = "RW",
       .read = [this](void* buffer,
                      size_t* size) { return ReadWord(streamSelector_, buffer, size); },
       .write = [this](const void* buffer,
                       size_t* size) { return WriteWord(&streamSelector_, buffer, *size); }});
  table.Feature({.kind = kStringRegister,
                 .text = {"StreamID", "Stream ID", "Device unique ID for the stream, e.g. a GUID.",
                          "Beginner"},
                 .address = 0x10900,
                 .length = 128,
                 .invalidators = {"StreamSelectorReg"},
                 .read = [this](void* buffer, size_t* size) -> GC_ERROR {
                   tcHandlePin pin;
                   tcDataStream* stream = StreamAt(streamSelector_, &pin);
                   if (stream == nullptr) return GC_ERR_INVALID_INDEX;
                   return ReadText(stream->Name(), buffer, size);
                 }});
}

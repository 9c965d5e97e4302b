// tcDeviceU3V: device information from the device info descriptor, open (find by GUID, claim,
// port, event thread) and close.
#include "u3v/tcDeviceU3V.h"

#include <cstring>

#include "base/Log.h"
#include "u3v/tcDataStreamU3V.h"
#include "u3v/tcEventThreadU3V.h"
#include "u3v/tcInterfaceU3V.h"
#include "u3v/tcPortU3V.h"

using namespace GenTL;

namespace {

constexpr size_t kStringSize = 256;

// String descriptor `index` as ASCII; false when it cannot be read.
bool ReadString(libusb_device_handle* handle, uint8_t index, std::string* text) {
  unsigned char buffer[kStringSize] = {};
  int result = libusb_get_string_descriptor_ascii(handle, index, buffer, sizeof buffer - 1);
  if (result <= 0) return false;
  *text = reinterpret_cast<const char*>(buffer);
  return true;
}

// The interface's first alternate setting, or null.
const libusb_interface_descriptor* FirstAltSetting(const libusb_config_descriptor* config,
                                                   uint8_t number) {
  if (number >= config->bNumInterfaces || config->interface[number].num_altsetting < 1) {
    return nullptr;
  }
  return &config->interface[number].altsetting[0];
}

bool IsStreamingInterface(const libusb_config_descriptor* config, uint8_t number) {
  const libusb_interface_descriptor* alt = FirstAltSetting(config, number);
  return alt != nullptr && alt->bInterfaceClass == u3v::kMiscellaneousClass &&
         alt->bInterfaceSubClass == u3v::kU3vSubClass &&
         alt->bInterfaceProtocol == u3v::kStreamProtocol;
}

}  // namespace

bool tcDeviceU3V::GetU3VDID(libusb_device_handle*, const tsIAD* iad,
                            const libusb_config_descriptor* config, tsU3VDID* info) {
  const libusb_interface_descriptor* alt = FirstAltSetting(config, iad->bFirstInterface);
  if (alt == nullptr || alt->extra_length < 2) return false;
  return u3v::FindDeviceInfo(
      std::span<const uint8_t>(alt->extra, static_cast<size_t>(alt->extra_length)), info);
}

std::string tcDeviceU3V::GetU3VGUID(libusb_device_handle* handle, const tsIAD* iad,
                                    const libusb_config_descriptor* config) {
  tsU3VDID info;
  if (!GetU3VDID(handle, iad, config, &info)) {
    GENTL_LOG(kLogError, "GetU3VDID: not found");
    return "";
  }
  unsigned char buffer[kStringSize] = {};
  int result =
      libusb_get_string_descriptor_ascii(handle, info.iDeviceGUID, buffer, sizeof buffer - 1);
  if (result <= 0) {
    GENTL_LOG(kLogError, "libusb_get_string_descriptor: device_guid: ret %d", result);
    return "";
  }
  return reinterpret_cast<const char*>(buffer);
}

tcDeviceU3V::tcDeviceU3V(libusb_device_handle* handle, const tsIAD* iad,
                         const libusb_config_descriptor* config, std::string guid,
                         tcInterfaceU3V* parent)
    : tcDevice(std::move(guid), parent),
      firstInterface_(iad->bFirstInterface),
      interfaceCount_(iad->bInterfaceCount) {
  tlType_ = "U3V";
  tsU3VDID info;
  if (GetU3VDID(handle, iad, config, &info)) {
    ReadString(handle, info.iVendorName, &vendor_);
    ReadString(handle, info.iModelName, &model_);
    ReadString(handle, info.iUserDefinedName, &userDefinedName_);
    ReadString(handle, info.iSerialNumber, &serialNumber_);
    ReadString(handle, info.iDeviceVersion, &version_);
  }
  displayName_ = model_ + "_" + serialNumber_;
  userDefinedName_.clear();
}

tcDeviceU3V::~tcDeviceU3V() {
  Close();
}

bool tcDeviceU3V::FindAgain(libusb_context* context, tsCandidateU3V* match) {
  libusb_device** raw = nullptr;
  ssize_t count = libusb_get_device_list(context, &raw);
  if (count < 0) return false;
  tUsbDeviceList list(raw);
  for (ssize_t i = 0; i < count; ++i) {
    tsCandidateU3V candidate;
    if (!tcInterfaceU3V::Match(list.get()[i], nullptr, &candidate)) continue;
    if (GetU3VGUID(candidate.handle.get(), &candidate.iad, candidate.config.get()) == Name()) {
      *match = std::move(candidate);
      return true;
    }
  }
  return false;
}

void tcDeviceU3V::Claim(uint8_t interfaceNumber) {
  // Not checked: a camera held by another process shows as failing accesses later.
  if (libusb_claim_interface(handle_.get(), interfaceNumber) == 0) {
    claimed_.push_back(interfaceNumber);
  }
}

void tcDeviceU3V::TakeCamera(tsCandidateU3V& match) {
  handle_ = std::move(match.handle);
  libusb_set_configuration(handle_.get(), 1);
  Claim(firstInterface_);
  port_ = MakeModule<tcPortU3V>(this, handle_.get(), match.config.get(), firstInterface_);
  for (int i = 1; i < interfaceCount_; ++i) {
    auto number = static_cast<uint8_t>(firstInterface_ + i);
    Claim(number);  // the event interface is claimed and not used
    if (IsStreamingInterface(match.config.get(), number)) {
      GENTL_LOG(kLogDebug, "%s: streaming interface %d", Name(), number);
      int index = static_cast<int>(streams_.size());
      streams_.push_back(MakeModule<tcDataStreamU3V>("Stream" + std::to_string(index), this, index,
                                                     port_.get(), handle_.get(), match.config.get(),
                                                     number));
    }
  }
}

GC_ERROR tcDeviceU3V::Open(int32_t openFlags) {
  tcMutexLock transition(transitionMutex_);
  if (IsOpen()) return GC_ERR_RESOURCE_IN_USE;
  if (openFlags != DEVICE_ACCESS_EXCLUSIVE) {
    GENTL_LOG(kLogWarning, "%s, iOpenFlags = %d (Request Not Implemented)", "tcDeviceU3V",
              openFlags);
    return GC_ERR_NOT_IMPLEMENTED;
  }
  auto* parent = dynamic_cast<tcInterfaceU3V*>(parent_);
  if (parent == nullptr) return GC_ERR_INVALID_HANDLE;
  tUsbContext context = parent->Context();
  if (!context) return GC_ERR_IO;
  tsCandidateU3V match;
  if (!FindAgain(context.get(), &match)) return GC_ERR_INVALID_ID;
  {
    tcMutexLock lock(stateMutex_);
    TakeCamera(match);
    context_ = context;
    open_ = true;
    accessStatus_ = DEVICE_ACCESS_STATUS_OPEN_READWRITE;
  }
  tcEventThreadU3V::Enter(std::move(context));
  return GC_ERR_SUCCESS;
}

// The order matters while the shared event thread runs: the streams (which cancel their
// transfers) and the port go first, then the interfaces are released and the handle closed,
// and only then does this device leave the event thread.
GC_ERROR tcDeviceU3V::Close() {
  tcMutexLock transition(transitionMutex_);
  if (!IsOpen()) return GC_ERR_SUCCESS;
  DestroyStreams();
  ModuleOwner<tcPortU3V> port;
  tUsbHandle handle;
  std::vector<uint8_t> claimed;
  tUsbContext context;
  {
    tcMutexLock lock(stateMutex_);
    port = std::move(port_);
    handle = std::move(handle_);
    claimed = std::move(claimed_);
    claimed_.clear();
    context = std::move(context_);
    open_ = false;
    accessStatus_ = DEVICE_ACCESS_STATUS_READWRITE;
  }
  port.reset();  // waits for the calls still running on it
  for (uint8_t number : claimed)
    libusb_release_interface(handle.get(), number);
  handle.reset();
  tcEventThreadU3V::Leave();
  return GC_ERR_SUCCESS;  // `context` goes last: libusb_exit if the interface let go already
}

tcPort* tcDeviceU3V::RemotePort() {
  tcMutexLock lock(stateMutex_);
  return port_.get();
}

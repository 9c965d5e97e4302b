// tcInterfaceU3V: libusb context, the USB device walk with the three-stage match, and the
// device list kept by GUID.
#include "u3v/tcInterfaceU3V.h"

#include <algorithm>
#include <cstring>

#include "base/Log.h"
#include "u3v/U3vVendorIds.h"
#include "u3v/tcDeviceU3V.h"

using namespace GenTL;

namespace {

constexpr size_t kFunctionNameSize = 32;
constexpr size_t kMinimumGuidLength = 3;
constexpr size_t kDeviceIdSize = 512;

}  // namespace

tcInterfaceU3V::tcInterfaceU3V(tcSystem* system) : tcInterface("U3V", "U3V", system) {}

GC_ERROR tcInterfaceU3V::Open() {
  tcMutexLock lock(contextMutex_);
  if (!context_) {
    const libusb_version* version = libusb_get_version();
    GENTL_LOG(kLogInfo, "tcDeviceU3V libusb v%d.%d.%d.%d", version->major, version->minor,
              version->micro, version->nano);
    libusb_context* context = nullptr;
    if (libusb_init(&context) != 0) return GC_ERR_IO;
    context_ = tUsbContext(context, libusb_exit);
  }
  ++openCount_;
  return GC_ERR_SUCCESS;
}

GC_ERROR tcInterfaceU3V::Close() {
  tcMutexLock lock(contextMutex_);
  if (--openCount_ <= 0) context_.reset();  // libusb_exit once the open devices let go too
  return GC_ERR_SUCCESS;
}

tUsbContext tcInterfaceU3V::Context() {
  tcMutexLock lock(contextMutex_);
  return context_;
}

bool tcInterfaceU3V::MatchDeviceDescriptor(libusb_device* device,
                                           const std::vector<uint16_t>* vendors) {
  libusb_device_descriptor descriptor{};
  if (libusb_get_device_descriptor(device, &descriptor) != 0) return false;
  GENTL_LOG(kLogDebug,
            "USB VID: 0x%02X PID: 0x%02X Class: 0x%02X SubClass: 0x%02X Protocol: 0x%02X",
            descriptor.idVendor, descriptor.idProduct, descriptor.bDeviceClass,
            descriptor.bDeviceSubClass, descriptor.bDeviceProtocol);
  bool vendorAccepted = vendors == nullptr || std::find(vendors->begin(), vendors->end(),
                                                        descriptor.idVendor) != vendors->end();
  if (!vendorAccepted || descriptor.bDeviceClass != u3v::kMiscellaneousClass ||
      descriptor.bDeviceSubClass != u3v::kCommonSubClass ||
      descriptor.bDeviceProtocol != u3v::kIadProtocol) {
    return false;
  }
  GENTL_LOG(kLogDebug, "Match part 1");
  return true;
}

namespace {

std::span<const uint8_t> Extra(const unsigned char* extra, int length) {
  return length > 0 ? std::span<const uint8_t>(extra, static_cast<size_t>(length))
                    : std::span<const uint8_t>();
}

// The IAD of configuration 0: in the configuration's extra bytes, else behind interface 0.
tsIAD ConfigurationIad(const libusb_config_descriptor* config) {
  std::span<const uint8_t> interface0;
  if (config->bNumInterfaces > 0 && config->interface[0].num_altsetting > 0) {
    const libusb_interface_descriptor& alt = config->interface[0].altsetting[0];
    interface0 = Extra(alt.extra, alt.extra_length);
  }
  return u3v::FindConfigurationIad(Extra(config->extra, config->extra_length), interface0);
}

}  // namespace

bool tcInterfaceU3V::MatchFunction(libusb_device* device, tsCandidateU3V* candidate) {
  libusb_config_descriptor* config = nullptr;
  int result = libusb_get_config_descriptor(device, 0, &config);
  if (result != 0) {
    GENTL_LOG(kLogError, "libusb_get_config_descriptor: ret %d (%s)", result,
              libusb_strerror(result));
    return false;
  }
  candidate->config.reset(config);
  GENTL_LOG(kLogDebug, "get_config_descriptor");
  const tsIAD iad = ConfigurationIad(config);
  if (iad.bLength == 0) return false;
  GENTL_LOG(kLogDebug, "IAD: Class: 0x%02X SubClass: 0x%02X Protocol: 0x%02X", iad.bFunctionClass,
            iad.bFunctionSubClass, iad.bFunctionProtocol);
  if (iad.bFunctionClass != u3v::kMiscellaneousClass ||
      iad.bFunctionSubClass != u3v::kU3vSubClass ||
      iad.bFunctionProtocol != u3v::kControlProtocol) {
    return false;
  }
  candidate->iad = iad;
  GENTL_LOG(kLogDebug, "Match part 2 - IAD");
  return true;
}

bool tcInterfaceU3V::MatchFunctionName(libusb_device* device, tsCandidateU3V* candidate) {
  libusb_device_handle* handle = nullptr;
  int result = libusb_open(device, &handle);
  if (result != 0) {
    GENTL_LOG(kLogError, "libusb_open: ret %d (%s)", result, libusb_strerror(result));
    return false;
  }
  candidate->handle.reset(handle);
  unsigned char name[kFunctionNameSize] = {};
  result =
      libusb_get_string_descriptor_ascii(handle, candidate->iad.iFunction, name, sizeof name - 1);
  if (result < 1) {
    GENTL_LOG(kLogError, "get_string_descriptor_ascii: ret %d (%s)", result,
              libusb_strerror(result));
    return false;
  }
  GENTL_LOG(kLogDebug, "get_string_descriptor_ascii: %s", reinterpret_cast<const char*>(name));
  if (static_cast<size_t>(result) != strlen(u3v::kFunctionName) ||
      memcmp(name, u3v::kFunctionName, result) != 0) {
    GENTL_LOG(kLogError, "String descriptor didn't match");
    return false;
  }
  GENTL_LOG(kLogDebug, "Match part 3 - Descriptor");
  return true;
}

bool tcInterfaceU3V::Match(libusb_device* device, const std::vector<uint16_t>* vendors,
                           tsCandidateU3V* candidate) {
  return MatchDeviceDescriptor(device, vendors) && MatchFunction(device, candidate) &&
         MatchFunctionName(device, candidate);
}

std::vector<std::string> tcInterfaceU3V::ListedIds() {
  std::vector<std::string> ids;
  uint32_t count = 0;
  GetNumDevices(&count);
  for (uint32_t index = 0; index < count; ++index) {
    char id[kDeviceIdSize] = "";
    size_t size = sizeof id;
    if (GetDeviceID(index, id, &size) == GC_ERR_SUCCESS) ids.emplace_back(id);
  }
  return ids;
}

void tcInterfaceU3V::TakeCamera(tsCandidateU3V& candidate, std::vector<std::string>& ids,
                                std::vector<bool>& seen, bool* changed) {
  std::string guid =
      tcDeviceU3V::GetU3VGUID(candidate.handle.get(), &candidate.iad, candidate.config.get());
  if (guid.size() < kMinimumGuidLength) {
    GENTL_LOG(kLogError, "GUID too small");
    return;
  }
  auto known = std::find(ids.begin(), ids.end(), guid);
  if (known != ids.end()) {
    GENTL_LOG(kLogDebug, "Previous GUID added");
    seen[known - ids.begin()] = true;
    return;
  }
  GENTL_LOG(kLogDebug, "New GUID added");
  *changed = true;
  // A camera that comes back gets its retired object again (same handle) when it is closed.
  if (ReviveDevice(guid) == nullptr) {
    AddDevice(MakeModule<tcDeviceU3V>(candidate.handle.get(), &candidate.iad,
                                      candidate.config.get(), guid, this));
  }
  ids.push_back(guid);
  seen.push_back(true);
}

GC_ERROR tcInterfaceU3V::UpdateDeviceList(bool8_t* pbChanged, uint64_t) {
  if (pbChanged != nullptr) *pbChanged = false;
  tUsbContext context = Context();
  if (!context) return GC_ERR_IO;
  tcMutexLock updating(updateMutex_);
  MarkListUpdated();
  std::vector<std::string> ids = ListedIds();
  bool changed = false;
  libusb_device** raw = nullptr;
  ssize_t count = libusb_get_device_list(context.get(), &raw);
  if (count < 0) {
    for (const std::string& id : ids)
      RetireDevice(id);
    if (pbChanged != nullptr) *pbChanged = !ids.empty();
    return GC_ERR_IO;
  }
  tUsbDeviceList list(raw);
  std::vector<bool> seen(ids.size(), false);
  const std::vector<uint16_t> vendors = u3v::AcceptedVendorIds();
  for (ssize_t i = 0; i < count; ++i) {
    tsCandidateU3V candidate;
    if (Match(list.get()[i], &vendors, &candidate)) TakeCamera(candidate, ids, seen, &changed);
  }  // each candidate closes its handle and frees its descriptor here
  for (size_t i = 0; i < seen.size(); ++i) {
    if (seen[i]) continue;
    RetireDevice(ids[i]);
    changed = true;
  }
  if (pbChanged != nullptr) *pbChanged = changed;
  return GC_ERR_SUCCESS;
}

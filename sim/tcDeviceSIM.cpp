// tcDeviceSIM: identity, opening and closing, the defaults written into the register map, the
// payload size rule and the filling of a buffer for one region.
#include "sim/tcDeviceSIM.h"

#include <algorithm>
#include <stdexcept>

#include "base/Log.h"
#include "base/Platform.h"
#include "modules/InfoAnswer.h"
#include "sim/PatternGenerators.h"
#include "sim/PixelFormat.h"
#include "sim/tcDataStreamSIM.h"
#include "sim/tcPortSIM.h"
#include "stream/tcBuffer.h"

using namespace GenTL;

namespace {

constexpr uint32_t kSensorWidth = 1920;
constexpr uint32_t kSensorHeight = 1080;
constexpr uint64_t kTimestampFrequency = 1000000000;  // time stamps are nanoseconds

}  // namespace

tcDeviceSIM::tcDeviceSIM(const std::string& xmlPath, tcInterface* parent)
    : tcDevice("SimCam", parent), xmlPath_(platform::AbsolutePath(xmlPath)) {
  vendor_ = "Vantora";
  model_ = "Simulated Camera";
  displayName_ = "Simulated Camera";
  serialNumber_ = "1001001";
  version_ = "2.9.0.102";
  tlType_ = "Custom";
  accessStatus_ = DEVICE_ACCESS_STATUS_READWRITE;
  pugi::xml_document document;
  pugi::xml_parse_result parsed = document.load_file(xmlPath_.c_str());
  if (!parsed) {
    throw std::runtime_error(std::string(parsed.description()) + " at offset " +
                             std::to_string(parsed.offset) + " of " + xmlPath_);
  }
  pugi::xml_node root = document.child("RegisterDescription");
  if (!root) throw std::runtime_error("no RegisterDescription element in " + xmlPath_);
  BuildRegmap(root);
  generators_ = MakePatternGenerators();
  WriteDefaults();
}

tcDeviceSIM::~tcDeviceSIM() {
  Close();
}

void tcDeviceSIM::WriteDefaults() {
  SetString("DeviceVendorName", vendor_);
  SetString("DeviceModelName", model_);
  SetString("DeviceSerialNumber", serialNumber_);
  SetString("DeviceVersion", version_);
  SetString("DeviceFirmwareVersion", version_);
  SetString("DeviceManufacturerInfo", "Vantora GenTL simulated camera");
  SetString("SoftwareBuildDate", GENTL_BUILD_DATE);
  SetInt("SensorWidth", kSensorWidth);
  SetInt("SensorHeight", kSensorHeight);
  SetInt("PixelFormatRegister", kPixelMono8);
  SetInt("AcquisitionFramePeriodRegister", 33333);
  SetInt("MinFramePeriodRegister", 1000);
  SetInt("AcquisitionModeRegister", 0);
  SetInt("AcquisitionFrameCountRegister", 1);
  SetInt("TestPatternRegister", 1);
  SetInt("GridStrideXRegister", 64);
  SetInt("GridStrideYRegister", 64);
  SetInt("BinningHorizontalRegister", 1);
  SetInt("BinningVerticalRegister", 1);
  SetFloat("NoiseMeanRegister", 10.0);
  SetFloat("NoiseStdDevRegister", 5.0);
  SetFloat("ExposureTimeRegister", 10000.0);
  SetFloat("SensorTemperatureRegister", 40.0);
  for (tsRegion& region : regions_)
    region = {0, 0, 0, kSensorWidth, kSensorHeight};
  regions_[0].enabled = 1;
}

GC_ERROR tcDeviceSIM::Open(int32_t openFlags) {
  if (openFlags != DEVICE_ACCESS_EXCLUSIVE) {
    GENTL_LOG(kLogWarning, "%s, iOpenFlags = %d (Request Not Implemented)", "tcDeviceSIM",
              openFlags);
    return GC_ERR_NOT_IMPLEMENTED;
  }
  tcMutexLock lock(stateMutex_);
  if (open_) return GC_ERR_RESOURCE_IN_USE;
  port_ = MakeModule<tcPortSIM>(this);
  streams_.push_back(MakeModule<tcDataStreamSIM>("Stream0", this));
  open_ = true;
  accessStatus_ = DEVICE_ACCESS_STATUS_OPEN_READWRITE;
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDeviceSIM::Close() {
  DestroyStreams();  // their frame threads read the registers: streams go first
  ModuleOwner<tcPortSIM> port;
  {
    tcMutexLock lock(stateMutex_);
    port = std::move(port_);
    open_ = false;
    accessStatus_ = DEVICE_ACCESS_STATUS_READWRITE;
  }
  return GC_ERR_SUCCESS;  // `port` goes here, once no call runs on it
}

tcPort* tcDeviceSIM::RemotePort() {
  tcMutexLock lock(stateMutex_);
  return port_.get();
}

GC_ERROR tcDeviceSIM::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  if (command != DEVICE_INFO_TIMESTAMP_FREQUENCY) {
    return tcDevice::GetInfo(command, type, buffer, size);
  }
  if (type != nullptr) *type = INFO_DATATYPE_UINT64;
  if (size == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (buffer != nullptr && *size < sizeof kTimestampFrequency) return GC_ERR_BUFFER_TOO_SMALL;
  return CopyValue(kTimestampFrequency, buffer, size);
}

size_t tcDeviceSIM::GetPayloadSize() {
  uint64_t width = 0, height = 0, code = 0;
  GetInt("SensorWidth", &width);
  GetInt("SensorHeight", &height);
  GetInt("PixelFormatRegister", &code);
  const tsPixelFormat* format = FindPixelFormat(static_cast<uint32_t>(code));
  if (format == nullptr) {
    GENTL_LOG(kLogError, "Unknown pixel format %08x", code);
    return 0;
  }
  return width * height * format->bitsPerPixel / 8;
}

uint64_t tcDeviceSIM::FramePeriodUs() {
  uint64_t period = 0;
  GetInt("AcquisitionFramePeriodRegister", &period);
  return period;
}

std::vector<std::pair<uint32_t, tcDeviceSIM::tsRegion>> tcDeviceSIM::EnabledRegions() {
  std::vector<std::pair<uint32_t, tsRegion>> enabled;
  for (uint32_t i = 0; i < kRegionCount; ++i) {
    if (regions_[i].enabled != 0) enabled.emplace_back(i, regions_[i]);
  }
  return enabled;
}

namespace {

uint32_t Int32(tcDeviceSIM& device, const char* name) {
  uint64_t value = 0;
  device.GetInt(name, &value);
  return static_cast<uint32_t>(value);
}

}  // namespace

int tcDeviceSIM::FillBuffer(tcBuffer* buffer, const tsRegion& region, uint64_t timestampNs) {
  tsPatternParams params;
  size_t payload = 0;
  const tcPatternGenerator* generator = nullptr;
  {
    tcMutexLock lock(registersMutex_);
    payload = GetPayloadSize();
    if (payload > buffer->size) return -1;
    uint64_t pattern = 0;
    if (!GetInt("TestPatternRegister", &pattern)) return -2;
    auto found = generators_.find(static_cast<uint32_t>(pattern));
    if (found == generators_.end()) return -3;
    generator = found->second.get();
    params.pixelFormat = Int32(*this, "PixelFormatRegister");
    params.width = region.width;
    params.height = region.height;
    params.offsetX = region.offsetX;
    params.offsetY = region.offsetY;
    params.sensorWidth = Int32(*this, "SensorWidth");
    params.sensorHeight = Int32(*this, "SensorHeight");
    params.gridOffsetX = Int32(*this, "GridOffsetXRegister");
    params.gridOffsetY = Int32(*this, "GridOffsetYRegister");
    params.gridStrideX = Int32(*this, "GridStrideXRegister");
    params.gridStrideY = Int32(*this, "GridStrideYRegister");
    GetFloat("NoiseMeanRegister", &params.noiseMean);
    GetFloat("NoiseStdDevRegister", &params.noiseStdDev);
    params.lutMaxIndex = Int32(*this, "LUTMaxIndexRegister");
    params.lutMaxValue = Int32(*this, "LUTMaxValueRegister");
    params.binningHorizontal = Int32(*this, "BinningHorizontalRegister");
    params.binningVertical = Int32(*this, "BinningVerticalRegister");
    params.isColor = Int32(*this, "IsCameraColorRegister") != 0;
  }
  params.frameId = frameCounter_.fetch_add(1) + 1;
  buffer->payloadType = PAYLOAD_TYPE_IMAGE;
  buffer->pixelFormat = params.pixelFormat;
  buffer->pixelFormatNamespace = PIXELFORMAT_NAMESPACE_PFNC_32BIT;
  buffer->xOffset = region.offsetX;
  buffer->yOffset = region.offsetY;
  buffer->width = region.width;
  buffer->height = region.height;
  buffer->xPadding = 0;
  buffer->yPadding = 0;
  buffer->sizeFilled = payload;
  buffer->frameId = params.frameId;
  buffer->timestamp = timestampNs;
  buffer->timestampNs = timestampNs;
  return generator->Draw(params, static_cast<uint8_t*>(buffer->memory),
                         std::min(payload, buffer->size));
}

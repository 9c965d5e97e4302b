// tcDeviceGEV: identity from the discovery record, opening with control privilege, closing,
// and the camera's timestamp frequency.
#include "gev/tcDeviceGEV.h"

#include <arpa/inet.h>

#include <cstring>
#include <utility>

#include "base/Log.h"
#include "base/tsSocketAddress.h"
#include "gev/Gvcp.h"
#include "gev/tcDataStreamGEV.h"
#include "gev/tcPortGEV.h"
#include "modules/InfoAnswer.h"

using namespace GenTL;

namespace {

// A NUL-terminated text field of the record (cut at the field's end when it has no NUL).
std::string RecordText(const tcDeviceGEV::tsRecord& record, size_t offset, size_t fieldSize) {
  const char* field = reinterpret_cast<const char*>(record.data() + offset);
  return std::string(field, strnlen(field, fieldSize));
}

}  // namespace

tcDeviceGEV::tcDeviceGEV(const tsRecord& record, std::string id, tcInterface* parent,
                         uint32_t localAddress)
    : tcDevice(std::move(id), parent), record_(record), localAddress_(localAddress) {
  vendor_ = RecordText(record_, gvcp::kRecordManufacturer, 32);
  model_ = RecordText(record_, gvcp::kRecordModel, 32);
  serialNumber_ = RecordText(record_, gvcp::kRecordSerial, 16);
  version_ = RecordText(record_, gvcp::kRecordVersion, 32);
  tlType_ = "GEV";
  tcMutexLock lock(stateMutex_);
  displayName_ = DisplayName();
  accessStatus_ = DEVICE_ACCESS_STATUS_READWRITE;
}

tcDeviceGEV::~tcDeviceGEV() {
  Close();
}

std::string tcDeviceGEV::DeviceId(const tsRecord& record) {
  return RecordText(record, gvcp::kRecordModel, 32) + ":" +
         RecordText(record, gvcp::kRecordSerial, 16);
}

uint32_t tcDeviceGEV::CameraAddress() {
  tcMutexLock lock(stateMutex_);
  uint32_t address = 0;
  memcpy(&address, record_.data() + gvcp::kRecordCurrentIp, 4);
  return ntohl(address);
}

uint32_t tcDeviceGEV::LocalAddress() {
  tcMutexLock lock(stateMutex_);
  return localAddress_;
}

std::string tcDeviceGEV::DisplayName() {
  uint32_t address = 0;
  memcpy(&address, record_.data() + gvcp::kRecordCurrentIp, 4);
  return RecordText(record_, gvcp::kRecordModel, 32) + " [" +
         tsSocketAddress::Text(ntohl(address)) + "]";
}

bool tcDeviceGEV::SameCamera(const tsRecord& record) {
  tcMutexLock lock(stateMutex_);
  return memcmp(record.data() + gvcp::kRecordMac, record_.data() + gvcp::kRecordMac,
                gvcp::kRecordMacSize) == 0;
}

void tcDeviceGEV::Rediscovered(const tsRecord& record, uint32_t localAddress) {
  tcMutexLock lock(stateMutex_);
  record_ = record;
  localAddress_ = localAddress;
}

GC_ERROR tcDeviceGEV::Open(int32_t openFlags) {
  if (openFlags != DEVICE_ACCESS_EXCLUSIVE) {
    GENTL_LOG(kLogWarning, "%s, iOpenFlags = %d (Request Not Implemented)", "tcDeviceGEV",
              openFlags);
    return GC_ERR_NOT_IMPLEMENTED;
  }
  {
    tcMutexLock lock(stateMutex_);
    if (open_ || opening_) return GC_ERR_RESOURCE_IN_USE;
    opening_ = true;
  }
  // The camera is reached outside the state lock; `opening_` keeps a second open out.
  auto port = MakeModule<tcPortGEV>(Name());
  GC_ERROR result = port->Connect(CameraAddress(), LocalAddress());
  if (result == GC_ERR_SUCCESS) ReadTimestampFrequency(port.get());
  tcMutexLock lock(stateMutex_);
  opening_ = false;
  if (result != GC_ERR_SUCCESS) return result;  // `port` goes after the lock is released
  streams_.push_back(MakeModule<tcDataStreamGEV>("Stream0", this, port.get()));
  port_ = std::move(port);
  open_ = true;
  accessStatus_ = DEVICE_ACCESS_STATUS_OPEN_READWRITE;
  return result;
}

void tcDeviceGEV::ReadTimestampFrequency(tcPortGEV* port) {
  uint32_t low = 0;
  uint32_t high = 0;
  uint64_t frequency = 0;
  if (port->ReadReg(gvcp::kTimestampFrequencyLow, &low) == GC_ERR_SUCCESS &&
      port->ReadReg(gvcp::kTimestampFrequencyHigh, &high) == GC_ERR_SUCCESS) {
    frequency = uint64_t{ntohl(high)} << 32 | ntohl(low);
  }
  if (frequency == 0) {
    LogPrint(kLogWarning, "tcDeviceGEV::Open", "Unable to read timestamp frequency.. using 1000Hz");
    frequency = kFallbackFrequency;
  }
  frequency_.store(frequency);
}

GC_ERROR tcDeviceGEV::Close() {
  DestroyStreams();  // they use the port: streams go first
  ModuleOwner<tcPortGEV> port;
  {
    tcMutexLock lock(stateMutex_);
    port = std::move(port_);
    open_ = false;
    accessStatus_ = DEVICE_ACCESS_STATUS_READWRITE;
  }
  return GC_ERR_SUCCESS;  // `port` releases the privilege here, once no call runs on it
}

tcPort* tcDeviceGEV::RemotePort() {
  return PortGEV();
}

tcPortGEV* tcDeviceGEV::PortGEV() {
  tcMutexLock lock(stateMutex_);
  return port_.get();
}

GC_ERROR tcDeviceGEV::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  if (command == DEVICE_INFO_DISPLAYNAME) {  // of the latest record, by the base's size rule
    if (type != nullptr) *type = INFO_DATATYPE_STRING;
    if (size == nullptr) return GC_ERR_INVALID_PARAMETER;
    tcMutexLock lock(stateMutex_);
    std::string name = DisplayName();
    if (buffer != nullptr && name.size() + 1 > *size) return GC_ERR_BUFFER_TOO_SMALL;
    if (buffer != nullptr) memcpy(buffer, name.c_str(), name.size() + 1);
    *size = name.size() + 1;
    return GC_ERR_SUCCESS;
  }
  if (command != DEVICE_INFO_TIMESTAMP_FREQUENCY) {
    return tcDevice::GetInfo(command, type, buffer, size);
  }
  if (type != nullptr) *type = INFO_DATATYPE_UINT64;
  return CopyValue(TimestampFrequency(), buffer, size);
}

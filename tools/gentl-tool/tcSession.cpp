// Opening and closing interfaces, devices and data streams by ID, with clear errors for IDs
// that do not exist.
#include "tcSession.h"

#include <algorithm>
#include <cstdlib>

#include "ToolPaths.h"
#include "tcToolError.h"

using namespace GenTL;

namespace {

std::string Join(const std::vector<std::string>& words) {
  std::string out;
  for (const std::string& word : words)
    out += (out.empty() ? "" : ", ") + word;
  return out.empty() ? "none" : out;
}

bool Contains(const std::vector<std::string>& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

}  // namespace

tcSession::~tcSession() {
  GenTLLibrary& lib = producer_.Lib();
  if (stream_ != nullptr) lib.DSClose(stream_);
  if (device_ != nullptr) lib.DevClose(device_);
  if (interface_ != nullptr) lib.IFClose(interface_);
}

IF_HANDLE tcSession::OpenInterface(const std::string& id) {
  const std::vector<std::string>& ids = producer_.InterfaceIds();
  if (!Contains(ids, id)) {
    throw tcToolError("no interface \"" + id + "\"; the producer has: " + Join(ids) + ".");
  }
  producer_.Check("TLOpenInterface(" + id + ")",
                  producer_.Lib().TLOpenInterface(producer_.System(), id.c_str(), &interface_));
  interfaceId_ = id;
  return interface_;
}

const std::vector<std::string>& tcSession::DeviceIds() {
  if (devicesListed_) return deviceIds_;
  GenTLLibrary& lib = producer_.Lib();
  if (interfaceId_ == "Simulated") CheckCameraFile();
  bool8_t changed = false;
  producer_.Check("IFUpdateDeviceList(" + interfaceId_ + ")",
                  lib.IFUpdateDeviceList(interface_, &changed, 1000));
  uint32_t count = 0;
  producer_.Check("IFGetNumDevices", lib.IFGetNumDevices(interface_, &count));
  for (uint32_t index = 0; index < count; ++index) {
    char id[1024] = "";
    size_t size = sizeof id;
    producer_.Check("IFGetDeviceID", lib.IFGetDeviceID(interface_, index, id, &size));
    deviceIds_.emplace_back(id);
  }
  devicesListed_ = true;
  return deviceIds_;
}

std::string tcSession::ResolveDevice(const std::string& id) {
  const std::vector<std::string>& ids = DeviceIds();
  if (id.empty()) {
    if (!ids.empty()) return ids.front();
    std::string hint;
    if (interfaceId_ == "Simulated" && getenv("SIMCAM_XML_FILE") == nullptr) {
      hint = "; set SIMCAM_XML_FILE to a camera file such as cameras/SimCam.xml";
    }
    throw tcToolError("interface \"" + interfaceId_ + "\" has no device" + hint + ".");
  }
  if (!Contains(ids, id)) {
    throw tcToolError("no device \"" + id + "\" on interface \"" + interfaceId_ +
                      "\"; it has: " + Join(ids) + ".");
  }
  return id;
}

DEV_HANDLE tcSession::OpenDevice(const std::string& id) {
  deviceId_ = ResolveDevice(id);
  producer_.Check("IFOpenDevice(" + deviceId_ + ")",
                  producer_.Lib().IFOpenDevice(interface_, deviceId_.c_str(),
                                               DEVICE_ACCESS_EXCLUSIVE, &device_));
  return device_;
}

PORT_HANDLE tcSession::RemotePort() {
  PORT_HANDLE port = nullptr;
  producer_.Check("DevGetPort", producer_.Lib().DevGetPort(device_, &port));
  return port;
}

DS_HANDLE tcSession::OpenStream(const std::string& id) {
  GenTLLibrary& lib = producer_.Lib();
  uint32_t count = 0;
  producer_.Check("DevGetNumDataStreams", lib.DevGetNumDataStreams(device_, &count));
  std::vector<std::string> ids;
  for (uint32_t index = 0; index < count; ++index) {
    char streamId[1024] = "";
    size_t size = sizeof streamId;
    producer_.Check("DevGetDataStreamID", lib.DevGetDataStreamID(device_, index, streamId, &size));
    ids.emplace_back(streamId);
  }
  if (id.empty() && ids.empty()) {
    throw tcToolError("device \"" + deviceId_ + "\" has no data stream.");
  }
  if (!id.empty() && !Contains(ids, id)) {
    throw tcToolError("no data stream \"" + id + "\" on device \"" + deviceId_ +
                      "\"; it has: " + Join(ids) + ".");
  }
  streamId_ = id.empty() ? ids.front() : id;
  producer_.Check("DevOpenDataStream(" + streamId_ + ")",
                  lib.DevOpenDataStream(device_, streamId_.c_str(), &stream_));
  return stream_;
}

PORT_HANDLE tcSession::OpenPort(tsModuleChoice& choice) {
  using teLevel = tsModuleChoice::teLevel;
  if (choice.level == teLevel::kSystem) return producer_.System();
  OpenInterface(choice.interfaceId);
  if (choice.level == teLevel::kInterface) return interface_;
  OpenDevice(choice.deviceId);
  choice.deviceId = deviceId_;
  if (choice.level == teLevel::kDevice) return device_;
  if (choice.level == teLevel::kRemote) return RemotePort();
  OpenStream(choice.streamId);
  choice.streamId = streamId_;
  return stream_;
}

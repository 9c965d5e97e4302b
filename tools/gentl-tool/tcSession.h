// The interface, device and data stream a command opened, closed again in reverse order.
#pragma once

#include <string>
#include <vector>

#include "tcProducer.h"
#include "tsModuleChoice.h"

class tcSession {
 public:
  explicit tcSession(tcProducer& producer) : producer_(producer) {}
  ~tcSession();
  tcSession(const tcSession&) = delete;
  tcSession& operator=(const tcSession&) = delete;

  // Opens the interface `id`; throws a one-sentence error when the producer has no such one.
  GenTL::IF_HANDLE OpenInterface(const std::string& id);
  // The open interface's devices, after IFUpdateDeviceList (once). Only the interface a user
  // chose ever gets here, so no other one is searched for devices.
  const std::vector<std::string>& DeviceIds();
  // Opens device `id` (empty: the first) exclusively on the open interface.
  GenTL::DEV_HANDLE OpenDevice(const std::string& id);
  GenTL::PORT_HANDLE RemotePort();
  // Opens data stream `id` (empty: the first) of the open device.
  GenTL::DS_HANDLE OpenStream(const std::string& id);

  // Opens the modules down to `choice` (filling in default IDs) and returns its port handle.
  GenTL::PORT_HANDLE OpenPort(tsModuleChoice& choice);

  // The ID of device `id` (empty: the first), checked against the interface's list.
  std::string ResolveDevice(const std::string& id);

  GenTL::IF_HANDLE Interface() const { return interface_; }
  GenTL::DEV_HANDLE Device() const { return device_; }
  GenTL::DS_HANDLE Stream() const { return stream_; }
  const std::string& InterfaceId() const { return interfaceId_; }
  const std::string& DeviceId() const { return deviceId_; }
  const std::string& StreamId() const { return streamId_; }

 private:
  tcProducer& producer_;
  GenTL::IF_HANDLE interface_ = nullptr;
  GenTL::DEV_HANDLE device_ = nullptr;
  GenTL::DS_HANDLE stream_ = nullptr;
  std::string interfaceId_;
  std::string deviceId_;
  std::string streamId_;
  bool devicesListed_ = false;
  std::vector<std::string> deviceIds_;
};

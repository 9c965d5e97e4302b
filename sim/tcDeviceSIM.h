// The simulated camera: a register map built from the GenApi camera file that SIMCAM_XML_FILE
// names, typed register access by name, the payload size rule and the filling of a buffer for
// one region. Its remote port and its one data stream exist while it is open.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "base/tcMutex.h"
#include "modules/tcDevice.h"
#include "sim/tcPatternGenerator.h"

class tcBuffer;
class tcPortSIM;

class tcDeviceSIM : public tcDevice {
 public:
  // What a register does beyond storing its bytes.
  enum class Role : uint8_t {
    kStored,
    kRegionSelector,
    kRegionMode,
    kOffsetX,
    kOffsetY,
    kWidth,
    kHeight,
    kPayloadSize,
    kDebugBuffer,
    kDebugBytesWritten,
  };

  // One register element of the camera file with its storage.
  struct tsRegAccess {
    std::string name;
    uint64_t address = 0;
    uint64_t length = 0;
    std::string accessMode;
    enum class Kind : uint8_t { kInteger, kFloat, kString, kRegister } kind = Kind::kInteger;
    Role role = Role::kStored;
    std::vector<uint8_t> data;
  };

  // One region record: enabled, x offset, y offset, width, height.
  struct tsRegion {
    uint32_t enabled;
    uint32_t offsetX;
    uint32_t offsetY;
    uint32_t width;
    uint32_t height;
  };
  static constexpr size_t kRegionCount = 8;

  // Loads the camera file; throws std::runtime_error with the reason when it cannot be used.
  tcDeviceSIM(const std::string& xmlPath, tcInterface* parent);
  ~tcDeviceSIM() override;

  GenTL::GC_ERROR Open(int32_t openFlags) override;
  GenTL::GC_ERROR Close() override;
  GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;
  tcPort* RemotePort() override;

  // Register access through the remote port (the caller holds the port's access mutex).
  GenTL::GC_ERROR ReadRegisters(uint64_t address, void* buffer, size_t size);
  GenTL::GC_ERROR WriteRegisters(uint64_t address, const void* buffer, size_t size);

  // Typed access by register name; false (and an error line) when the name is unknown.
  bool GetInt(const std::string& name, uint64_t* value);
  bool SetInt(const std::string& name, uint64_t value);
  bool GetFloat(const std::string& name, double* value);
  bool SetFloat(const std::string& name, double value);
  bool GetString(const std::string& name, std::string* value);
  bool SetString(const std::string& name, const std::string& value);
  bool GetRegister(const std::string& name, uint64_t offset, uint32_t* value);
  bool SetRegister(const std::string& name, uint64_t offset, uint32_t value);

  // Sensor width x height x bits per pixel / 8 of the current pixel format; 0 for an unknown
  // format.
  size_t GetPayloadSize();
  // The enabled regions, in list order, with their index.
  std::vector<std::pair<uint32_t, tsRegion>> EnabledRegions();
  // Fills `buffer` for region `region` with time stamp `timestampNs`: 0 on success, -1 payload
  // larger than the buffer, -2 no test pattern register, -3 no generator for the pattern, or the
  // generator's own failure.
  int FillBuffer(tcBuffer* buffer, const tsRegion& region, uint64_t timestampNs);
  // The frame period in microseconds (AcquisitionFramePeriodRegister).
  uint64_t FramePeriodUs();

  void ResetFrameCounter() { frameCounter_.store(0); }
  void SetAcquisitionStartTime(uint64_t ns) { acquisitionStartNs_.store(ns); }
  const std::string& XmlPath() const { return xmlPath_; }
  // The register map's mutex: the remote port's accesses, the frame thread and the stream's
  // payload size take it (never while a frame is drawn).
  tcMutex& RegistersMutex() GENTL_RETURN_CAPABILITY(registersMutex_) { return registersMutex_; }

 private:
  void BuildRegmap(const pugi::xml_node& root);
  bool GetRegData(const pugi::xml_node& element, tsRegAccess& record);
  // The record holding `address` and the offset of `address` within it.
  GenTL::GC_ERROR GetRegAccess(uint64_t address, tsRegAccess** record, uint64_t* offset);
  // The register named `name`; logs "<kind> <name> register not found" for `caller` if none.
  tsRegAccess* FindNamed(const std::string& name, const char* kind, const char* caller);
  void AddRecord(tsRegAccess record, const char* kindWord);
  void WriteDefaults();
  // The bytes a register reads as now (computed registers included).
  std::vector<uint8_t> CurrentBytes(const tsRegAccess& record);
  GenTL::GC_ERROR Apply(tsRegAccess& record, const std::vector<uint8_t>& bytes);
  GenTL::GC_ERROR ApplyRegion(Role role, uint32_t value);
  void ClampRegions();
  // What a stored register's new value changes beyond its bytes (the sensor size clamps the
  // regions).
  void Stored(const tsRegAccess& record);
  uint32_t RegionValue(Role role) const;

  std::string xmlPath_;
  std::map<uint64_t, tsRegAccess> regmap_;     // by address
  std::map<std::string, uint64_t> addresses_;  // register name -> address
  std::map<std::string, int64_t> integers_;    // Integer elements with a Value, for pAddress
  uint64_t storageBytes_ = 0;
  std::array<tsRegion, kRegionCount> regions_{};
  uint32_t regionSelector_ = 0;
  std::map<uint32_t, std::unique_ptr<tcPatternGenerator>> generators_;
  std::atomic<uint64_t> frameCounter_{0};
  std::atomic<uint64_t> acquisitionStartNs_{0};
  tcMutex registersMutex_;
  ModuleOwner<tcPortSIM> port_ GENTL_GUARDED_BY(stateMutex_);
};

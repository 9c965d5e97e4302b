// The register map of cameras/SimCam.xml with each register's documented default, as
// cameras/README.md lists it; the camera-file tests check the file against it and load it into
// an in-memory camera.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct tsSimCamRegister {
  std::string name;
  uint64_t address;
  uint64_t length;
  std::string kind;  // IntReg, FloatReg, StringReg or Register
  std::string access;
  std::string default_value;  // decimal integer, decimal double or text; empty for Register
};

inline constexpr uint64_t kSimCamImageBase = 0x3000;
inline constexpr uint64_t kSimCamRegionSelector = kSimCamImageBase + 0x40;
// RegionModeReg, OffsetXRegister, OffsetYRegister, ROIWidthRegister and ROIHeightRegister: the
// camera serves the record of the selected region at these addresses.
inline constexpr uint64_t kSimCamRegionWindowBegin = kSimCamImageBase + 0x44;
inline constexpr uint64_t kSimCamRegionWindowEnd = kSimCamImageBase + 0x58;
inline constexpr int kSimCamRegionCount = 8;

inline const std::vector<tsSimCamRegister>& SimCamRegisters() {
  static const std::vector<tsSimCamRegister> registers = {
      {"DeviceVendorName", 0x0, 64, "StringReg", "RO", "Vantora"},
      {"DeviceModelName", 0x40, 64, "StringReg", "RO", "Simulated Camera"},
      {"DeviceSerialNumber", 0x80, 64, "StringReg", "RO", "1001001"},
      {"DeviceVersion", 0xC0, 64, "StringReg", "RO", "2.9.0.102"},
      {"DeviceFirmwareVersion", 0x100, 64, "StringReg", "RO", "2.9.0.102"},
      {"DeviceManufacturerInfo", 0x140, 64, "StringReg", "RO", "Vantora GenTL simulated camera"},
      {"SoftwareBuildDate", 0x180, 64, "StringReg", "RO", "Jan  1 2025"},  // the build date
      {"SensorWidth", 0x1000, 4, "IntReg", "RO", "1920"},
      {"SensorHeight", 0x1004, 4, "IntReg", "RO", "1080"},
      {"IsCameraColorRegister", 0x1008, 4, "IntReg", "RW", "0"},
      {"MinFramePeriodRegister", 0x100C, 4, "IntReg", "RO", "1000"},
      {"PayloadSizeRegister", 0x1010, 4, "IntReg", "RO", "2073600"},
      {"SensorTemperatureRegister", 0x1018, 8, "FloatReg", "RO", "40"},
      {"AcquisitionCommandRegister1", 0x2000, 4, "IntReg", "RW", "0"},
      {"AcquisitionCommandRegister2", 0x2004, 4, "IntReg", "RW", "0"},
      {"AcquisitionModeRegister", 0x2008, 4, "IntReg", "RW", "0"},
      {"AcquisitionFrameCountRegister", 0x200C, 4, "IntReg", "RW", "1"},
      {"AcquisitionFramePeriodRegister", 0x2010, 4, "IntReg", "RW", "33333"},
      {"ExposureTimeRegister", 0x2018, 8, "FloatReg", "RW", "10000"},
      {"PixelFormatRegister", 0x3000, 4, "IntReg", "RW", "17301505"},  // Mono8
      {"BinningHorizontalRegister", 0x3004, 4, "IntReg", "RW", "1"},
      {"BinningVerticalRegister", 0x3008, 4, "IntReg", "RW", "1"},
      {"TestPatternRegister", 0x300C, 4, "IntReg", "RW", "1"},  // HorizontalRamp
      {"GridOffsetXRegister", 0x3010, 4, "IntReg", "RW", "0"},
      {"GridOffsetYRegister", 0x3014, 4, "IntReg", "RW", "0"},
      {"GridStrideXRegister", 0x3018, 4, "IntReg", "RW", "64"},
      {"GridStrideYRegister", 0x301C, 4, "IntReg", "RW", "64"},
      {"LUTMaxIndexRegister", 0x3020, 4, "IntReg", "RW", "0"},
      {"LUTMaxValueRegister", 0x3024, 4, "IntReg", "RW", "0"},
      {"NoiseMeanRegister", 0x3028, 8, "FloatReg", "RW", "10"},
      {"NoiseStdDevRegister", 0x3030, 8, "FloatReg", "RW", "5"},
      {"RegionSelectorReg", 0x3040, 4, "IntReg", "RW", "0"},
      {"RegionModeReg", 0x3044, 4, "IntReg", "RW", "1"},  // region 0; the others 0 (Off)
      {"OffsetXRegister", 0x3048, 4, "IntReg", "RW", "0"},
      {"OffsetYRegister", 0x304C, 4, "IntReg", "RW", "0"},
      {"ROIWidthRegister", 0x3050, 4, "IntReg", "RW", "1920"},
      {"ROIHeightRegister", 0x3054, 4, "IntReg", "RW", "1080"},
      {"DebugLogLevelReg", 0x4000, 4, "IntReg", "RW", "0"},
      {"DebugLogSelectReg", 0x4004, 4, "IntReg", "RW", "0"},
      {"DebugBufferBytesWrittenReg", 0x4008, 8, "IntReg", "RO", "0"},
      {"DebugBuffer", 0x100000, 0x40000, "Register", "RO", ""},
  };
  return registers;
}

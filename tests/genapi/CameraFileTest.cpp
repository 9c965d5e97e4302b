// cameras/SimCam.xml in Aravis's GenApi engine, over an in-memory camera that holds the
// documented register defaults, with Aravis's register cache disabled and enabled.
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "ArvPortDevice.h"
#include "MemoryPort.h"
#include "SimCamRegisters.h"

namespace {

std::string ReadTextFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string EraseAll(std::string text, const std::string& part) {
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at)) {
    text.erase(at, part.size());
  }
  return text;
}

void WriteDefault(tcMemoryPort& port, const tsSimCamRegister& reg) {
  if (reg.kind == "IntReg") {
    port.WriteUnsigned(reg.address, std::stoull(reg.default_value), reg.length);
  }
  if (reg.kind == "FloatReg") port.WriteDouble(reg.address, std::stod(reg.default_value));
  if (reg.kind == "StringReg") port.WriteString(reg.address, reg.default_value, reg.length);
}

// The camera's registers at their documented defaults. As the camera does, it serves the
// record of the region that RegionSelectorReg selects at the region registers' addresses.
class tcSimCamMemory {
 public:
  tcSimCamMemory() {
    for (const tsSimCamRegister& reg : SimCamRegisters()) {
      WriteDefault(memory_, reg);
      for (tcMemoryPort& region : regions_) {
        WriteDefault(region, reg);
      }
    }
    for (int index = 1; index < kSimCamRegionCount; ++index) {
      regions_[index].WriteUnsigned(kSimCamRegionWindowBegin, 0, 4);  // RegionMode Off
    }
  }

  tsPortAccess Access() {
    return {[this](uint64_t address, void* buffer, size_t size) {
              auto* bytes = static_cast<uint8_t*>(buffer);
              for (size_t i = 0; i < size; ++i) {
                PortFor(address + i).Read(address + i, bytes + i, 1);
              }
              return true;
            },
            [this](uint64_t address, const void* buffer, size_t size) {
              const auto* bytes = static_cast<const uint8_t*>(buffer);
              for (size_t i = 0; i < size; ++i) {
                PortFor(address + i).Write(address + i, bytes + i, 1);
              }
              return true;
            }};
  }

  tcMemoryPort& Memory() { return memory_; }
  tcMemoryPort& Region(int index) { return regions_[index]; }

 private:
  tcMemoryPort& PortFor(uint64_t address) {
    if (address < kSimCamRegionWindowBegin || address >= kSimCamRegionWindowEnd) return memory_;
    return regions_[memory_.ReadUnsigned(kSimCamRegionSelector, 4) % kSimCamRegionCount];
  }

  tcMemoryPort memory_;
  std::array<tcMemoryPort, kSimCamRegionCount> regions_;
};

struct tsRegionRecord {
  uint32_t mode, offset_x, offset_y, width, height;
};

void WriteRegion(tcMemoryPort& region, const tsRegionRecord& record) {
  const uint32_t values[] = {record.mode, record.offset_x, record.offset_y, record.width,
                             record.height};
  for (size_t i = 0; i < std::size(values); ++i) {
    region.WriteUnsigned(kSimCamRegionWindowBegin + 4 * i, values[i], 4);
  }
}

uint64_t AddressOf(const std::string& name) {
  for (const tsSimCamRegister& reg : SimCamRegisters()) {
    if (reg.name == name) return reg.address;
  }
  ADD_FAILURE() << "no register " << name;
  return 0;
}

struct tsFeature {
  std::string name;
  std::string kind;
  std::string category;
};

const std::vector<tsFeature> kFeatures = {
    {"DeviceVendorName", "StringReg", "DeviceControl"},
    {"DeviceModelName", "StringReg", "DeviceControl"},
    {"DeviceSerialNumber", "StringReg", "DeviceControl"},
    {"DeviceVersion", "StringReg", "DeviceControl"},
    {"DeviceFirmwareVersion", "StringReg", "DeviceControl"},
    {"DeviceManufacturerInfo", "StringReg", "DeviceControl"},
    {"SoftwareBuildDate", "StringReg", "DeviceControl"},
    {"DeviceTemperature", "Float", "DeviceControl"},
    {"DeviceLogLevel", "Integer", "DeviceControl"},
    {"DebugLogSelect", "Integer", "DeviceControl"},
    {"DebugBuffer", "Register", "DeviceControl"},
    {"DebugBufferBytesWritten", "Integer", "DeviceControl"},
    {"SensorWidth", "IntReg", "ImageFormatControl"},
    {"SensorHeight", "IntReg", "ImageFormatControl"},
    {"RegionSelector", "Enumeration", "ImageFormatControl"},
    {"RegionMode", "Enumeration", "ImageFormatControl"},
    {"Width", "Integer", "ImageFormatControl"},
    {"Height", "Integer", "ImageFormatControl"},
    {"OffsetX", "Integer", "ImageFormatControl"},
    {"OffsetY", "Integer", "ImageFormatControl"},
    {"PixelFormat", "Enumeration", "ImageFormatControl"},
    {"BinningHorizontal", "Integer", "ImageFormatControl"},
    {"BinningVertical", "Integer", "ImageFormatControl"},
    {"TestPattern", "Enumeration", "ImageFormatControl"},
    {"IsCameraColor", "Boolean", "ImageFormatControl"},
    {"GridOffsetX", "Integer", "ImageFormatControl"},
    {"GridOffsetY", "Integer", "ImageFormatControl"},
    {"GridStrideX", "Integer", "ImageFormatControl"},
    {"GridStrideY", "Integer", "ImageFormatControl"},
    {"NoiseMean", "Float", "ImageFormatControl"},
    {"NoiseStdDev", "Float", "ImageFormatControl"},
    {"LUTMaxIndex", "Integer", "ImageFormatControl"},
    {"LUTMaxValue", "Integer", "ImageFormatControl"},
    {"AcquisitionMode", "Enumeration", "AcquisitionControl"},
    {"AcquisitionStart", "Command", "AcquisitionControl"},
    {"AcquisitionStop", "Command", "AcquisitionControl"},
    {"AcquisitionFrameCount", "Integer", "AcquisitionControl"},
    {"AcquisitionFramePeriod", "Integer", "AcquisitionControl"},
    {"AcquisitionFrameRate", "Converter", "AcquisitionControl"},
    {"MinFramePeriod", "Integer", "AcquisitionControl"},
    {"ExposureTime", "Float", "AcquisitionControl"},
    {"PayloadSize", "Integer", "TransportLayerControl"},
};

const std::vector<std::string> kCategories = {"DeviceControl", "ImageFormatControl",
                                              "AcquisitionControl", "TransportLayerControl"};

const std::map<std::string, int64_t> kPixelFormats = {
    {"Mono8", 0x01080001},     {"Mono10", 0x01100003},       {"Mono10Packed", 0x010C0004},
    {"Mono12", 0x01100005},    {"Mono12Packed", 0x010C0006}, {"Mono14", 0x01100025},
    {"Mono16", 0x01100007},    {"Mono10p", 0x010A0046},      {"Mono12p", 0x010C0047},
    {"BayerGR8", 0x01080008},  {"BayerRG8", 0x01080009},     {"BayerGB8", 0x0108000A},
    {"BayerBG8", 0x0108000B},  {"BayerGR10", 0x0110000C},    {"BayerRG10", 0x0110000D},
    {"BayerGB10", 0x0110000E}, {"BayerBG10", 0x0110000F},    {"BayerGR12", 0x01100010},
    {"BayerRG12", 0x01100011}, {"BayerGB12", 0x01100012},    {"BayerBG12", 0x01100013},
    {"BayerGR16", 0x0110002E}, {"BayerRG16", 0x0110002F},    {"BayerGB16", 0x01100030},
    {"BayerBG16", 0x01100031}, {"RGB8", 0x02180014},         {"BGR8", 0x02180015},
    {"RGBa8", 0x02200016},     {"BGRa8", 0x02200017},        {"YCbCr422_8", 0x0210003B},
};

const std::map<std::string, int64_t> kTestPatterns = {
    {"Off", 0},  {"HorizontalRamp", 1}, {"VerticalRamp", 2}, {"DiagonalRamp", 3},
    {"Grid", 4}, {"Noise", 5},          {"ColorBars", 6},
};

class CameraFileTest : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override { Load(ReadTextFile(SIMCAM_DEFAULT_XML), GetParam()); }

  void Load(const std::string& xml, bool cache) {
    ASSERT_FALSE(xml.empty()) << "cannot read " << SIMCAM_DEFAULT_XML;
    device_ = NewPortDevice(camera_.Access());
    gc_ = NewGenApi(device_.get(), xml);
    ASSERT_NE(gc_, nullptr);
    UseRegisterCache(gc_.get(), cache);
  }

  int64_t Integer(const std::string& name) {
    int64_t value = 0;
    EXPECT_EQ(GetInteger(gc_.get(), name, &value), "");
    return value;
  }
  double Float(const std::string& name) {
    double value = 0;
    EXPECT_EQ(GetFloat(gc_.get(), name, &value), "");
    return value;
  }
  std::string String(const std::string& name) {
    std::string value;
    EXPECT_EQ(GetString(gc_.get(), name, &value), "");
    return value;
  }
  std::string Entry(const std::string& name) {
    std::string value;
    EXPECT_EQ(GetEnumeration(gc_.get(), name, &value), "");
    return value;
  }
  std::map<std::string, int64_t> EntryValues(const std::string& name) {
    std::vector<std::pair<std::string, int64_t>> entries;
    EXPECT_EQ(GetEnumEntryValues(gc_.get(), name, &entries), "");
    return {entries.begin(), entries.end()};
  }
  int64_t IntegerMax(const std::string& name) {
    GError* error = nullptr;
    int64_t max =
        arv_gc_integer_get_max(ARV_GC_INTEGER(arv_gc_get_node(gc_.get(), name.c_str())), &error);
    if (error != nullptr) {
      ADD_FAILURE() << name << ": " << error->message;
      g_error_free(error);
    }
    return max;
  }
  uint64_t RegisterValue(const std::string& name) {
    return camera_.Memory().ReadUnsigned(AddressOf(name), 4);
  }

  tcSimCamMemory camera_;
  tcGObjectPtr<ArvDevice> device_;
  tcGObjectPtr<ArvGc> gc_;
};

INSTANTIATE_TEST_SUITE_P(RegisterCache, CameraFileTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                           return info.param ? "Enabled" : "Disabled";
                         });

TEST_P(CameraFileTest, EveryFeatureExistsWithItsNodeKind) {
  for (const tsFeature& feature : kFeatures) {
    EXPECT_EQ(NodeKind(gc_.get(), feature.name), feature.kind) << feature.name;
  }
  EXPECT_EQ(NodeKind(gc_.get(), "Root"), "Category");
  for (const std::string& category : kCategories) {
    EXPECT_EQ(NodeKind(gc_.get(), category), "Category") << category;
  }
}

TEST_P(CameraFileTest, RootListsTheCategoriesAndEachCategoryItsFeatures) {
  std::vector<std::string> listed;
  ASSERT_EQ(GetCategoryFeatures(gc_.get(), "Root", &listed), "");
  EXPECT_EQ(listed, kCategories);
  for (const std::string& category : kCategories) {
    std::vector<std::string> expected;
    for (const tsFeature& feature : kFeatures) {
      if (feature.category == category) expected.push_back(feature.name);
    }
    ASSERT_EQ(GetCategoryFeatures(gc_.get(), category, &listed), "");
    EXPECT_EQ(listed, expected) << category;
  }
}

TEST_P(CameraFileTest, DocumentedDefaultsReadThroughTheFeatures) {
  const std::map<std::string, int64_t> integers = {
      {"SensorWidth", 1920},
      {"SensorHeight", 1080},
      {"Width", 1920},
      {"Height", 1080},
      {"OffsetX", 0},
      {"OffsetY", 0},
      {"BinningHorizontal", 1},
      {"BinningVertical", 1},
      {"GridOffsetX", 0},
      {"GridOffsetY", 0},
      {"GridStrideX", 64},
      {"GridStrideY", 64},
      {"LUTMaxIndex", 0},
      {"LUTMaxValue", 0},
      {"AcquisitionFrameCount", 1},
      {"AcquisitionFramePeriod", 33333},
      {"MinFramePeriod", 1000},
      {"PayloadSize", 2073600},
      {"DeviceLogLevel", 0},
      {"DebugLogSelect", 0},
      {"DebugBufferBytesWritten", 0},
  };
  for (const auto& [name, value] : integers) {
    EXPECT_EQ(Integer(name), value) << name;
  }
  const std::map<std::string, double> floats = {
      {"ExposureTime", 10000}, {"NoiseMean", 10}, {"NoiseStdDev", 5}, {"DeviceTemperature", 40}};
  for (const auto& [name, value] : floats) {
    EXPECT_DOUBLE_EQ(Float(name), value) << name;
  }
  const std::map<std::string, std::string> entries = {{"PixelFormat", "Mono8"},
                                                      {"TestPattern", "HorizontalRamp"},
                                                      {"AcquisitionMode", "Continuous"},
                                                      {"RegionSelector", "Region0"},
                                                      {"RegionMode", "On"}};
  for (const auto& [name, entry] : entries) {
    EXPECT_EQ(Entry(name), entry) << name;
  }
  bool color = true;
  EXPECT_EQ(GetBoolean(gc_.get(), "IsCameraColor", &color), "");
  EXPECT_FALSE(color);
}

TEST_P(CameraFileTest, DeviceStringsReadTheirRegisters) {
  for (const tsSimCamRegister& reg : SimCamRegisters()) {
    if (reg.kind == "StringReg") {
      EXPECT_EQ(String(reg.name), reg.default_value) << reg.name;
    }
  }
  EXPECT_EQ(String("DeviceVendorName"), "Vantora");
}

TEST_P(CameraFileTest, RegionSelectorSwitchesTheRegionFeatures) {
  WriteRegion(camera_.Region(3), {0, 10, 20, 640, 480});
  EXPECT_EQ(Integer("Width"), 1920);
  EXPECT_EQ(Entry("RegionMode"), "On");

  ASSERT_EQ(SetEnumeration(gc_.get(), "RegionSelector", "Region3"), "");
  EXPECT_EQ(RegisterValue("RegionSelectorReg"), 3u);
  EXPECT_EQ(Entry("RegionMode"), "Off");
  EXPECT_EQ(Integer("OffsetX"), 10);
  EXPECT_EQ(Integer("OffsetY"), 20);
  EXPECT_EQ(Integer("Width"), 640);
  EXPECT_EQ(Integer("Height"), 480);

  ASSERT_EQ(SetEnumeration(gc_.get(), "RegionSelector", "Region0"), "");
  EXPECT_EQ(Entry("RegionMode"), "On");
  EXPECT_EQ(Integer("OffsetX"), 0);
  EXPECT_EQ(Integer("OffsetY"), 0);
  EXPECT_EQ(Integer("Width"), 1920);
  EXPECT_EQ(Integer("Height"), 1080);
}

TEST_P(CameraFileTest, RegionWritesGoToTheSelectedRecord) {
  ASSERT_EQ(SetEnumeration(gc_.get(), "RegionSelector", "Region5"), "");
  EXPECT_EQ(SetEnumeration(gc_.get(), "RegionMode", "On"), "");
  EXPECT_EQ(SetInteger(gc_.get(), "Width", 800), "");
  EXPECT_EQ(SetInteger(gc_.get(), "OffsetY", 100), "");
  EXPECT_EQ(camera_.Region(5).ReadUnsigned(kSimCamRegionWindowBegin, 4), 1u);
  EXPECT_EQ(camera_.Region(5).ReadUnsigned(AddressOf("ROIWidthRegister"), 4), 800u);
  EXPECT_EQ(camera_.Region(5).ReadUnsigned(AddressOf("OffsetYRegister"), 4), 100u);
  EXPECT_EQ(camera_.Region(0).ReadUnsigned(AddressOf("ROIWidthRegister"), 4), 1920u);
  EXPECT_EQ(camera_.Region(0).ReadUnsigned(AddressOf("OffsetYRegister"), 4), 0u);
}

TEST_P(CameraFileTest, RegionMaximaKeepTheRegionOnTheSensor) {
  EXPECT_EQ(IntegerMax("Width"), 1920);
  EXPECT_EQ(IntegerMax("OffsetX"), 0);
  ASSERT_EQ(SetInteger(gc_.get(), "Width", 800), "");
  ASSERT_EQ(SetInteger(gc_.get(), "OffsetX", 100), "");
  ASSERT_EQ(SetInteger(gc_.get(), "Height", 600), "");
  EXPECT_EQ(IntegerMax("Width"), 1820);
  EXPECT_EQ(IntegerMax("OffsetX"), 1120);
  EXPECT_EQ(IntegerMax("Height"), 1080);
  EXPECT_EQ(IntegerMax("OffsetY"), 480);
}

TEST_P(CameraFileTest, PixelFormatEntriesCarryTheirCodes) {
  EXPECT_EQ(EntryValues("PixelFormat"), kPixelFormats);
  for (const auto& [name, code] : kPixelFormats) {
    ASSERT_EQ(SetEnumeration(gc_.get(), "PixelFormat", name), "");
    EXPECT_EQ(RegisterValue("PixelFormatRegister"), static_cast<uint64_t>(code)) << name;
    EXPECT_EQ(Entry("PixelFormat"), name);
  }
}

TEST_P(CameraFileTest, TestPatternEntriesCarryTheirValues) {
  EXPECT_EQ(EntryValues("TestPattern"), kTestPatterns);
  for (const auto& [name, value] : kTestPatterns) {
    ASSERT_EQ(SetEnumeration(gc_.get(), "TestPattern", name), "");
    EXPECT_EQ(RegisterValue("TestPatternRegister"), static_cast<uint64_t>(value)) << name;
  }
}

TEST_P(CameraFileTest, AcquisitionModeEntriesCarryTheirValues) {
  const std::map<std::string, int64_t> modes = {
      {"Continuous", 0}, {"SingleFrame", 1}, {"MultiFrame", 2}};
  EXPECT_EQ(EntryValues("AcquisitionMode"), modes);
  EXPECT_EQ(EntryValues("RegionMode"), (std::map<std::string, int64_t>{{"Off", 0}, {"On", 1}}));
}

TEST_P(CameraFileTest, AcquisitionFrameRateIsTheInverseOfThePeriod) {
  EXPECT_DOUBLE_EQ(Float("AcquisitionFrameRate"), 1e6 / 33333);
  ASSERT_EQ(SetFloat(gc_.get(), "AcquisitionFrameRate", 25), "");
  EXPECT_EQ(RegisterValue("AcquisitionFramePeriodRegister"), 40000u);
  EXPECT_DOUBLE_EQ(Float("AcquisitionFrameRate"), 25);
  ASSERT_EQ(SetInteger(gc_.get(), "AcquisitionFramePeriod", 20000), "");
  EXPECT_DOUBLE_EQ(Float("AcquisitionFrameRate"), 50);
}

TEST_P(CameraFileTest, AcquisitionCommandsWriteOneToTheirRegisters) {
  ASSERT_EQ(ExecuteCommand(gc_.get(), "AcquisitionStart"), "");
  EXPECT_EQ(RegisterValue("AcquisitionCommandRegister1"), 1u);
  EXPECT_EQ(RegisterValue("AcquisitionCommandRegister2"), 0u);
  ASSERT_EQ(ExecuteCommand(gc_.get(), "AcquisitionStop"), "");
  EXPECT_EQ(RegisterValue("AcquisitionCommandRegister2"), 1u);
}

TEST_P(CameraFileTest, FloatFeaturesWriteDoublesToTheirRegisters) {
  ASSERT_EQ(SetFloat(gc_.get(), "ExposureTime", 2500.5), "");
  EXPECT_DOUBLE_EQ(camera_.Memory().ReadDouble(AddressOf("ExposureTimeRegister")), 2500.5);
  ASSERT_EQ(SetFloat(gc_.get(), "NoiseStdDev", 3.25), "");
  EXPECT_DOUBLE_EQ(camera_.Memory().ReadDouble(AddressOf("NoiseStdDevRegister")), 3.25);
}

TEST_P(CameraFileTest, VolatileRegistersAreReadEveryTime) {
  EXPECT_EQ(Integer("PayloadSize"), 2073600);
  EXPECT_DOUBLE_EQ(Float("DeviceTemperature"), 40);
  EXPECT_EQ(Integer("DebugBufferBytesWritten"), 0);
  camera_.Memory().WriteUnsigned(AddressOf("PayloadSizeRegister"), 4147200, 4);
  camera_.Memory().WriteDouble(AddressOf("SensorTemperatureRegister"), 41.5);
  camera_.Memory().WriteUnsigned(AddressOf("DebugBufferBytesWrittenReg"), 0x123456789, 8);
  EXPECT_EQ(Integer("PayloadSize"), 4147200);
  EXPECT_DOUBLE_EQ(Float("DeviceTemperature"), 41.5);
  EXPECT_EQ(Integer("DebugBufferBytesWritten"), 0x123456789);
}

TEST_P(CameraFileTest, DebugBufferReadsTheWholeWindow) {
  const uint64_t base = AddressOf("DebugBuffer");
  camera_.Memory().WriteString(base, "gentl: info", 11);
  camera_.Memory().WriteUnsigned(base + 0x3FFFF, 'Z', 1);
  std::vector<uint8_t> bytes;
  ASSERT_EQ(GetRegisterBytes(gc_.get(), "DebugBuffer", &bytes), "");
  ASSERT_EQ(bytes.size(), 0x40000u);
  EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 11), "gentl: info");
  EXPECT_EQ(bytes.back(), 'Z');
}

// The control experiment for RegionSelectorSwitchesTheRegionFeatures: with the register cache
// on and no pInvalidator, Aravis keeps serving the first region's values.
TEST(CameraFileCache, WithoutThePInvalidatorTheCacheKeepsTheOldRegion) {
  tcSimCamMemory camera;
  WriteRegion(camera.Region(3), {0, 10, 20, 640, 480});
  std::string xml =
      EraseAll(ReadTextFile(SIMCAM_DEFAULT_XML), "<pInvalidator>RegionSelectorReg</pInvalidator>");
  auto device = NewPortDevice(camera.Access());
  auto gc = NewGenApi(device.get(), xml);
  UseRegisterCache(gc.get(), true);
  int64_t width = 0;
  ASSERT_EQ(GetInteger(gc.get(), "Width", &width), "");
  ASSERT_EQ(SetEnumeration(gc.get(), "RegionSelector", "Region3"), "");
  ASSERT_EQ(GetInteger(gc.get(), "Width", &width), "");
  EXPECT_EQ(width, 1920);
}

}  // namespace

// The simulated camera's register map built from camera files, good and hostile: literals,
// pAddress resolution, oversized and overlapping registers, deep nesting, the sloppy search and
// typed access by name.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "sim/tcDeviceSIM.h"
#include "sim/tcInterfaceSIM.h"
#include "support/LogMatch.h"
#include "support/TestModules.h"

using namespace GenTL;

namespace {

// A camera file in a temporary folder, removed again at the end of the test.
class CameraFile {
 public:
  explicit CameraFile(const std::string& text) {
    path_ =
        "/tmp/gentl-camera-" + std::to_string(getpid()) + "-" + std::to_string(counter_++) + ".xml";
    std::ofstream(path_) << text;
  }
  ~CameraFile() { remove(path_.c_str()); }
  const std::string& Path() const { return path_; }

 private:
  static inline int counter_ = 0;
  std::string path_;
};

std::string Description(const std::string& body) {
  return "<?xml version=\"1.0\"?>\n<RegisterDescription>\n" + body + "</RegisterDescription>\n";
}

std::string IntReg(const std::string& name, const std::string& address, const std::string& length,
                   const std::string& addressElement = "Address") {
  return "<IntReg Name=\"" + name + "\"><" + addressElement + ">" + address + "</" +
         addressElement + "><Length>" + length + "</Length><AccessMode>RO</AccessMode></IntReg>";
}

class CameraFileLoader : public ::testing::Test {
 protected:
  std::unique_ptr<tcDeviceSIM> Load(const std::string& body) {
    CameraFile file(Description(body));
    return std::make_unique<tcDeviceSIM>(file.Path(), &interface_);
  }
  // The error text the loader raises for `body`.
  std::string Failure(const std::string& body) {
    try {
      Load(body);
    } catch (const std::exception& error) {
      return error.what();
    }
    return "";
  }
  GC_ERROR Read(tcDeviceSIM& device, uint64_t address, void* buffer, size_t size) {
    return device.ReadRegisters(address, buffer, size);
  }

  tcTestInterface interface_;
};

TEST_F(CameraFileLoader, RegistersOfEveryKindAreMappedAndReadBack) {
  auto device =
      Load("<Group><Category>Main</Category>" + IntReg("A", "0x10", "4") +
           "<StringReg Name=\"S\"><Address>0x20</Address><Length>8</Length></StringReg>"
           "<FloatReg Name=\"F\"><Address>0x40</Address><Length>8</Length></FloatReg>"
           "<Register Name=\"R\"><Address>0x100</Address><Length>16</Length></Register></Group>");
  uint32_t value = 0x11223344;
  ASSERT_EQ(device->WriteRegisters(0x10, &value, 4), GC_ERR_SUCCESS);
  uint32_t back = 0;
  EXPECT_EQ(Read(*device, 0x10, &back, 4), GC_ERR_SUCCESS);
  EXPECT_EQ(back, 0x11223344u);
  uint64_t number = 0;
  EXPECT_TRUE(device->GetInt("A", &number));
  EXPECT_EQ(number, 0x11223344u);
  EXPECT_TRUE(device->SetString("S", "abcdefghij"));
  std::string text;
  EXPECT_TRUE(device->GetString("S", &text));
  EXPECT_EQ(text, "abcdefg");
  EXPECT_TRUE(device->SetFloat("F", 2.5));
  double real = 0;
  EXPECT_TRUE(device->GetFloat("F", &real));
  EXPECT_EQ(real, 2.5);
  EXPECT_TRUE(device->SetRegister("R", 12, 77));
  uint32_t raw = 0;
  EXPECT_TRUE(device->GetRegister("R", 12, &raw));
  EXPECT_EQ(raw, 77u);
}

TEST_F(CameraFileLoader, BuildingLogsIntegersCategoriesAndRegisters) {
  uint64_t before = LogRingTotal();
  Load("<Integer Name=\"Base\"><Value>0x3000</Value></Integer><Group>" +
       IntReg("A", "Base", "4", "pAddress") +
       "<StringReg Name=\"S\"><Address>0x20</Address><Length>8</Length></StringReg></Group>");
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(log, R"(gentl: debug \[tcDeviceSIM::BuildRegmap\] Building Regmap)"));
  EXPECT_TRUE(HasLogLine(log, R"(gentl: debug \[tcDeviceSIM::BuildRegmap\] Base = 0x00003000)"))
      << log;
  EXPECT_TRUE(HasLogLine(log, R"(gentl: debug \[tcDeviceSIM::BuildRegmap\] Category Unknown)"));
  EXPECT_TRUE(HasLogLine(log, R"(gentl: debug \[tcDeviceSIM::AddRecord\] A \(0x00003000\) Int)"));
  EXPECT_LT(log.find("S (0x00000020) String"), log.find("A (0x00003000) Int"))
      << "string registers of a group come first";
}

TEST_F(CameraFileLoader, AddressesSumAndPAddressResolvesIntegersAtAnyDepth) {
  auto device = Load(
      "<Group><Category>C</Category><Deep><Deeper><Integer Name=\"Base\"><Value>0x1000</Value>"
      "</Integer></Deeper></Deep>"
      "<IntReg Name=\"A\"><Address>0x10</Address><Address>0x4</Address><pAddress>Base</pAddress>"
      "<Length>4</Length></IntReg></Group>");
  uint32_t value = 5;
  EXPECT_EQ(device->WriteRegisters(0x1014, &value, 4), GC_ERR_SUCCESS);
}

TEST_F(CameraFileLoader, UnknownPAddressSkipsTheRegisterAndKeepsTheDevice) {
  uint64_t before = LogRingTotal();
  auto device =
      Load("<Integer Name=\"NoValue\"><pValue>X</pValue></Integer><Group>" +
           IntReg("A", "Missing", "4", "pAddress") + IntReg("B", "NoValue", "4", "pAddress") +
           IntReg("C", "0x10", "4") + "</Group>");
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: error \[tcDeviceSIM::GetRegData\] Failed to find pAddress register Missing)"));
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: error \[tcDeviceSIM::GetRegData\] Failed to find pAddress register NoValue)"));
  uint64_t value = 0;
  EXPECT_FALSE(device->GetInt("A", &value));
  EXPECT_TRUE(device->GetInt("C", &value));
}

TEST_F(CameraFileLoader, NonNumericLiteralIsAnInvalidArgument) {
  EXPECT_EQ(Failure("<Group>" + IntReg("A", "twelve", "4") + "</Group>"), "invalid stoi argument");
  EXPECT_EQ(Failure("<Group>" + IntReg("A", "0x10", "") + "</Group>"), "invalid stoi argument");
  EXPECT_EQ(Failure("<Integer Name=\"I\"><Value>x</Value></Integer>"), "invalid stoi argument");
}

TEST_F(CameraFileLoader, LiteralOutsideThirtyTwoBitsIsOutOfRange) {
  EXPECT_EQ(Failure("<Group>" + IntReg("A", "0x80000000", "4") + "</Group>"),
            "stoi argument out of range");
  EXPECT_EQ(Failure("<Group>" + IntReg("A", "0x10", "99999999999999999999") + "</Group>"),
            "stoi argument out of range");
  EXPECT_EQ(Failure("<Group>" + IntReg("A", "0x7FFFFFFF", "4") + "</Group>"), "");
}

TEST_F(CameraFileLoader, LiteralBasesFollowTheirPrefix) {
  auto device = Load("<Group>" + IntReg("Hex", "0x20", "4") + IntReg("Octal", "020", "4") +
                     IntReg("Decimal", "48", "4") + "</Group>");
  uint32_t value = 0;
  EXPECT_EQ(Read(*device, 0x20, &value, 4), GC_ERR_SUCCESS);
  EXPECT_EQ(Read(*device, 16, &value, 4), GC_ERR_SUCCESS);
  EXPECT_EQ(Read(*device, 48, &value, 4), GC_ERR_SUCCESS);
}

TEST_F(CameraFileLoader, HugeLengthAndAddressOverflowAreSkippedWithoutAllocating) {
  uint64_t before = LogRingTotal();
  auto device = Load("<Group>" + IntReg("Huge", "0x10", "0x7FFFFFFF") +
                     IntReg("Wrap", "-16", "32") + IntReg("Fine", "0x20", "4") + "</Group>");
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: error \[tcDeviceSIM::AddRecord\] Register Huge length 0x7FFFFFFF too large)"))
      << log;
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: error \[tcDeviceSIM::AddRecord\] Register Wrap length 0x20 too large)"))
      << log;
  uint64_t value = 0;
  EXPECT_FALSE(device->GetInt("Huge", &value));
  EXPECT_TRUE(device->GetInt("Fine", &value));
}

TEST_F(CameraFileLoader, TwoRegistersAtOneAddressKeepTheFirst) {
  uint64_t before = LogRingTotal();
  auto device =
      Load("<Group>" + IntReg("First", "0x10", "4") + IntReg("Second", "0x10", "8") + "</Group>");
  std::string log = LogSince(before);
  EXPECT_NE(log.find("gentl: warning [tcDeviceSIM::AddRecord] Register Second (0x00000010)"),
            std::string::npos)
      << log;
  uint64_t wide = 0;
  EXPECT_EQ(Read(*device, 0x10, &wide, 8), GC_ERR_INVALID_ADDRESS);
  uint64_t value = 0;
  EXPECT_FALSE(device->GetInt("Second", &value));
}

TEST_F(CameraFileLoader, DeepNestingNeitherCrashesNorHangs) {
  std::string deep;
  for (int i = 0; i < 100000; ++i)
    deep += "<a>";
  deep += "<Integer Name=\"Base\"><Value>4</Value></Integer>";
  for (int i = 0; i < 100000; ++i)
    deep += "</a>";
  auto device = Load(deep + "<Group>" + IntReg("A", "Base", "4", "pAddress") + "</Group>");
  uint64_t value = 0;
  EXPECT_TRUE(device->GetInt("A", &value));
}

TEST_F(CameraFileLoader, MalformedXmlIsRefusedWithTheParserReason) {
  CameraFile file("<RegisterDescription><Group>");
  try {
    tcDeviceSIM device(file.Path(), &interface_);
    ADD_FAILURE() << "a truncated file was accepted";
  } catch (const std::exception& error) {
    EXPECT_NE(std::string(error.what()).find("Start-end tags mismatch"), std::string::npos)
        << error.what();
  }
  CameraFile notXml("\x01\x02 binary");
  EXPECT_THROW(tcDeviceSIM(notXml.Path(), &interface_), std::runtime_error);
  CameraFile noRoot("<?xml version=\"1.0\"?><Other/>");
  EXPECT_THROW(tcDeviceSIM(noRoot.Path(), &interface_), std::runtime_error);
}

TEST_F(CameraFileLoader, ReadInsideASixteenByteRegisterIsASloppySearch) {
  auto device = Load("<Group>" + IntReg("A", "0x10", "4") + IntReg("B", "0x20", "4") +
                     "<Register Name=\"R\"><Address>0x100</Address><Length>16</Length></Register>" +
                     IntReg("C", "0x200", "4") + "</Group>");
  ASSERT_TRUE(device->SetRegister("R", 4, 0xA1B2C3D4));
  uint64_t before = LogRingTotal();
  uint8_t bytes[4] = {};
  EXPECT_EQ(Read(*device, 0x104, bytes, 4), GC_ERR_SUCCESS);
  EXPECT_EQ(bytes[0], 0xD4);
  EXPECT_EQ(bytes[3], 0xA1);
  std::string log = LogSince(before);
  const char* expected =
      "gentl: verbose [tcDeviceSIM::GetRegAccess] Sloppy search: 0x00000010 - 0x00000014\n"
      "gentl: verbose [tcDeviceSIM::GetRegAccess] Sloppy search: 0x00000020 - 0x00000024\n"
      "gentl: verbose [tcDeviceSIM::GetRegAccess] Sloppy search: 0x00000100 - 0x00000110\n";
  EXPECT_EQ(log, expected);
}

TEST_F(CameraFileLoader, AccessesOutsideOrPastARegisterAreInvalidAddresses) {
  auto device = Load("<Group>" + IntReg("A", "0x10", "4") + "</Group>");
  uint64_t wide = 0;
  EXPECT_EQ(Read(*device, 0x10, &wide, 8), GC_ERR_INVALID_ADDRESS);
  EXPECT_EQ(Read(*device, 0x12, &wide, 4), GC_ERR_INVALID_ADDRESS);
  EXPECT_EQ(Read(*device, 0x14, &wide, 1), GC_ERR_INVALID_ADDRESS);
  EXPECT_EQ(Read(*device, 0x0, &wide, 1), GC_ERR_INVALID_ADDRESS);
  EXPECT_EQ(device->WriteRegisters(0x13, &wide, 2), GC_ERR_INVALID_ADDRESS);
  EXPECT_EQ(Read(*device, 0x13, &wide, 1), GC_ERR_SUCCESS);
}

TEST_F(CameraFileLoader, TypedAccessToUnknownNamesFailsWithItsLine) {
  auto device = Load("<Group>" + IntReg("A", "0x10", "4") + "</Group>");
  uint64_t before = LogRingTotal();
  uint64_t number = 0;
  double real = 0;
  std::string text;
  uint32_t raw = 0;
  EXPECT_FALSE(device->GetInt("Nope", &number));
  EXPECT_FALSE(device->GetFloat("Nope", &real));
  EXPECT_FALSE(device->GetString("Nope", &text));
  EXPECT_FALSE(device->GetRegister("Nope", 0, &raw));
  EXPECT_FALSE(device->GetRegister("A", 4, &raw));
  std::string log = LogSince(before);
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: error \[tcDeviceSIM::GetInt\] Int Nope register not found)"));
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: error \[tcDeviceSIM::GetFloat\] Float Nope register not found)"));
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: error \[tcDeviceSIM::GetString\] String Nope register not found)"));
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: error \[tcDeviceSIM::GetRegister\] Register Nope register not found)"));
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: error \[tcDeviceSIM::GetRegister\] Register offset too large: 4)"));
}

TEST_F(CameraFileLoader, TypedAccessLogsReadsAndWrites) {
  auto device = Load("<Group>" + IntReg("A", "0x10", "4") + "</Group>");
  uint64_t before = LogRingTotal();
  EXPECT_TRUE(device->SetInt("A", 7));
  uint64_t value = 0;
  EXPECT_TRUE(device->GetInt("A", &value));
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(log, R"(gentl: debug \[tcDeviceSIM::SetInt\] \[A, 0x10\] 0 => 7)")) << log;
  EXPECT_TRUE(HasLogLine(log, R"(gentl: debug \[tcDeviceSIM::GetInt\] \[A, 0x10\] <= 7)")) << log;
}

TEST_F(CameraFileLoader, WritesToReadOnlyRegistersAreStored) {
  auto device = Load("<Group>" + IntReg("A", "0x10", "4") + "</Group>");
  uint32_t value = 9;
  EXPECT_EQ(device->WriteRegisters(0x10, &value, 4), GC_ERR_SUCCESS);
  uint64_t back = 0;
  EXPECT_TRUE(device->GetInt("A", &back));
  EXPECT_EQ(back, 9u);
}

TEST_F(CameraFileLoader, TheShippedCameraFileDefinesEveryRegisterTheCameraUses) {
  uint64_t before = LogRingTotal();
  tcDeviceSIM device(SIMCAM_DEFAULT_XML, &interface_);
  std::string log = LogSince(before);
  EXPECT_EQ(log.find("register not found"), std::string::npos) << log;
  EXPECT_EQ(log.find("gentl: error"), std::string::npos) << log;
  EXPECT_EQ(log.find("gentl: warning"), std::string::npos) << log;
  const char* names[] = {"AcquisitionCommandRegister1",
                         "AcquisitionCommandRegister2",
                         "AcquisitionFrameCountRegister",
                         "AcquisitionFramePeriodRegister",
                         "AcquisitionModeRegister",
                         "BinningHorizontalRegister",
                         "BinningVerticalRegister",
                         "DebugLogLevelReg",
                         "DebugLogSelectReg",
                         "GridOffsetXRegister",
                         "GridOffsetYRegister",
                         "GridStrideXRegister",
                         "GridStrideYRegister",
                         "IsCameraColorRegister",
                         "LUTMaxIndexRegister",
                         "LUTMaxValueRegister",
                         "MinFramePeriodRegister",
                         "PixelFormatRegister",
                         "RegionSelectorReg",
                         "RegionModeReg",
                         "SensorHeight",
                         "SensorWidth",
                         "TestPatternRegister",
                         "OffsetXRegister",
                         "OffsetYRegister",
                         "ROIWidthRegister",
                         "ROIHeightRegister",
                         "PayloadSizeRegister",
                         "DebugBufferBytesWrittenReg"};
  for (const char* name : names) {
    uint64_t value = 0;
    EXPECT_TRUE(device.GetInt(name, &value)) << name;
  }
  for (const char* name : {"ExposureTimeRegister", "NoiseMeanRegister", "NoiseStdDevRegister",
                           "SensorTemperatureRegister"}) {
    double value = 0;
    EXPECT_TRUE(device.GetFloat(name, &value)) << name;
  }
  for (const char* name :
       {"DeviceFirmwareVersion", "DeviceManufacturerInfo", "DeviceModelName", "DeviceSerialNumber",
        "DeviceVendorName", "DeviceVersion", "SoftwareBuildDate"}) {
    std::string value;
    EXPECT_TRUE(device.GetString(name, &value)) << name;
    EXPECT_FALSE(value.empty()) << name;
  }
  uint32_t raw = 0;
  EXPECT_TRUE(device.GetRegister("DebugBuffer", 0, &raw));
}

TEST(InterfaceSIM, LoaderFailureIsLoggedAndListsNoDevice) {
  CameraFile file(Description("<Group>" + IntReg("A", "x", "4") + "</Group>"));
  setenv("SIMCAM_XML_FILE", file.Path().c_str(), 1);
  tcInterfaceSIM interface(nullptr);
  uint64_t before = LogRingTotal();
  bool8_t changed = true;
  EXPECT_EQ(interface.UpdateDeviceList(&changed, 0), GC_ERR_SUCCESS);
  unsetenv("SIMCAM_XML_FILE");
  EXPECT_FALSE(changed);
  std::string log = LogSince(before);
  EXPECT_NE(log.find("gentl: error [tcInterfaceSIM::UpdateDeviceList] Failed to load tcDeviceSIM: "
                     "\n invalid stoi argument\n"),
            std::string::npos)
      << log;
  uint32_t count = 9;
  EXPECT_EQ(interface.GetNumDevices(&count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 0u);
}

}  // namespace

namespace {

// A zero-length Float register holds no bytes: the defaults written into it and its reads copy
// nothing (found by the camera-file fuzzer).
TEST_F(CameraFileLoader, AZeroLengthFloatRegisterIsWrittenAndReadWithoutData) {
  auto device = Load(
      "<Group><FloatReg Name=\"NoiseMeanRegister\"><Address>0x10</Address><Length>0</Length>"
      "<AccessMode>RW</AccessMode></FloatReg></Group>");
  double value = 1.0;
  EXPECT_TRUE(device->SetFloat("NoiseMeanRegister", 2.5));
  EXPECT_TRUE(device->GetFloat("NoiseMeanRegister", &value));
  EXPECT_EQ(value, 0.0);
}

}  // namespace

// The device base: device information, stream enumeration and opening, the device registers,
// URL and description, with a test device.
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <cstring>

#include "base/HandleRegistry.h"
#include "support/LogMatch.h"
#include "support/TestModules.h"

using namespace GenTL;

namespace {

class DeviceBase : public ::testing::Test {
 protected:
  tcTestInterface interface_;
  tcTestDevice device_{"Cam", &interface_, {"Stream0", "Stream1"}};
};

TEST_F(DeviceBase, TimestampFrequencyOnTheBaseIsNotImplementedWithTypeUInt64) {
  int32_t type = 0;
  uint64_t value = 0;
  size_t size = sizeof value;
  uint64_t before = LogRingTotal();
  EXPECT_EQ(device_.GetInfo(DEVICE_INFO_TIMESTAMP_FREQUENCY, &type, &value, &size),
            GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(type, INFO_DATATYPE_UINT64);
  EXPECT_TRUE(HasLogLine(
      LogSince(before),
      R"(gentl: warning \[tcDevice::GetInfo\] tcDevice, iInfoCmd = 9 \(Request Not Implemented\))"));
}

TEST_F(DeviceBase, UnknownCommandsAreInvalidId) {
  int32_t type = 77;
  char text[16];
  size_t size = sizeof text;
  EXPECT_EQ(device_.GetInfo(10, &type, text, &size), GC_ERR_INVALID_ID);
  EXPECT_EQ(device_.GetInfo(-1, &type, text, &size), GC_ERR_INVALID_ID);
  EXPECT_EQ(type, 77);
}

TEST_F(DeviceBase, TooSmallVendorBufferLeavesSizeUnchanged) {
  int32_t type = 0;
  char text[4];
  size_t size = sizeof text;
  EXPECT_EQ(device_.GetInfo(DEVICE_INFO_VENDOR, &type, text, &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(type, INFO_DATATYPE_STRING);
}

TEST_F(DeviceBase, InformationTable) {
  const std::pair<int, const char*> texts[] = {{DEVICE_INFO_ID, "Cam"},
                                               {DEVICE_INFO_VENDOR, "Vendor"},
                                               {DEVICE_INFO_MODEL, "Model"},
                                               {DEVICE_INFO_TLTYPE, "Custom"},
                                               {DEVICE_INFO_DISPLAYNAME, "Display"},
                                               {DEVICE_INFO_USER_DEFINED_NAME, "User"},
                                               {DEVICE_INFO_SERIAL_NUMBER, "42"},
                                               {DEVICE_INFO_VERSION, "1.0"}};
  for (auto [command, expected] : texts) {
    int32_t type = 0;
    char text[32];
    size_t size = sizeof text;
    EXPECT_EQ(device_.GetInfo(command, &type, text, &size), GC_ERR_SUCCESS);
    EXPECT_STREQ(text, expected);
    EXPECT_EQ(size, strlen(expected) + 1);
    EXPECT_EQ(type, INFO_DATATYPE_STRING);
  }
  int32_t type = 0;
  int32_t status = 0;
  size_t size = 4;
  EXPECT_EQ(device_.GetInfo(DEVICE_INFO_ACCESS_STATUS, &type, &status, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(type, INFO_DATATYPE_INT32);
  EXPECT_EQ(status, DEVICE_ACCESS_STATUS_READWRITE);
  size = 0;
  EXPECT_EQ(device_.GetInfo(DEVICE_INFO_ID, &type, nullptr, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(device_.GetInfo(DEVICE_INFO_ID, &type, nullptr, nullptr), GC_ERR_INVALID_PARAMETER);
}

TEST_F(DeviceBase, StreamIdWithSizeEqualToLengthIsTooSmallAndOneMoreSucceeds) {
  char id[16];
  size_t size = strlen("Stream0");
  EXPECT_EQ(device_.GetDataStreamID(0, id, &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 8u);
  size = 8;
  EXPECT_EQ(device_.GetDataStreamID(0, id, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(id, "Stream0");
  size = 0;
  EXPECT_EQ(device_.GetDataStreamID(1, nullptr, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(size, 8u);
  EXPECT_EQ(device_.GetDataStreamID(2, id, &size), GC_ERR_INVALID_INDEX);
  EXPECT_EQ(device_.GetDataStreamID(0, id, nullptr), GC_ERR_INVALID_PARAMETER);
  uint32_t count = 0;
  EXPECT_EQ(device_.GetNumDataStreams(&count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(device_.GetNumDataStreams(nullptr), GC_ERR_INVALID_PARAMETER);
}

TEST_F(DeviceBase, OpeningTheSameStreamTwiceLeavesTheSecondHandleUntouched) {
  void* first = nullptr;
  void* second = reinterpret_cast<void*>(0x1234);
  EXPECT_EQ(device_.OpenDataStream("Stream1", &first), GC_ERR_SUCCESS);
  EXPECT_EQ(first, device_.Stream(1));
  EXPECT_EQ(device_.OpenDataStream("Stream1", &second), GC_ERR_SUCCESS);
  EXPECT_EQ(second, reinterpret_cast<void*>(0x1234));
  void* unknown = nullptr;
  EXPECT_EQ(device_.OpenDataStream("stream0", &unknown), GC_ERR_SUCCESS);
  EXPECT_EQ(unknown, nullptr);
  EXPECT_EQ(device_.OpenDataStream(nullptr, &unknown), GC_ERR_SUCCESS);
  EXPECT_EQ(device_.Stream(1)->Close(), GC_ERR_SUCCESS);
  EXPECT_EQ(device_.OpenDataStream("Stream1", &second), GC_ERR_SUCCESS);
  EXPECT_EQ(second, device_.Stream(1));
}

TEST_F(DeviceBase, StreamSelectorAndStreamIdRegisters) {
  uint32_t selector = 1;
  size_t size = 4;
  EXPECT_EQ(device_.WritePort(0x10800, &selector, &size), GC_ERR_SUCCESS);
  char id[16];
  size = sizeof id;
  uint64_t before = LogRingTotal();
  EXPECT_EQ(device_.ReadPort(0x10900, id, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(id, "Stream1");
  EXPECT_TRUE(HasLogLine(
      LogSince(before), R"(gentl: debug \[tcDevice::Read\] Cam, iAddress = 0x10900, size = 0x10)"));
  size = 7;
  EXPECT_EQ(device_.ReadPort(0x10900, id, &size), GC_ERR_BUFFER_TOO_SMALL);
  uint32_t value = 0;
  size = 4;
  EXPECT_EQ(device_.ReadPort(0x10800, &value, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(value, 1u);
  uint8_t untouched[2] = {9, 9};
  size = 2;
  EXPECT_EQ(device_.ReadPort(0x10800, untouched, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(untouched[0], 9);
  selector = 2;
  size = 2;
  EXPECT_EQ(device_.WritePort(0x10800, &selector, &size), GC_ERR_SUCCESS);
  size = 4;
  EXPECT_EQ(device_.WritePort(0x10800, &selector, &size), GC_ERR_SUCCESS);
  size = sizeof id;
  EXPECT_EQ(device_.ReadPort(0x10900, id, &size), GC_ERR_INVALID_INDEX);
  size = 4;
  EXPECT_EQ(device_.WritePort(0x10900, &selector, &size), GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(device_.ReadPort(0x10A00, &value, &size), GC_ERR_ACCESS_DENIED);
}

TEST_F(DeviceBase, UrlPortInfoAndDescription) {
  char url[256];
  size_t size = sizeof url;
  ASSERT_EQ(device_.GetPortURL(url, &size), GC_ERR_SUCCESS);
  std::string text = device_.Description();
  char expected[128];
  snprintf(expected, sizeof expected, "local:///vantora_device_Cam.xml;0;%zx", text.size());
  EXPECT_STREQ(url, expected);
  EXPECT_LT(text.size(), 0x10800u);
  pugi::xml_document doc;
  ASSERT_TRUE(doc.load_string(text.c_str()));
  EXPECT_STREQ(doc.select_node("//IntReg[@Name='StreamSelectorReg']").node().child_value("Address"),
               "0x10800");
  EXPECT_STREQ(doc.select_node("//StringReg[@Name='StreamID']").node().child_value("Address"),
               "0x10900");
  EXPECT_STREQ(doc.select_node("//StringReg[@Name='StreamID']").node().child_value("pInvalidator"),
               "StreamSelectorReg");
  EXPECT_STREQ(doc.select_node("//String[@Name='DeviceVendorName']").node().child_value("Value"),
               "Vendor");
  EXPECT_STREQ(doc.select_node("//Port[@Name='DevicePort']").node().child_value("Visibility"),
               "Invisible");
  int32_t type = 0;
  char name[32];
  size = sizeof name;
  EXPECT_EQ(device_.GetPortInfo(PORT_INFO_PORTNAME, &type, name, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(name, "DevicePort");
  size = sizeof name;
  EXPECT_EQ(device_.GetPortInfo(PORT_INFO_MODULE, &type, name, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(name, "Device");
  uint64_t before = LogRingTotal();
  EXPECT_EQ(device_.GetPortInfo(14, &type, name, &size), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(type, INFO_DATATYPE_UNKNOWN);
  EXPECT_TRUE(HasLogLine(
      LogSince(before),
      R"(gentl: warning \[tcDevice::GetPortInfo\] Cam, iInfoCmd = 14 \(Request Not Implemented\))"));
}

TEST_F(DeviceBase, RegisteredAsDeviceAndNoRemotePortOnTheBase) {
  EXPECT_EQ(HandleRegistry::Find(&device_), HandleKind::kDevice);
  EXPECT_EQ(device_.RemotePort(), nullptr);
  EXPECT_EQ(device_.Parent(), &interface_);
  EXPECT_EQ(HandleRegistry::Find(&interface_), HandleKind::kInterface);
}

}  // namespace

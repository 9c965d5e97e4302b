// The three interfaces as a consumer sees them: information, registers, URL and description.
#include <pugixml.hpp>

#include "support/PrivateNetwork.h"
#include "support/StderrCapture.h"
#include "support/SystemConsumer.h"

using namespace GenTL;

namespace {

class InterfaceTest : public SystemConsumerTest {
 protected:
  void SetUp() override {
    SystemConsumerTest::SetUp();
    UpdateInterfaces();
  }

  GC_ERROR Info(void* interface, int command, std::string* text) {
    char buffer[64] = "";
    size_t size = sizeof buffer;
    INFO_DATATYPE type = 0;
    GC_ERROR result = Lib().IFGetInfo(interface, command, &type, buffer, &size);
    if (result == GC_ERR_SUCCESS) {
      EXPECT_EQ(type, INFO_DATATYPE_STRING);
      EXPECT_EQ(size, strlen(buffer) + 1);
    }
    *text = buffer;
    return result;
  }
};

TEST_F(InterfaceTest, SimulatedInterfaceInformation) {
  void* sim = OpenInterface("Simulated");
  std::string text;
  EXPECT_EQ(Info(sim, INTERFACE_INFO_ID, &text), GC_ERR_SUCCESS);
  EXPECT_EQ(text, "Simulated");
  EXPECT_EQ(Info(sim, INTERFACE_INFO_DISPLAYNAME, &text), GC_ERR_SUCCESS);
  EXPECT_EQ(text, "Simulated");
  EXPECT_EQ(Info(sim, INTERFACE_INFO_TLTYPE, &text), GC_ERR_SUCCESS);
  EXPECT_EQ(text, "Custom");
  EXPECT_EQ(Info(sim, 3, &text), GC_ERR_NOT_IMPLEMENTED);
}

TEST_F(InterfaceTest, GigEVisionInterfaceAnswersItsIdOnly) {
  void* gev = OpenInterface("GEV");
  std::string text;
  EXPECT_EQ(Info(gev, INTERFACE_INFO_ID, &text), GC_ERR_SUCCESS);
  EXPECT_EQ(text, "GEV");
  EXPECT_EQ(Info(gev, INTERFACE_INFO_DISPLAYNAME, &text), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Info(gev, INTERFACE_INFO_TLTYPE, &text), GC_ERR_NOT_IMPLEMENTED);
  size_t size = 0;
  EXPECT_EQ(Lib().IFGetInfo(gev, INTERFACE_INFO_ID, nullptr, nullptr, &size),
            GC_ERR_INVALID_PARAMETER);
}

TEST_F(InterfaceTest, USB3VisionInterfaceInformation) {
  void* u3v = OpenInterface("U3V");
  std::string text;
  EXPECT_EQ(Info(u3v, INTERFACE_INFO_DISPLAYNAME, &text), GC_ERR_SUCCESS);
  EXPECT_EQ(text, "U3V");
  EXPECT_EQ(Info(u3v, INTERFACE_INFO_TLTYPE, &text), GC_ERR_SUCCESS);
  EXPECT_EQ(text, "U3V");
}

TEST_F(InterfaceTest, InfoStringRules) {
  void* sim = OpenInterface("Simulated");
  INFO_DATATYPE type = 0;
  size_t size = 0;
  EXPECT_EQ(Lib().IFGetInfo(sim, INTERFACE_INFO_ID, &type, nullptr, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(size, 10u);
  char small[4];
  size = sizeof small;
  EXPECT_EQ(Lib().IFGetInfo(sim, INTERFACE_INFO_ID, &type, small, &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 10u);
  EXPECT_EQ(Lib().IFGetInfo(sim, INTERFACE_INFO_ID, &type, small, nullptr),
            GC_ERR_INVALID_PARAMETER);
}

TEST_F(InterfaceTest, NoDevicesWithoutTransportAndParentIsTheSystem) {
  for (const char* id : {"Simulated", "GEV", "U3V"}) {
    void* interface = OpenInterface(id);
    uint32_t count = 9;
    EXPECT_EQ(Lib().IFGetNumDevices(interface, &count), GC_ERR_SUCCESS);
    EXPECT_EQ(count, 0u);
    char text[16];
    size_t size = sizeof text;
    EXPECT_EQ(Lib().IFGetDeviceID(interface, 0, text, &size), GC_ERR_INVALID_INDEX);
    EXPECT_EQ(Lib().IFGetDeviceID(interface, 0, text, nullptr), GC_ERR_INVALID_INDEX);
    INFO_DATATYPE type = 0;
    EXPECT_EQ(Lib().IFGetDeviceInfo(interface, "X", DEVICE_INFO_ID, &type, text, &size),
              GC_ERR_INVALID_ID);
    EXPECT_EQ(Lib().IFGetDeviceInfo(interface, nullptr, DEVICE_INFO_ID, &type, text, &size),
              GC_ERR_INVALID_PARAMETER);
    void* parent = nullptr;
    EXPECT_EQ(Lib().IFGetParentTL(interface, &parent), GC_ERR_SUCCESS);
    EXPECT_EQ(parent, system_);
    EXPECT_EQ(Lib().IFGetParentTL(interface, nullptr), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Lib().IFGetNumDevices(interface, nullptr), GC_ERR_INVALID_PARAMETER);
  }
}

TEST_F(InterfaceTest, OpenUnknownDeviceIsInvalidIdAndLogged) {
  void* sim = OpenInterface("Simulated");
  void* device = nullptr;
  StderrCapture capture;
  EXPECT_EQ(Lib().IFOpenDevice(sim, "SimCam", DEVICE_ACCESS_EXCLUSIVE, &device), GC_ERR_INVALID_ID);
  std::string log = capture.Text();
  EXPECT_EQ(device, nullptr);
  EXPECT_TRUE(HasLogLine(log, R"(gentl: debug \[tcInterface::OpenDevice\] Updating Device List)"))
      << log;
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: error \[tcInterface::OpenDevice\] Device SimCam not found)"))
      << log;
  EXPECT_EQ(Lib().IFOpenDevice(sim, nullptr, DEVICE_ACCESS_EXCLUSIVE, &device),
            GC_ERR_INVALID_PARAMETER);
}

// GigE Vision discovery broadcasts: this runs in a network namespace with only a loopback.
TEST_F(InterfaceTest, UpdateDeviceListWithoutAdaptersFindsNothing) {
  ENTER_PRIVATE_NETWORK_OR_SKIP();
  StderrCapture capture;
  void* gev = OpenInterface("GEV");
  bool8_t changed = true;
  EXPECT_EQ(Lib().IFUpdateDeviceList(gev, &changed, 100), GC_ERR_SUCCESS);
  std::string log = capture.Text();
  EXPECT_FALSE(changed);
  uint32_t count = 1;
  EXPECT_EQ(Lib().IFGetNumDevices(gev, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 0u);
  EXPECT_TRUE(HasLogLine(log, R"(gentl: info \[tcInterfaceGEV::Open\] mcBCast size: 0)")) << log;
}

TEST_F(InterfaceTest, CloseSucceeds) {
  void* u3v = OpenInterface("U3V");
  EXPECT_EQ(Lib().IFClose(u3v), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().IFClose(nullptr), GC_ERR_INVALID_PARAMETER);
}

TEST_F(InterfaceTest, SelectorRegistersAndDeviceRegistersWithoutDevices) {
  void* sim = OpenInterface("Simulated");
  EXPECT_EQ(WriteU32(sim, 0x10004, 3), GC_ERR_SUCCESS);
  EXPECT_EQ(ReadU32(sim, 0x10004), 3u);
  EXPECT_EQ(ReadU32(sim, 0x10000), 3u);
  uint16_t small = 7;
  size_t size = 2;
  EXPECT_EQ(Lib().GCWritePort(sim, 0x10004, &small, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(ReadU32(sim, 0x10004), 3u);
  uint8_t untouched[4] = {1, 2, 3, 4};
  size = 3;
  EXPECT_EQ(Lib().GCReadPort(sim, 0x10004, untouched, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(untouched[0], 1);
  EXPECT_EQ(ReadText(sim, 0x10100, GC_ERR_INVALID_INDEX), "");
  EXPECT_EQ(ReadU32(sim, 0x10400, GC_ERR_INVALID_INDEX), 0u);
  EXPECT_EQ(WriteU32(sim, 0x10000, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(ReadU32(sim, 0x10700, GC_ERR_ACCESS_DENIED), 0u);
  EXPECT_EQ(WriteU32(sim, 0x10100, 1), GC_ERR_ACCESS_DENIED);
}

TEST_F(InterfaceTest, PortInformationNamesTheInterfacePort) {
  void* gev = OpenInterface("GEV");
  const std::pair<int, const char*> texts[] = {
      {PORT_INFO_ID, "InterfacePort"},       {PORT_INFO_MODEL, "InterfacePort"},
      {PORT_INFO_MODULE, "Interface"},       {PORT_INFO_TLTYPE, "Custom"},
      {PORT_INFO_PORTNAME, "InterfacePort"}, {PORT_INFO_VERSION, "1.1.1"}};
  for (auto [command, expected] : texts) {
    char text[64];
    size_t size = sizeof text;
    INFO_DATATYPE type = 0;
    EXPECT_EQ(Lib().GCGetPortInfo(gev, command, &type, text, &size), GC_ERR_SUCCESS);
    EXPECT_STREQ(text, expected);
  }
}

TEST_F(InterfaceTest, UrlsDescriptionsAndTheirConstants) {
  const struct {
    const char* id;
    const char* displayName;
    const char* type;
  } expected[] = {{"Simulated", "Simulated", "6"}, {"GEV", "GEV", "0"}, {"U3V", "U3V", "4"}};
  std::string guids;
  for (const auto& e : expected) {
    void* interface = OpenInterface(e.id);
    std::string url = Url(interface);
    EXPECT_EQ(url.rfind(std::string("local:///vantora_interface_") + e.id + ".xml;0;", 0), 0u)
        << url;
    std::string text = Description(interface);
    EXPECT_LT(text.size(), 0x10000u);
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(text.c_str()));
    EXPECT_STREQ(doc.select_node("//String[@Name='InterfaceID']").node().child_value("Value"),
                 e.id);
    EXPECT_STREQ(
        doc.select_node("//String[@Name='InterfaceDisplayName']").node().child_value("Value"),
        e.displayName);
    EXPECT_STREQ(
        doc.select_node("//Enumeration[@Name='InterfaceType']").node().child_value("Value"),
        e.type);
    EXPECT_STREQ(
        doc.select_node("//IntReg[@Name='DeviceSelectorReg']").node().child_value("Address"),
        "0x10004");
    std::string guid = doc.child("RegisterDescription").attribute("ProductGuid").value();
    EXPECT_EQ(guids.find(guid), std::string::npos) << "GUIDs must differ per interface";
    guids += guid;
  }
}

}  // namespace

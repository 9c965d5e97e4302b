// Interoperation with an independent GigE Vision camera: Aravis's fake camera on the network
// bench, discovered, opened and read through gentl.cti, its description through the URL.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "base/tcAdapterList.h"
#include "base/tsSocketAddress.h"
#include "support/GevConsumer.h"

using namespace GenTL;

namespace {

constexpr const char* kFakeCamera = "arv-fake-gv-camera-0.8";

class AravisInterop : public GevConsumerTest {
 protected:
  void SetUp() override {
    if (system(("command -v " + std::string(kFakeCamera) + " >/dev/null").c_str()) != 0) {
      GTEST_SKIP() << kFakeCamera << " is not installed (Debian package aravis-tools)";
    }
    GevConsumerTest::SetUp();
  }

  // Runs the fake camera on the camera side's own adapter, whose address only it knows.
  static int RunFakeCamera() {
    tcAdapterList adapters;
    adapters.Load();
    for (const tsAdapter& adapter : adapters.Usable()) {
      std::string address = tsSocketAddress::Text(adapter.address);
      execlp(kFakeCamera, kFakeCamera, "-i", address.c_str(), "-s", "INTEROP1", nullptr);
    }
    return 127;
  }
};

TEST_F(AravisInterop, DiscoverOpenReadRegistersAndTheDescription) {
  tsBenchLink link;
  ASSERT_EQ(bench_.AddCamera(RunFakeCamera, 1500, &link), "");
  ASSERT_TRUE(WaitForCamera(link));
  OpenGev();
  EXPECT_TRUE(Update(300));
  std::vector<std::string> ids = DeviceIds();
  ASSERT_EQ(ids.size(), 1u);
  EXPECT_EQ(ids[0].substr(ids[0].find(':')), ":INTEROP1");
  EXPECT_EQ(DeviceText(ids[0], DEVICE_INFO_VENDOR), "Aravis");
  EXPECT_EQ(DeviceText(ids[0], DEVICE_INFO_DISPLAYNAME),
            DeviceText(ids[0], DEVICE_INFO_MODEL) + " [" +
                tsSocketAddress::Text(link.cameraAddress) + "]");
  ASSERT_EQ(OpenDevice(ids[0]), GC_ERR_SUCCESS);
  void* port = RemotePort();
  EXPECT_EQ(ntohl(ReadU32(port, 0x0A00)), 2u);  // we hold control
  EXPECT_EQ(ntohl(ReadU32(port, 0x0024)), link.cameraAddress);
  EXPECT_EQ(ReadText(port, 0x00D8), "INTEROP1");
  std::string url = Url(port);
  EXPECT_EQ(url.rfind("Local:arv-fake-camera.xml;", 0), 0u) << url;
  uint64_t address = 0;
  uint64_t length = 0;
  size_t size = sizeof address;
  int32_t type = 0;
  ASSERT_EQ(Lib().GCGetPortURLInfo(port, 0, URL_INFO_FILE_REGISTER_ADDRESS, &type, &address, &size),
            GC_ERR_SUCCESS);
  size = sizeof length;
  ASSERT_EQ(Lib().GCGetPortURLInfo(port, 0, URL_INFO_FILE_SIZE, &type, &length, &size),
            GC_ERR_SUCCESS);
  ASSERT_GT(length, 1000u);
  std::string xml(length, '\0');
  size = length;
  ASSERT_EQ(Lib().GCReadPort(port, address, xml.data(), &size), GC_ERR_SUCCESS);
  EXPECT_NE(xml.find("<RegisterDescription"), std::string::npos);
  EXPECT_NE(xml.find("</RegisterDescription>"), std::string::npos);
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
}

}  // namespace

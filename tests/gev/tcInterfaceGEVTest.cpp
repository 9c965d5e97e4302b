// tcInterfaceGEV against a scripted camera on the network bench: the discovery request id
// wraps from 0xFFFF to 1.
#include "gev/tcInterfaceGEV.h"

#include <gtest/gtest.h>

#include "support/FakeGvcpCamera.h"
#include "support/PrivateNetwork.h"
#include "tcNetBench.h"

using namespace GenTL;

namespace {

TEST(InterfaceGEVUnit, DiscoveryRequestId0xFFFFIsFollowedBy1) {
  ENTER_PRIVATE_NETWORK_OR_SKIP();
  // The camera answers with the request id as its serial number and MAC address, so each pass
  // lists a camera named after the id it was asked with.
  tsFakeCamera camera;
  camera.script = [](const tsFakeCommand& command, uint32_t local, tfFakeDatagrams* replies) {
    if (command.code != 0x0002) return false;
    tsFakeCamera named;
    named.serial = std::to_string(command.id);
    named.mac = command.id;
    replies->push_back(FakeAck(0, 0x0003, command.id, tcFakeGvcpCamera(named).Record(local)));
    return true;
  };
  tcNetBench bench;
  tsBenchLink link;
  ASSERT_EQ(bench.AddCamera([camera] { return tcFakeGvcpCamera(camera).Run(); }, 1500, &link), "");
  ASSERT_TRUE(WaitForGvcpCamera(link.hostAddress, link.cameraAddress));
  tcInterfaceGEV interface(nullptr);
  ASSERT_EQ(interface.Open(), GC_ERR_SUCCESS);
  auto ids = [&] {
    uint32_t count = 0;
    interface.GetNumDevices(&count);
    std::vector<std::string> list;
    for (uint32_t i = 0; i < count; ++i) {
      char id[64] = "";
      size_t size = sizeof id;
      interface.GetDeviceID(i, id, &size);
      list.push_back(id);
    }
    return list;
  };
  tcInterfaceGEV::SetLastDiscoveryId(0xFFFE);
  bool8_t changed = false;
  EXPECT_EQ(interface.UpdateDeviceList(&changed, 200), GC_ERR_SUCCESS);
  EXPECT_EQ(ids(), std::vector<std::string>{"FakeCam:65535"});
  EXPECT_EQ(interface.UpdateDeviceList(&changed, 200), GC_ERR_SUCCESS);
  EXPECT_TRUE(changed);
  EXPECT_EQ(ids(), std::vector<std::string>{"FakeCam:1"});
}

}  // namespace

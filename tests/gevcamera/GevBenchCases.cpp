// gev-camera as a program on the network test bench: discovery (broadcast and unicast),
// register and memory access, privilege and heartbeat, several cameras, an independent client.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>

#include "GvcpMessages.h"
#include "base/Platform.h"
#include "base/tcPoll.h"
#include "base/tcUdpSocket.h"
#include "support/PrivateNetwork.h"
#include "tcNetBench.h"

namespace {

constexpr uint32_t kLimitedBroadcast = 0xFFFFFFFF;
constexpr uint16_t kGvcpPort = 3956;

class GevBench : public ::testing::Test {
 protected:
  void SetUp() override { ENTER_PRIVATE_NETWORK_OR_SKIP(); }

  // Starts gev-camera with `arguments` on a new link; the client socket sits on its host end.
  bool StartCamera(std::vector<std::string> arguments, tsBenchLink* link) {
    arguments.insert(arguments.begin(), GEV_CAMERA_PATH);
    std::string error = bench_.AddCamera(arguments, tcNetBench::kJumboMtu, link);
    EXPECT_EQ(error, "");
    if (!error.empty()) return false;
    auto client = std::make_unique<tcUdpSocket>();
    EXPECT_EQ(client->Open(), 0);
    EXPECT_EQ(client->SetBroadcast(true), 0);
    EXPECT_EQ(client->Bind({link->hostAddress, 0}), 0);
    clients_.push_back(std::move(client));
    return true;
  }

  // One exchange: the acknowledge and its sender, or status 0xFFFF after `timeoutMs`.
  tsAck Exchange(const tcUdpSocket& client, const std::vector<std::byte>& command,
                 const tsSocketAddress& to, int timeoutMs, tsSocketAddress* from = nullptr) {
    EXPECT_TRUE(client.SendTo(command, to).Ok());
    tcPoll poll;
    poll.Add(client.Fd());
    std::array<std::byte, 1500> reply;
    if (!poll.Wait(timeoutMs).Ok() || !poll.Readable(0)) return {};
    tsSocketAddress sender;
    tsIoResult received = client.ReceiveFrom(reply, &sender);
    if (!received.Ok()) return {};
    if (from) *from = sender;
    return ParseAck(std::span(reply).first(received.count));
  }

  // Waits until the camera answers a register read (it starts asynchronously).
  bool WaitForCamera(const tcUdpSocket& client, uint32_t address) {
    for (int attempt = 0; attempt < 100; ++attempt) {
      if (Exchange(client, Command(0x0080, 1, {0x0000}), {address, kGvcpPort}, 50).status == 0) {
        return true;
      }
    }
    return false;
  }

  tcNetBench bench_;
  std::vector<std::unique_ptr<tcUdpSocket>> clients_;
};

TEST_F(GevBench, BroadcastDiscoveryFindsTheCameraAtItsAddress) {
  tsBenchLink link;
  ASSERT_TRUE(StartCamera({"--serial", "BENCH1"}, &link));
  ASSERT_TRUE(WaitForCamera(*clients_[0], link.cameraAddress));
  tsSocketAddress from;
  tsAck ack =
      Exchange(*clients_[0], Command(0x0002, 77, {}), {kLimitedBroadcast, kGvcpPort}, 1000, &from);
  EXPECT_EQ(ack.size, 256u);
  EXPECT_EQ(ack.status, 0);
  EXPECT_EQ(ack.answer, 0x0003);
  EXPECT_EQ(ack.length, 248);
  EXPECT_EQ(ack.id, 77);
  EXPECT_EQ(from, (tsSocketAddress{link.cameraAddress, kGvcpPort}));
  EXPECT_EQ(ack.Word(0x24), link.cameraAddress);
  EXPECT_EQ(ack.Word(0x34), 0xFFFFFFFCu);
  EXPECT_EQ(ack.Text(0xD8, 16), "BENCH1");
}

TEST_F(GevBench, UnicastDiscovery) {
  tsBenchLink link;
  ASSERT_TRUE(StartCamera({}, &link));
  ASSERT_TRUE(WaitForCamera(*clients_[0], link.cameraAddress));
  tsAck ack =
      Exchange(*clients_[0], Command(0x0002, 78, {}), {link.cameraAddress, kGvcpPort}, 1000);
  EXPECT_EQ(ack.status, 0);
  EXPECT_EQ(ack.answer, 0x0003);
  EXPECT_EQ(ack.Text(0x68, 32), "GEV-Emulator");
}

TEST_F(GevBench, SilentCameraIgnoresDiscoveryButAnswersCommands) {
  tsBenchLink link;
  ASSERT_TRUE(StartCamera({"--silent"}, &link));
  ASSERT_TRUE(WaitForCamera(*clients_[0], link.cameraAddress));
  tsAck ack = Exchange(*clients_[0], Command(0x0002, 79, {}), {kLimitedBroadcast, kGvcpPort}, 300);
  EXPECT_EQ(ack.status, 0xFFFF);  // nothing arrived
}

TEST_F(GevBench, TwoCamerasOnTwoLinks) {
  tsBenchLink first, second;
  ASSERT_TRUE(StartCamera({"--serial", "LEFT"}, &first));
  ASSERT_TRUE(StartCamera({"--serial", "RIGHT"}, &second));
  EXPECT_NE(first.hostInterface, second.hostInterface);
  EXPECT_NE(first.cameraAddress & 0xFFFFFFFC, second.cameraAddress & 0xFFFFFFFC);
  ASSERT_TRUE(WaitForCamera(*clients_[0], first.cameraAddress));
  ASSERT_TRUE(WaitForCamera(*clients_[1], second.cameraAddress));
  tsAck left =
      Exchange(*clients_[0], Command(0x0002, 80, {}), {kLimitedBroadcast, kGvcpPort}, 1000);
  tsAck right =
      Exchange(*clients_[1], Command(0x0002, 81, {}), {kLimitedBroadcast, kGvcpPort}, 1000);
  EXPECT_EQ(left.Text(0xD8, 16), "LEFT");
  EXPECT_EQ(right.Text(0xD8, 16), "RIGHT");
  EXPECT_EQ(left.Word(0x24), first.cameraAddress);
  EXPECT_EQ(right.Word(0x24), second.cameraAddress);
}

TEST_F(GevBench, ReadsTheWholeDescriptionInChunks) {
  tsBenchLink link;
  ASSERT_TRUE(StartCamera({}, &link));
  ASSERT_TRUE(WaitForCamera(*clients_[0], link.cameraAddress));
  tsSocketAddress camera{link.cameraAddress, kGvcpPort};
  std::string url = Exchange(*clients_[0], ReadMem(2, 0x0200, 512), camera, 1000).Text(4, 512);
  size_t size = std::stoul(url.substr(url.rfind(';') + 1), nullptr, 16);
  std::string xml;
  uint16_t id = 3;
  for (size_t done = 0; done < size; done += 536) {
    size_t chunk = std::min<size_t>(536, size - done);
    tsAck ack = Exchange(*clients_[0], ReadMem(id++, 0x20000 + done, (chunk + 3) & ~size_t{3}),
                         camera, 1000);
    ASSERT_EQ(ack.status, 0) << done;
    xml += ack.Text(4, chunk);
  }
  EXPECT_EQ(xml.size(), size);
  EXPECT_EQ(xml.substr(xml.size() - 23), "</RegisterDescription>\n");
}

TEST_F(GevBench, PrivilegeExpiresWithoutHeartbeat) {
  tsBenchLink link;
  ASSERT_TRUE(StartCamera({}, &link));
  ASSERT_TRUE(WaitForCamera(*clients_[0], link.cameraAddress));
  tsSocketAddress camera{link.cameraAddress, kGvcpPort};
  ASSERT_EQ(Exchange(*clients_[0], Command(0x0082, 4, {0x0A00, 2}), camera, 1000).status, 0);
  ASSERT_EQ(Exchange(*clients_[0], Command(0x0082, 5, {0x0938, 300}), camera, 1000).status, 0);
  ASSERT_EQ(Exchange(*clients_[0], Command(0x0082, 6, {0x10000, 320}), camera, 1000).status, 0);
  usleep(600000);
  EXPECT_EQ(Exchange(*clients_[0], Command(0x0080, 7, {0x0A00}), camera, 1000).Word(0), 0u);
  EXPECT_EQ(Exchange(*clients_[0], Command(0x0082, 8, {0x10000, 256}), camera, 1000).status,
            0x8006);
  EXPECT_EQ(Exchange(*clients_[0], Command(0x0080, 9, {0x10000}), camera, 1000).Word(0), 320u);
}

// The bench never starts where a real adapter is reachable.
TEST(GevBenchSafety, RefusesANamespaceWithARealAdapter) {
  ENTER_PRIVATE_NETWORK_OR_SKIP();
  EXPECT_EQ(tcNetBench::Isolated(), "");
  if (!RunIp("link add pio5 type veth peer name pio6")) GTEST_SKIP() << "no veth support";
  ASSERT_TRUE(RunIp("addr add 10.201.10.1/30 dev pio5"));
  ASSERT_TRUE(RunIp("link set pio5 up"));
  EXPECT_EQ(tcNetBench::Isolated(),
            "the network bench runs only in a private network namespace (unshare -n), and pio5 "
            "is a real adapter");
  tcNetBench bench;
  tsBenchLink link;
  EXPECT_EQ(bench.AddCamera(std::vector<std::string>{"true"}, 1500, &link), tcNetBench::Isolated());
  EXPECT_EQ(link.pid, -1);
}

// Runs a command and returns what it printed on its standard output.
std::string Output(const std::string& command) {
  std::string text;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return text;
  char chunk[512];
  while (size_t n = fread(chunk, 1, sizeof chunk, pipe))
    text.append(chunk, n);
  pclose(pipe);
  return text;
}

// Aravis, an independent GigE Vision client, finds the camera and reads its features.
TEST_F(GevBench, AravisFindsTheCameraAndReadsItsFeatures) {
  if (access("/usr/bin/arv-tool-0.8", X_OK) != 0) {
    GTEST_SKIP() << "arv-tool-0.8 (Debian package aravis-tools-cli) is not installed";
  }
  tsBenchLink link;
  ASSERT_TRUE(StartCamera({"--serial", "ARV1"}, &link));
  ASSERT_TRUE(WaitForCamera(*clients_[0], link.cameraAddress));
  std::string found = Output("arv-tool-0.8 2>&1");
  EXPECT_NE(found.find("GEV-Emulator-ARV1"), std::string::npos) << found;
  std::string address = tsSocketAddress::Text(link.cameraAddress);
  std::string features =
      Output("arv-tool-0.8 -a " + address + " control Width PixelFormat PayloadSize 2>&1");
  EXPECT_NE(features.find("Width = 640"), std::string::npos) << features;
  EXPECT_NE(features.find("PixelFormat = Mono8"), std::string::npos) << features;
  EXPECT_NE(features.find("PayloadSize = 307200"), std::string::npos) << features;
}

}  // namespace

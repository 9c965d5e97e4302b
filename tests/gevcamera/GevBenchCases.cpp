// gev-camera as a program on the network test bench: discovery (broadcast and unicast),
// register and memory access, privilege and heartbeat, several cameras, an independent client.
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

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
  // Every camera ends cleanly on SIGTERM (under the sanitizers: without a report).
  void TearDown() override {
    for (pid_t pid : cameras_) {
      int status = bench_.Stop(pid);
      EXPECT_TRUE(WIFEXITED(status)) << "status " << status;
      EXPECT_EQ(WEXITSTATUS(status), 0);
    }
  }

  // Starts gev-camera with `arguments` on a new link; the client socket sits on its host end.
  bool StartCamera(std::vector<std::string> arguments, tsBenchLink* link) {
    arguments.insert(arguments.begin(), GEV_CAMERA_PATH);
    std::string error = bench_.AddCamera(arguments, tcNetBench::kJumboMtu, link);
    EXPECT_EQ(error, "");
    if (!error.empty()) return false;
    cameras_.push_back(link->pid);
    auto client = std::make_unique<tcUdpSocket>();
    EXPECT_EQ(client->Open(), 0);
    EXPECT_EQ(client->SetBroadcast(true), 0);
    EXPECT_EQ(client->Bind({link->hostAddress, 0}), 0);
    clients_.push_back(std::move(client));
    return true;
  }

  // One exchange: the acknowledge and its sender, or status 0xFFFF after `timeoutMs`.
  // Late acknowledges of earlier commands (another id) are skipped.
  tsAck Exchange(const tcUdpSocket& client, const std::vector<std::byte>& command,
                 const tsSocketAddress& to, int timeoutMs, tsSocketAddress* from = nullptr) {
    EXPECT_TRUE(client.SendTo(command, to).Ok());
    uint16_t id = ParseAck(command).id;
    uint64_t deadline = platform::MonotonicNs() + uint64_t(timeoutMs) * 1000000;
    tcPoll poll;
    poll.Add(client.Fd());
    std::array<std::byte, 1500> reply;
    for (uint64_t now = platform::MonotonicNs(); now < deadline; now = platform::MonotonicNs()) {
      int left = static_cast<int>((deadline - now + 999999) / 1000000);
      if (!poll.Wait(left).Ok() || !poll.Readable(0)) break;
      tsSocketAddress sender;
      tsIoResult received = client.ReceiveFrom(reply, &sender);
      if (!received.Ok()) break;
      tsAck ack = ParseAck(std::span(reply).first(received.count));
      if (ack.id != id) continue;
      if (from) *from = sender;
      return ack;
    }
    return {};
  }

  // Waits until the camera answers a register read (it starts asynchronously).
  bool WaitForCamera(const tcUdpSocket& client, uint32_t address) {
    for (uint16_t attempt = 1; attempt <= 100; ++attempt) {
      tsSocketAddress camera{address, kGvcpPort};
      if (Exchange(client, Command(0x0080, 1000 + attempt, {0x0000}), camera, 50).status == 0) {
        return true;
      }
    }
    return false;
  }

  tcNetBench bench_;
  std::vector<pid_t> cameras_;
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

// One received GVSP packet, taken apart.
// From now on every datagram the socket receives carries the kernel's arrival time, which
// SIOCGSTAMPNS reads after a receive; the first call switches the time stamps on (and has
// none to give yet).
bool StampArrivals(const tcUdpSocket& socket) {
  timespec none{};
  return ioctl(socket.Fd(), SIOCGSTAMPNS, &none) == 0 || errno == ENOENT;
}

struct tsPacket {
  size_t size = 0;  // 0: nothing arrived
  uint16_t status = 0;
  bool extended = false;
  uint8_t format = 0;
  uint64_t blockId = 0;
  uint32_t packetId = 0;
  std::vector<std::byte> data;  // after the header
  uint64_t arrivalNs = 0;       // when the kernel received it (realtime clock)
};

class GevStream : public GevBench {
 protected:
  // Starts a camera on a link with `mtu`, takes control and opens the stream socket.
  bool Connect(std::vector<std::string> arguments = {}, int mtu = tcNetBench::kJumboMtu) {
    arguments.insert(arguments.begin(), GEV_CAMERA_PATH);
    std::string error = bench_.AddCamera(arguments, mtu, &link_);
    if (!error.empty()) {
      ADD_FAILURE() << error;
      return false;
    }
    cameras_.push_back(link_.pid);
    camera_ = {link_.cameraAddress, kGvcpPort};
    bool ok = control_.Open() == 0 && control_.Bind({link_.hostAddress, 0}) == 0 &&
              stream_.Open() == 0 && stream_.Bind({link_.hostAddress, 0}) == 0 &&
              StampArrivals(stream_) && stream_.LocalAddress(&streamAddress_) == 0 &&
              WaitForCamera(control_, camera_.address);
    return ok && Write(0x0A00, 2) == 0;
  }
  uint16_t Write(uint32_t address, uint32_t value) {
    return Exchange(control_, Command(0x0082, ++id_, {address, value}), camera_, 1000).status;
  }
  uint32_t Read(uint32_t address) {
    return Exchange(control_, Command(0x0080, ++id_, {address}), camera_, 1000).Word(0);
  }
  tsPacket Receive(int timeoutMs) {
    tcPoll poll;
    poll.Add(stream_.Fd());
    tsPacket packet;
    std::vector<std::byte> buffer(9000);
    if (!poll.Wait(timeoutMs).Ok() || !poll.Readable(0)) return packet;
    tsSocketAddress from;
    tsIoResult received = stream_.ReceiveFrom(buffer, &from);
    if (!received.Ok()) return packet;
    EXPECT_EQ(from.address, link_.cameraAddress);
    packet.size = received.count;
    // The kernel's arrival time, so that a test thread woken late does not shorten gaps.
    timespec arrival{};
    if (ioctl(stream_.Fd(), SIOCGSTAMPNS, &arrival) == 0) {
      packet.arrivalNs = uint64_t(arrival.tv_sec) * 1000000000u + uint64_t(arrival.tv_nsec);
    }
    tcWireReader reader{std::span<const std::byte>(buffer).first(received.count)};
    packet.status = reader.U16Be();
    uint16_t second = reader.U16Be();
    uint32_t word = reader.U32Be();
    packet.extended = word & 0x80000000u;
    packet.format = (word >> 24) & 0x0F;
    if (packet.extended) {
      packet.blockId = reader.U64Be();
      packet.packetId = reader.U32Be();
    } else {
      packet.blockId = second;
      packet.packetId = word & 0xFFFFFF;
    }
    packet.data.assign(buffer.begin() + reader.Position(), buffer.begin() + received.count);
    return packet;
  }
  // Sets a 256 x 16 Mono8 image (4096 bytes) in packets of `packetSize` and opens the channel.
  void Configure(uint32_t packetSize) {
    ASSERT_EQ(Write(0x10000, 256), 0);
    ASSERT_EQ(Write(0x10004, 16), 0);
    ASSERT_EQ(Write(0x0D04, 0x40000000u | packetSize), 0);
    ASSERT_EQ(Write(0x0D18, link_.hostAddress), 0);
    ASSERT_EQ(Write(0x0D00, streamAddress_.port), 0);
  }
  // Receives one whole frame and checks every packet of it.
  void ExpectFrame(uint64_t frame, bool extended, size_t dataPerPacket) {
    tsPacket leader = Receive(2000);
    ASSERT_EQ(leader.format, 1) << "frame " << frame;
    EXPECT_EQ(leader.extended, extended);
    EXPECT_EQ(leader.blockId, frame);
    EXPECT_EQ(leader.packetId, 0u);
    EXPECT_EQ(leader.size, (extended ? 20u : 8u) + 36u);
    tcWireReader fields(leader.data);
    EXPECT_EQ(fields.U16Be(), 0);
    EXPECT_EQ(fields.U16Be(), 1);  // image
    fields.Skip(8);                // time stamp
    EXPECT_EQ(fields.U32Be(), 0x01080001u);
    EXPECT_EQ(fields.U32Be(), 256u);
    EXPECT_EQ(fields.U32Be(), 16u);
    size_t packets = (4096 + dataPerPacket - 1) / dataPerPacket;
    for (size_t p = 1; p <= packets; ++p) {
      tsPacket data = Receive(1000);
      ASSERT_EQ(data.format, 3);
      EXPECT_EQ(data.blockId, frame);
      EXPECT_EQ(data.packetId, p);
      size_t offset = (p - 1) * dataPerPacket;
      ASSERT_EQ(data.data.size(), std::min(dataPerPacket, 4096 - offset));
      for (size_t i = 0; i < data.data.size(); ++i) {
        ASSERT_EQ(std::to_integer<uint8_t>(data.data[i]), uint8_t(offset + i + frame)) << i;
      }
    }
    tsPacket trailer = Receive(1000);
    ASSERT_EQ(trailer.format, 2);
    EXPECT_EQ(trailer.blockId, frame);
    EXPECT_EQ(trailer.packetId, packets + 1);
    tcWireReader tail(trailer.data);
    EXPECT_EQ(tail.U16Be(), 0);
    EXPECT_EQ(tail.U16Be(), 1);
    EXPECT_EQ(tail.U32Be(), 16u);
  }

  // The resent packets (status 0x0100) that arrive within `timeoutMs`, in order.
  std::vector<tsPacket> Resent(int timeoutMs) {
    std::vector<tsPacket> resent;
    uint64_t deadline = platform::MonotonicNs() + uint64_t(timeoutMs) * 1000000;
    while (platform::MonotonicNs() < deadline) {
      tsPacket packet = Receive(50);
      if (packet.size != 0 && packet.status == 0x0100) resent.push_back(packet);
    }
    return resent;
  }
  // Takes what is still in flight; the stream must then be quiet.
  void DrainStream() {
    int received = 0;
    while (received < 100 && Receive(300).size != 0)
      ++received;
    EXPECT_LT(received, 100) << "the stream does not stop";
  }
  // Test packets of the size asked for; with the do-not-fragment bit, one above the link's
  // MTU does not arrive.
  void ExpectTestPackets(std::initializer_list<std::pair<uint32_t, bool>> cases) {
    for (auto [size, arrives] : cases) {
      ASSERT_EQ(Write(0x0D04, 0xC0000000u | size), 0);
      EXPECT_EQ(Read(0x0D04), 0x40000000u | size);  // the fire bit clears itself
      // One that arrives may take long on a loaded machine; absence needs a shorter look.
      tsPacket packet = Receive(arrives ? 3000 : 300);
      EXPECT_EQ(packet.size, arrives ? size - 28 : 0u) << size;
    }
  }

  tsBenchLink link_;
  tsSocketAddress camera_;
  tcUdpSocket control_;
  tcUdpSocket stream_;
  tsSocketAddress streamAddress_;
  uint16_t id_ = 10;
};

TEST_F(GevStream, StreamsFramesOnlyWhileAcquiring) {
  ASSERT_TRUE(Connect());
  Configure(1000);
  // The channel is open, but acquisition has not started: nothing is sent.
  EXPECT_EQ(Receive(300).size, 0u);
  EXPECT_NE(Read(0x0D1C), 0u);  // the stream's source port
  ASSERT_EQ(Write(0x1001C, 1), 0);
  ExpectFrame(1, false, 1000 - 36);
  ExpectFrame(2, false, 1000 - 36);
  ASSERT_EQ(Write(0x10020, 1), 0);
  DrainStream();
  EXPECT_EQ(Read(0x10034), 0u);
}

TEST_F(GevStream, ExtendedIdsOnceGvspConfigAsksForThem) {
  ASSERT_TRUE(Connect());
  Configure(1500);
  ASSERT_EQ(Write(0x0960, 0x40000000), 0);
  ASSERT_EQ(Write(0x1001C, 1), 0);
  ExpectFrame(1, true, 1500 - 48);
  ExpectFrame(2, true, 1500 - 48);
}

TEST_F(GevStream, SingleFrameModeSendsOneFrame) {
  ASSERT_TRUE(Connect());
  Configure(9000);
  ASSERT_EQ(Write(0x10018, 1), 0);
  ASSERT_EQ(Write(0x1001C, 1), 0);
  ExpectFrame(1, false, 9000 - 36);
  EXPECT_EQ(Receive(400).size, 0u);
  EXPECT_EQ(Read(0x10034), 0u);
}

TEST_F(GevStream, LosingThePrivilegeStopsTheStream) {
  ASSERT_TRUE(Connect());
  Configure(1500);
  ASSERT_EQ(Write(0x1001C, 1), 0);
  ExpectFrame(1, false, 1500 - 36);
  ASSERT_EQ(Write(0x0A00, 0), 0);
  ASSERT_EQ(Write(0x0938, 3000), 0x8006);  // no longer in control
  DrainStream();
  EXPECT_EQ(Read(0x10034), 0u);
}

TEST_F(GevStream, TestPacketsOnAJumboLink) {
  ASSERT_TRUE(Connect());
  Configure(1500);
  ExpectTestPackets({{9000, true}, {4500, true}, {1500, true}});
}

TEST_F(GevStream, TestPacketsAboveTheMtuDoNotArrive) {
  ASSERT_TRUE(Connect({}, 1500));
  Configure(1500);
  ExpectTestPackets({{9000, false}, {4500, false}, {1500, true}});
}

TEST_F(GevStream, ResendsNamedPacketsWithTheResendStatus) {
  ASSERT_TRUE(Connect());
  EXPECT_EQ(Read(0x0934) & 0x00400004u, 0x00400004u);  // resend and extended status offered
  Configure(1000);
  ASSERT_EQ(Write(0x1001C, 1), 0);
  ExpectFrame(1, false, 964);
  // Block 1, packets 4 to 6: 6 is the trailer, which is not resent. No acknowledge.
  ASSERT_TRUE(control_.SendTo(Command(0x0040, ++id_, {0x00000001, 4, 6}, 0x00), camera_).Ok());
  std::vector<tsPacket> resent = Resent(600);
  ASSERT_EQ(resent.size(), 2u);
  for (size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(resent[i].blockId, 1u);
    EXPECT_EQ(resent[i].packetId, 4u + i);
    size_t offset = (3 + i) * 964;
    ASSERT_EQ(resent[i].data.size(), std::min<size_t>(964, 4096 - offset));
    EXPECT_EQ(std::to_integer<uint8_t>(resent[i].data[0]), uint8_t(offset + 1));
  }
}

// A request that comes while the camera sends the next frame is served before that frame
// ends, as a camera does: frames paced at 1 ms per packet take about 20 ms each.
TEST_F(GevStream, AResendDuringAFrameIsServedBeforeThatFrameEnds) {
  ASSERT_TRUE(Connect());
  Configure(264);  // 228 data bytes per packet: 18 data packets per frame
  ASSERT_EQ(Write(0x0D08, 1000000), 0);
  ASSERT_EQ(Write(0x1001C, 1), 0);
  ExpectFrame(1, false, 228);
  tsPacket leader = Receive(2000);
  ASSERT_EQ(leader.format, 1);
  ASSERT_EQ(leader.blockId, 2u);
  ASSERT_TRUE(control_.SendTo(Command(0x0040, ++id_, {0x00000001, 4, 5}, 0x00), camera_).Ok());
  std::vector<uint64_t> resentBlocks;
  for (tsPacket packet = Receive(2000); packet.size != 0; packet = Receive(2000)) {
    if (packet.status == 0x0100) resentBlocks.push_back(packet.blockId);
    if (packet.format == 2 && packet.blockId == 2) break;  // frame 2's trailer
  }
  EXPECT_EQ(resentBlocks, (std::vector<uint64_t>{1, 1}));
}

TEST_F(GevStream, ResendWithExtendedIds) {
  ASSERT_TRUE(Connect());
  Configure(1500);
  ASSERT_EQ(Write(0x0960, 0x40000000), 0);
  ASSERT_EQ(Write(0x1001C, 1), 0);
  ExpectFrame(1, true, 1452);
  // Flag 0x10: channel, reserved, first, last, block id high and low.
  ASSERT_TRUE(control_.SendTo(Command(0x0040, ++id_, {0, 0, 1, 0, 1}, 0x10), camera_).Ok());
  std::vector<tsPacket> resent = Resent(600);
  ASSERT_EQ(resent.size(), 2u);
  EXPECT_TRUE(resent[0].extended);
  EXPECT_EQ(resent[0].packetId, 0u);  // the leader
  EXPECT_EQ(resent[0].format, 1);
  EXPECT_EQ(resent[1].packetId, 1u);
  EXPECT_EQ(resent[1].blockId, 1u);
}

TEST_F(GevStream, ResendOfAnUnknownBlockSendsNothing) {
  ASSERT_TRUE(Connect());
  Configure(1000);
  ASSERT_EQ(Write(0x1001C, 1), 0);
  ExpectFrame(1, false, 964);
  ASSERT_TRUE(control_.SendTo(Command(0x0040, ++id_, {0x00000063, 1, 2}, 0x00), camera_).Ok());
  EXPECT_TRUE(Resent(400).empty());
}

TEST_F(GevStream, WithoutResendNothingIsOfferedOrResent) {
  ASSERT_TRUE(Connect({"--no-resend"}));
  EXPECT_EQ(Read(0x0934) & 0x00400004u, 0u);
  Configure(1000);
  ASSERT_EQ(Write(0x1001C, 1), 0);
  ExpectFrame(1, false, 964);
  ASSERT_TRUE(control_.SendTo(Command(0x0040, ++id_, {0x00000001, 1, 2}, 0x00), camera_).Ok());
  EXPECT_TRUE(Resent(400).empty());
}

// Faults on the wire: the packet ids of frame 1 as they arrive, up to its trailer, from a
// camera started with `arguments` on a link of its own.
class GevFaults : public GevBench {
 protected:
  std::vector<uint32_t> FirstFrame(const std::vector<std::string>& arguments) {
    std::vector<uint32_t> ids;
    tsBenchLink link;
    tcUdpSocket stream;
    tsSocketAddress streamAddress;
    if (!StartCamera(arguments, &link) || stream.Open() != 0 ||
        stream.Bind({link.hostAddress, 0}) != 0 || stream.LocalAddress(&streamAddress) != 0 ||
        !WaitForCamera(*clients_.back(), link.cameraAddress)) {
      ADD_FAILURE() << "no camera";
      return ids;
    }
    tsSocketAddress camera{link.cameraAddress, kGvcpPort};
    uint16_t id = 100;
    for (auto [address, value] :
         std::vector<std::pair<uint32_t, uint32_t>>{{0x0A00, 2},
                                                    {0x10000, 256},
                                                    {0x10004, 16},
                                                    {0x0D04, 0x40000000u | 1000},
                                                    {0x0D18, link.hostAddress},
                                                    {0x0D00, streamAddress.port},
                                                    {0x1001C, 1}}) {
      EXPECT_EQ(
          Exchange(*clients_.back(), Command(0x0082, ++id, {address, value}), camera, 1000).status,
          0);
    }
    tcPoll poll;
    poll.Add(stream.Fd());
    std::array<std::byte, 1500> buffer;
    while (poll.Wait(1000).Ok() && poll.Readable(0)) {
      tsIoResult received = stream.ReceiveFrom(buffer, nullptr);
      if (!received.Ok()) break;
      tcWireReader reader{std::span<const std::byte>(buffer).first(received.count)};
      reader.Skip(2);
      uint16_t block = reader.U16Be();
      uint32_t word = reader.U32Be();
      if (block != 1) break;
      ids.push_back(word & 0xFFFFFF);
      if ((word >> 24 & 0x0F) == 2) break;  // the trailer
    }
    return ids;
  }
};

TEST_F(GevFaults, DropsTheChosenPacketOfEveryFrame) {
  EXPECT_EQ(FirstFrame({"--drop-packet", "2"}), (std::vector<uint32_t>{0, 1, 3, 4, 5, 6}));
}

TEST_F(GevFaults, SameSeedSameFaultsOnTheWire) {
  std::vector<std::string> arguments = {"--seed",       "7",   "--loss",    "0.4",
                                        "--duplicates", "0.2", "--reorder", "3"};
  std::vector<uint32_t> first = FirstFrame(arguments);
  ASSERT_FALSE(first.empty());
  EXPECT_NE(first, (std::vector<uint32_t>{0, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(FirstFrame(arguments), first);
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

// Aravis streams from the camera (its own packet-size, stream and acquisition handling) and
// completes every frame.
TEST_F(GevBench, AravisStreamsFromTheCameraWithoutFailures) {
  if (access("/usr/bin/arv-camera-test-0.8", X_OK) != 0) {
    GTEST_SKIP() << "arv-camera-test-0.8 (Debian package aravis-tools) is not installed";
  }
  tsBenchLink link;
  ASSERT_TRUE(StartCamera({"--serial", "ARV2"}, &link));
  ASSERT_TRUE(WaitForCamera(*clients_[0], link.cameraAddress));
  std::string address = tsSocketAddress::Text(link.cameraAddress);
  // SIGINT after 3 s: it stops and prints its counters.
  std::string report =
      Output("timeout -s INT 3 stdbuf -oL arv-camera-test-0.8 -r -n " + address + " 2>&1");
  EXPECT_NE(report.find("payload                = 307200 bytes"), std::string::npos) << report;
  EXPECT_NE(report.find("n_failures             = 0\n"), std::string::npos) << report;
  EXPECT_NE(report.find("n_missing_packets      = 0\n"), std::string::npos) << report;
  size_t completed = report.find("n_completed_buffers    = ");
  ASSERT_NE(completed, std::string::npos) << report;
  EXPECT_GE(std::stoi(report.substr(completed + 25)), 20) << report;  // 10 frames per second
}

// With 2 % of the payload packets lost, Aravis asks for them again and completes every frame.
TEST_F(GevBench, AravisRecoversEveryFrameThroughResend) {
  if (access("/usr/bin/arv-camera-test-0.8", X_OK) != 0) {
    GTEST_SKIP() << "arv-camera-test-0.8 (Debian package aravis-tools) is not installed";
  }
  tsBenchLink link;
  ASSERT_TRUE(StartCamera({"--loss", "0.02", "--seed", "5"}, &link));
  ASSERT_TRUE(WaitForCamera(*clients_[0], link.cameraAddress));
  std::string address = tsSocketAddress::Text(link.cameraAddress);
  std::string report =
      Output("timeout -s INT 3 stdbuf -oL arv-camera-test-0.8 -n " + address + " 2>&1");
  EXPECT_NE(report.find("n_failures             = 0\n"), std::string::npos) << report;
  size_t completed = report.find("n_completed_buffers    = ");
  ASSERT_NE(completed, std::string::npos) << report;
  EXPECT_GE(std::stoi(report.substr(completed + 25)), 20) << report;
  size_t resent = report.find("n_resent_packets       = ");
  ASSERT_NE(resent, std::string::npos) << report;
  EXPECT_GT(std::stoi(report.substr(resent + 25)), 0) << report;
}

}  // namespace

namespace {

// GevSCPD spaces the packets of a frame: the 1 + 17 + 1 packets of a 4096-byte frame in
// 280-byte packets, 200 µs apart, take at least 18 x 200 µs from the first to the last.
TEST_F(GevStream, PacketDelaySpacesThePacketsOfAFrame) {
  ASSERT_TRUE(Connect());
  Configure(280);
  ASSERT_EQ(Write(0x0D08, 200000), 0);  // ticks of the 1 GHz time stamp clock
  ASSERT_EQ(Write(0x1001C, 1), 0);
  tsPacket leader;
  while (leader.format != 1) {
    leader = Receive(2000);
    ASSERT_NE(leader.size, 0u) << "no leader";
  }
  tsPacket packet;
  while (packet.format != 2) {
    packet = Receive(1000);
    ASSERT_NE(packet.size, 0u) << "frame incomplete";
  }
  ASSERT_NE(leader.arrivalNs, 0u);
  uint64_t spread = packet.arrivalNs - leader.arrivalNs;
  ASSERT_EQ(Write(0x10020, 1), 0);
  EXPECT_GE(spread, 18u * 200000u * 9 / 10) << spread << " ns";
  DrainStream();
}

}  // namespace

// tcPortGEV against a scripted camera on the network bench: request ids, packet resend
// commands, and the heartbeat's end.
#include "gev/tcPortGEV.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "support/FakeGvcpCamera.h"
#include "support/PrivateNetwork.h"
#include "tcNetBench.h"

using namespace GenTL;

namespace {

class PortGEVUnit : public ::testing::Test {
 protected:
  void SetUp() override {
    ENTER_PRIVATE_NETWORK_OR_SKIP();
    camera_.logPath = "/tmp/gev-port-" + std::to_string(getpid()) + ".log";
    unlink(camera_.logPath.c_str());
    // Register 0x4000 reads as the request id of the command.
    camera_.script = [](const tsFakeCommand& command, uint32_t, tfFakeDatagrams* replies) {
      if (command.code != 0x0080 || command.address != 0x4000) return false;
      replies->push_back(FakeAck(0, 0x0081, command.id, FakeWords({command.id})));
      return true;
    };
    tsFakeCamera camera = camera_;
    ASSERT_EQ(bench_.AddCamera([camera] { return tcFakeGvcpCamera(camera).Run(); }, 1500, &link_),
              "");
    port_ = std::make_unique<tcPortGEV>("FakeCam:FAKE1");
    ASSERT_TRUE(WaitForGvcpCamera(link_.hostAddress, link_.cameraAddress));
    ASSERT_EQ(port_->Connect(link_.cameraAddress, link_.hostAddress), GC_ERR_SUCCESS);
  }
  void TearDown() override {
    port_.reset();
    unlink(camera_.logPath.c_str());
  }

  uint32_t ReadId() {
    uint32_t value = 0;
    EXPECT_EQ(port_->ReadReg(0x4000, &value), GC_ERR_SUCCESS);
    return ntohl(value);
  }

  // The camera's commands with the given code, without their ids.
  std::vector<std::string> Commands(const std::string& code) {
    std::vector<std::string> lines;
    for (const std::string& line : tcFakeGvcpCamera::Commands(camera_.logPath))
      if (line.rfind(code, 0) == 0) lines.push_back(line);
    return lines;
  }

  tsFakeCamera camera_;
  tcNetBench bench_;
  tsBenchLink link_;
  std::unique_ptr<tcPortGEV> port_;
};

TEST_F(PortGEVUnit, RequestId0xFFFFIsFollowedBy1) {
  port_->SetLastRequestId(0xFFFD);
  EXPECT_EQ(ReadId(), 0xFFFEu);
  EXPECT_EQ(ReadId(), 0xFFFFu);
  EXPECT_EQ(ReadId(), 1u);
  EXPECT_EQ(ReadId(), 2u);
}

TEST(PortGEVNames, CapabilityNamesInTheirOrder) {
  auto names = tcPortGEV::CapabilityNames();
  ASSERT_EQ(names.size(), 22u);
  EXPECT_EQ(names[0].mask, 0x80000000u);
  EXPECT_STREQ(names[0].name, "user_defined_name");
  EXPECT_EQ(names[5].mask, 0x04000000u);
  EXPECT_STREQ(names[5].name, "manifest_table");
  EXPECT_EQ(names[14].mask, 0x00020000u);
  EXPECT_STREQ(names[14].name, "scheduled_action_command");
  EXPECT_EQ(names[15].mask, 0x40u);
  EXPECT_STREQ(names[15].name, "ACTION (A)");
  EXPECT_EQ(names[21].mask, 0x01u);
  EXPECT_STREQ(names[21].name, "concatenation (C)");
}

TEST_F(PortGEVUnit, AddressesAndCapability) {
  EXPECT_EQ(port_->CameraAddress(), link_.cameraAddress);
  EXPECT_EQ(port_->LocalAddress(), link_.hostAddress);
  EXPECT_EQ(port_->Capability(), 0u);  // the fake camera offers nothing
  EXPECT_EQ(port_->Connect(link_.cameraAddress, link_.hostAddress), GC_ERR_RESOURCE_IN_USE);
}

TEST_F(PortGEVUnit, ResendRangesStandardIds) {
  ASSERT_EQ(port_->SendPacketResend(0x1234, false, {3, 4, 5, 9, 11, 12}), GC_ERR_SUCCESS);
  ReadId();  // the commands have arrived once this answer is back
  EXPECT_EQ(Commands("0x0040"), (std::vector<std::string>{
                                    "0x0040 0x00 0x00001234 0x00000003 0x00000005",
                                    "0x0040 0x00 0x00001234 0x00000009 0x00000009",
                                    "0x0040 0x00 0x00001234 0x0000000b 0x0000000c",
                                }));
}

TEST_F(PortGEVUnit, ResendRangesExtendedIds) {
  ASSERT_EQ(port_->SendPacketResend(0x0102030405060708, true, {7, 8}), GC_ERR_SUCCESS);
  ReadId();
  EXPECT_EQ(Commands("0x0040"),
            (std::vector<std::string>{
                "0x0040 0x10 0x00000000 0x00000007 0x00000008 0x01020304 0x05060708"}));
}

TEST_F(PortGEVUnit, ResendDoesNotWaitForAnExchangeInFlight) {
  std::thread reader([&] {
    tcMutexLock lock(port_->AccessMutex());  // as a register access in flight holds it
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(port_->SendPacketResend(1, false, {1}), GC_ERR_SUCCESS);
  double ms =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  reader.join();
  EXPECT_LT(ms, 50.0);
}

TEST_F(PortGEVUnit, TheHeartbeatReadsThePrivilegeAndEndsAtOnce) {
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  auto start = std::chrono::steady_clock::now();
  port_.reset();
  double ms =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  EXPECT_LT(ms, 100.0);
  std::vector<std::string> reads = Commands("0x0080 0x01 0x00000a00");
  EXPECT_EQ(reads.size(), 1u);
  EXPECT_EQ(Commands("0x0082 0x01 0x00000a00"),
            (std::vector<std::string>{"0x0082 0x01 0x00000a00 0x00000002",
                                      "0x0082 0x01 0x00000a00 0x00000000"}));
}

}  // namespace

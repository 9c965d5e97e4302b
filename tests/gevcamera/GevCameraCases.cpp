// gev-camera's control protocol without a network: every command, its acknowledge and its
// status codes, privilege and heartbeat.
#include "tcGevCamera.h"

#include <gtest/gtest.h>

#include <array>

#include "GvcpMessages.h"
#include "tcGevRegisters.h"

namespace {

constexpr tsSocketAddress kApp{0x0A000001, 50000};
constexpr tsSocketAddress kOther{0x0A000001, 50001};
constexpr uint32_t kLocal = 0x0A000002;
constexpr uint64_t kMs = 1000000;

class GevCamera : public ::testing::Test {
 protected:
  tsAck Send(const std::vector<std::byte>& command, const tsSocketAddress& from = kApp,
             uint64_t nowNs = 0) {
    std::array<std::byte, tcGevCamera::kMaxReply> reply{};
    size_t length = camera_->Handle(command, from, kLocal, 0xFFFFFFFC, nowNs, reply);
    lastLength_ = length;
    return ParseAck(std::span(reply).first(length));
  }
  uint16_t TakeControl(const tsSocketAddress& from = kApp, uint32_t value = 2) {
    return Send(Command(0x0082, 7, {0x0A00, value}), from).status;
  }

  tsGevCameraOptions options_;
  std::unique_ptr<tcGevCamera> camera_ = std::make_unique<tcGevCamera>(options_);
  size_t lastLength_ = 0;
};

TEST_F(GevCamera, DiscoveryAnswersWithTheRecord) {
  tsAck ack = Send(Command(0x0002, 0x1234, {}));
  EXPECT_EQ(ack.size, 256u);
  EXPECT_EQ(ack.status, 0);
  EXPECT_EQ(ack.answer, 0x0003);
  EXPECT_EQ(ack.length, 248);
  EXPECT_EQ(ack.id, 0x1234);
  EXPECT_EQ(ack.Word(0x00), 0x00020000u);  // version 2.0
  EXPECT_EQ(ack.Word(0x04), 0x80000001u);  // big-endian transmitter, UTF-8
  EXPECT_EQ(ack.Word(0x08), 0x00000247u);  // MAC 02:47:56 and the address's low 24 bits
  EXPECT_EQ(ack.Word(0x0C), 0x56000002u);
  EXPECT_EQ(ack.Word(0x24), kLocal);
  EXPECT_EQ(ack.Word(0x34), 0xFFFFFFFCu);
  EXPECT_EQ(ack.Text(0x48, 32), "GenTL Project");
  EXPECT_EQ(ack.Text(0x68, 32), "GEV-Emulator");
  EXPECT_EQ(ack.Text(0xD8, 16), "GEV0001");
}

TEST_F(GevCamera, SilentCameraIgnoresDiscovery) {
  options_.silent = true;
  camera_ = std::make_unique<tcGevCamera>(options_);
  Send(Command(0x0002, 1, {}));
  EXPECT_EQ(lastLength_, 0u);
}

TEST_F(GevCamera, NotGvcpIsIgnored) {
  std::vector<std::byte> bad = Command(0x0080, 1, {0});
  bad[0] = std::byte{0x43};
  Send(bad);
  EXPECT_EQ(lastLength_, 0u);
  Send(std::vector<std::byte>(5));
  EXPECT_EQ(lastLength_, 0u);
}

TEST_F(GevCamera, ReadRegisterGivesTheValue) {
  tsAck ack = Send(Command(0x0080, 2, {0x0934}));
  EXPECT_EQ(ack.size, 12u);
  EXPECT_EQ(ack.status, 0);
  EXPECT_EQ(ack.answer, 0x0081);
  EXPECT_EQ(ack.length, 4);
  EXPECT_EQ(ack.id, 2);
  EXPECT_EQ(ack.Word(0), 0xC0400006u);  // names, resend, extended status, WRITEMEM
}

TEST_F(GevCamera, ReadOfSeveralRegisters) {
  tsAck ack = Send(Command(0x0080, 3, {0x0904, 0x0938, 0x10000}));
  EXPECT_EQ(ack.length, 12);
  EXPECT_EQ(ack.Word(0), 1u);
  EXPECT_EQ(ack.Word(4), 3000u);
  EXPECT_EQ(ack.Word(8), 640u);
}

TEST_F(GevCamera, ReadOfAMissingRegisterIsInvalidAddressWithAFullAcknowledge) {
  tsAck ack = Send(Command(0x0080, 4, {0x0800}));
  EXPECT_EQ(ack.size, 12u);
  EXPECT_EQ(ack.status, 0x8003);
  EXPECT_EQ(ack.Word(0), 0u);
}

TEST_F(GevCamera, UnalignedRegisterIsBadAlignment) {
  EXPECT_EQ(Send(Command(0x0080, 5, {0x0936})).status, 0x8005);
}

TEST_F(GevCamera, WriteWithoutPrivilegeIsAccessDenied) {
  tsAck ack = Send(Command(0x0082, 6, {0x10000, 320}));
  EXPECT_EQ(ack.size, 12u);
  EXPECT_EQ(ack.status, 0x8006);
  EXPECT_EQ(ack.answer, 0x0083);
  EXPECT_EQ(ack.Word(0), 0u);  // no register written
  EXPECT_EQ(camera_->Register(tcGevRegisters::kWidth), 640u);
}

TEST_F(GevCamera, ControlPrivilegeAllowsWritesAndUpdatesThePayloadSize) {
  ASSERT_EQ(TakeControl(), 0);
  EXPECT_EQ(camera_->Owner(), kApp);
  EXPECT_EQ(camera_->Privilege(), 2u);
  tsAck ack = Send(Command(0x0082, 8, {0x10000, 320, 0x10004, 200}));
  EXPECT_EQ(ack.status, 0);
  EXPECT_EQ(ack.Word(0), 2u);  // two registers written
  EXPECT_EQ(Send(Command(0x0080, 9, {0x10014})).Word(0), 320u * 200u);
  ASSERT_EQ(Send(Command(0x0082, 10, {0x10010, 0x01100007})).status, 0);  // Mono16
  EXPECT_EQ(Send(Command(0x0080, 11, {0x10014})).Word(0), 2u * 320u * 200u);
}

TEST_F(GevCamera, WritesAreCheckedAndStopAtTheFirstFailure) {
  ASSERT_EQ(TakeControl(), 0);
  EXPECT_EQ(Send(Command(0x0082, 12, {0x0000, 1})).status, 0x8004);  // read-only
  EXPECT_EQ(Send(Command(0x0082, 13, {0x0800, 1})).status, 0x8003);
  EXPECT_EQ(Send(Command(0x0082, 14, {0x0A02, 1})).status, 0x8005);
  tsAck ack = Send(Command(0x0082, 15, {0x10004, 100, 0x10000, 100000, 0x10008, 4}));
  EXPECT_EQ(ack.status, 0x8002);  // a width beyond the sensor
  EXPECT_EQ(ack.Word(0), 1u);
  EXPECT_EQ(camera_->Register(tcGevRegisters::kHeight), 100u);
  EXPECT_EQ(camera_->Register(tcGevRegisters::kOffsetX), 0u);
  EXPECT_EQ(Send(Command(0x0082, 16, {0x10010, 0x12345678})).status, 0x8002);
}

TEST_F(GevCamera, AnotherApplicationCannotTakeOrUseThePrivilege) {
  ASSERT_EQ(TakeControl(), 0);
  EXPECT_EQ(TakeControl(kOther), 0x8006);
  EXPECT_EQ(Send(Command(0x0082, 17, {0x10000, 320}), kOther).status, 0x8006);
  EXPECT_EQ(Send(Command(0x0082, 18, {0x0A00, 0}), kOther).status, 0x8006);
  // Control access lets others read.
  EXPECT_EQ(Send(Command(0x0080, 19, {0x10000}), kOther).status, 0);
  EXPECT_EQ(camera_->Owner(), kApp);
}

TEST_F(GevCamera, ExclusiveAccessRefusesReadsOfOthers) {
  ASSERT_EQ(TakeControl(kApp, 1), 0);
  EXPECT_EQ(Send(Command(0x0080, 20, {0x10000}), kOther).status, 0x8006);
  EXPECT_EQ(Send(ReadMem(21, 0x0200, 64), kOther).status, 0x8006);
  EXPECT_EQ(Send(Command(0x0080, 22, {0x10000})).status, 0);
}

TEST_F(GevCamera, ReleaseLetsAnotherApplicationTakeControl) {
  ASSERT_EQ(TakeControl(), 0);
  EXPECT_EQ(Send(Command(0x0082, 23, {0x0A00, 0})).status, 0);
  EXPECT_EQ(camera_->Owner(), tsSocketAddress{});
  EXPECT_EQ(camera_->Privilege(), 0u);
  EXPECT_EQ(TakeControl(kOther), 0);
  EXPECT_EQ(camera_->Owner(), kOther);
}

TEST_F(GevCamera, HeartbeatTimeoutDropsThePrivilege) {
  ASSERT_EQ(Send(Command(0x0082, 24, {0x0A00, 2}), kApp, 0).status, 0);
  ASSERT_EQ(Send(Command(0x0082, 25, {0x0938, 1000}), kApp, 500 * kMs).status, 0);
  // Any command of the owner counts as a heartbeat.
  ASSERT_EQ(Send(Command(0x0080, 26, {0x0A00}), kApp, 1400 * kMs).Word(0), 2u);
  camera_->Expire(2400 * kMs);
  EXPECT_EQ(camera_->Owner(), kApp);
  camera_->Expire(2401 * kMs);
  EXPECT_EQ(camera_->Owner(), tsSocketAddress{});
  EXPECT_EQ(camera_->Privilege(), 0u);
  EXPECT_EQ(Send(Command(0x0082, 27, {0x10000, 320}), kApp, 2402 * kMs).status, 0x8006);
}

TEST_F(GevCamera, TakingThePrivilegeStartsItsHeartbeatClock) {
  ASSERT_EQ(Send(Command(0x0082, 56, {0x0A00, 2}), kApp, 60000 * kMs).status, 0);
  EXPECT_EQ(Send(Command(0x0082, 57, {0x10000, 320}), kApp, 60001 * kMs).status, 0);
  EXPECT_EQ(camera_->Owner(), kApp);
}

TEST_F(GevCamera, ReadMemoryGivesTheFirstUrlAndTheDescription) {
  tsAck ack = Send(ReadMem(28, 0x0200, 512));
  ASSERT_EQ(ack.size, 12u + 512u);
  EXPECT_EQ(ack.status, 0);
  EXPECT_EQ(ack.answer, 0x0085);
  EXPECT_EQ(ack.length, 516);
  EXPECT_EQ(ack.Word(0), 0x0200u);
  std::string url = ack.Text(4, 512);
  ASSERT_EQ(url.rfind("Local:gev-camera.xml;20000;", 0), 0u) << url;
  size_t size = std::stoul(url.substr(url.rfind(';') + 1), nullptr, 16);
  EXPECT_GT(size, 1000u);
  ack = Send(ReadMem(29, 0x20000, 40));
  EXPECT_EQ(ack.Text(4, 39), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n");
  // The last chunk may run past the end of the text by up to 3 bytes.
  uint32_t last = static_cast<uint32_t>((size - 1) & ~size_t{3});
  EXPECT_EQ(Send(ReadMem(30, 0x20000 + last, 4)).status, 0);
  EXPECT_EQ(Send(ReadMem(31, 0x20000 + last + 4, 4)).status, 0x8003);
}

TEST_F(GevCamera, ReadMemoryChecksCountAndAlignment) {
  tsAck ack = Send(ReadMem(32, 0x0200, 540));
  EXPECT_EQ(ack.status, 0x8002);
  EXPECT_EQ(ack.size, 12u);
  EXPECT_EQ(Send(ReadMem(33, 0x0200, 6)).status, 0x8002);
  EXPECT_EQ(Send(ReadMem(34, 0x0200, 0)).status, 0x8002);
  ack = Send(ReadMem(35, 0x0202, 8));
  EXPECT_EQ(ack.status, 0x8005);
  EXPECT_EQ(ack.size, 20u);  // a full acknowledge, data zeroed
  EXPECT_EQ(Send(ReadMem(36, 0x7000, 8)).status, 0x8003);
  EXPECT_EQ(Send(ReadMem(37, 0x0200, 536)).status, 0);
}

TEST_F(GevCamera, WriteMemoryOfAnyLengthNeedsThePrivilege) {
  EXPECT_EQ(Send(WriteMem(38, 0x00E8, "lab camera")).status, 0x8006);
  ASSERT_EQ(TakeControl(), 0);
  tsAck ack = Send(WriteMem(39, 0x00E8, "lab camera"));
  EXPECT_EQ(ack.size, 12u);
  EXPECT_EQ(ack.status, 0);
  EXPECT_EQ(ack.answer, 0x0087);
  EXPECT_EQ(ack.Word(0), 10u);  // bytes written
  EXPECT_EQ(Send(ReadMem(40, 0x00E8, 16)).Text(4, 16), "lab camera");
  EXPECT_EQ(Send(WriteMem(41, 0x0048, "vendor")).status, 0x8004);
  EXPECT_EQ(Send(WriteMem(42, 0x00E9, "x")).status, 0x8005);
  EXPECT_EQ(Send(WriteMem(43, 0x00F4, "too long for the field")).status, 0x8003);
}

TEST_F(GevCamera, WriteMemoryOfThePrivilegeRegisterTakesControl) {
  std::string two("\0\0\0\2", 4);
  EXPECT_EQ(Send(WriteMem(44, 0x0A00, two)).status, 0);
  EXPECT_EQ(camera_->Owner(), kApp);
}

TEST_F(GevCamera, UnknownCommandIsNotImplemented) {
  tsAck ack = Send(Command(0x0004, 45, {}));
  EXPECT_EQ(ack.size, 8u);
  EXPECT_EQ(ack.status, 0x8001);
  EXPECT_EQ(ack.answer, 0x0005);
  EXPECT_EQ(ack.id, 45);
}

TEST_F(GevCamera, ALengthBeyondTheDatagramIsAnInvalidHeader) {
  std::vector<std::byte> command = Command(0x0080, 46, {0x0000});
  command[5] = std::byte{8};
  EXPECT_EQ(Send(command).status, 0x800E);
}

TEST_F(GevCamera, WithoutTheAcknowledgeFlagACommandRunsSilently) {
  ASSERT_EQ(TakeControl(), 0);
  Send(Command(0x0082, 47, {0x10000, 320}, 0x00));
  EXPECT_EQ(lastLength_, 0u);
  EXPECT_EQ(camera_->Register(tcGevRegisters::kWidth), 320u);
}

TEST_F(GevCamera, PacketResendIsNeverAcknowledged) {
  Send(Command(0x0040, 48, {0, 1, 1}));
  EXPECT_EQ(lastLength_, 0u);
}

TEST_F(GevCamera, ManifestTableWhenAsked) {
  EXPECT_EQ(Send(ReadMem(49, 0x9000, 8)).status, 0x8003);
  options_.manifest = true;
  camera_ = std::make_unique<tcGevCamera>(options_);
  EXPECT_EQ(Send(Command(0x0080, 50, {0x0934})).Word(0) & 0x04000000u, 0x04000000u);
  tsAck ack = Send(ReadMem(51, 0x9000, 16));
  EXPECT_EQ(ack.status, 0);
  EXPECT_EQ(ack.Word(4), 0x04000001u);  // one entry, in the top and the low 6 bits
  EXPECT_EQ(ack.Word(8), 1u);
  EXPECT_EQ(ack.Word(12), 1u | 1u << 18 | 1u << 24);  // file 1.0.0, schema 1.1
  EXPECT_EQ(ack.Word(16), 0x0200u);                   // its URL register
}

TEST_F(GevCamera, VersionOneOffersNoExtendedIds) {
  EXPECT_EQ(Send(Command(0x0080, 52, {0x092C})).Word(0), 0xC0000000u);
  options_.versionMajor = 1;
  options_.versionMinor = 1;
  options_.resend = false;
  camera_ = std::make_unique<tcGevCamera>(options_);
  EXPECT_EQ(Send(Command(0x0080, 53, {0x0000})).Word(0), 0x00010001u);
  EXPECT_EQ(Send(Command(0x0080, 54, {0x092C})).Word(0), 0x80000000u);
  EXPECT_EQ(Send(Command(0x0080, 55, {0x0934})).Word(0), 0xC0000002u);
}

}  // namespace

namespace {

// Every status a client maps can be provoked: an access covering a refused address gets it.
TEST_F(GevCamera, RefusedAddressesAnswerTheirStatusInEveryAccess) {
  const uint16_t statuses[] = {0x8001, 0x8002, 0x8003, 0x8004, 0x8005, 0x8006,
                               0x8007, 0x800C, 0x800D, 0x800E, 0x8016};
  for (uint16_t status : statuses) {
    options_.refusals = {{0x0240, status}, {0x10004, status}};
    camera_ = std::make_unique<tcGevCamera>(options_);
    ASSERT_EQ(TakeControl(), 0);
    EXPECT_EQ(Send(Command(0x0080, 60, {0x0240})).status, status);  // in first_url
    EXPECT_EQ(Send(ReadMem(61, 0x0230, 32)).status, status);        // covers 0x0240
    EXPECT_EQ(Send(ReadMem(62, 0x0200, 64)).status, 0);             // ends before it
    EXPECT_EQ(Send(Command(0x0082, 63, {0x10004, 480})).status, status);
    EXPECT_EQ(Send(WriteMem(64, 0x10004, "abcd")).status, status);
    EXPECT_EQ(Send(Command(0x0080, 65, {0x10000})).status, 0);
  }
}

}  // namespace

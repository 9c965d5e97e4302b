// GenCP with the emulated camera over libusb bulk transfers: ABRM, SBRM, manifest and
// description reads, writes, statuses on demand and pending acknowledges.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <thread>

#include "tcU3vCameraBench.h"
#include "tcU3vHost.h"
#include "tcU3vRegisters.h"

namespace {

using R = tcU3vRegisters;

std::string Text(const std::vector<uint8_t>& bytes) {
  return std::string(reinterpret_cast<const char*>(bytes.data()),
                     strnlen(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

uint64_t Load64(const std::vector<uint8_t>& bytes, size_t offset) {
  uint64_t value = 0;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

class U3vGenCp : public ::testing::Test {
 protected:
  void Start(const tsU3vCameraOptions& options = {}) {
    bench_.AddCamera(options);
    host_ = std::make_unique<tcU3vHost>();
    ASSERT_TRUE(host_->Open());
  }
  tcU3vCameraBench bench_;
  std::unique_ptr<tcU3vHost> host_;
};

TEST_F(U3vGenCp, ReadMemAnswersExactlyTheBytesAskedFor) {
  Start();
  host_->nextRequestId = 0x1234;
  tsGenCpAck ack = host_->ReadMem(R::kManufacturerName, 64);
  EXPECT_EQ(ack.transferred, 12 + 64);
  EXPECT_EQ(ack.prefix, 0x43563355u);
  EXPECT_EQ(ack.status, 0);
  EXPECT_EQ(ack.commandId, 0x0801);
  EXPECT_EQ(ack.scdLength, 64);
  EXPECT_EQ(ack.requestId, 0x1234);
  EXPECT_EQ(Text(ack.scd), "GenTL Project");
  EXPECT_EQ(bench_.Camera(0).LastRequestId(), 0x1234);
  EXPECT_EQ(bench_.Camera(0).CommandsReceived(), 1u);
}

TEST_F(U3vGenCp, AbrmAndSbrmLeadToTheirRegisters) {
  tsU3vCameraOptions options;
  options.maxCommandLength = 0x400;
  options.maxAckLength = 0x10000;
  options.maxResponseTimeMs = 350;
  Start(options);
  EXPECT_EQ(host_->Read32(R::kGenCpVersion), 0x00010000u);
  EXPECT_EQ(Text(host_->ReadMem(R::kModelName, 64).scd), "U3V-Emulator");
  EXPECT_EQ(Text(host_->ReadMem(R::kSerialNumber, 64).scd), "U3V0001");
  EXPECT_EQ(host_->Read32(R::kMaxResponseTime), 350u);
  EXPECT_EQ(host_->Read64(R::kDeviceCapability), 0xB01u);
  const uint64_t sbrm = host_->Read64(R::kSbrmAddress);
  EXPECT_EQ(sbrm, 0x10000u);
  EXPECT_EQ(host_->Read32(sbrm + 0x00), 0x00010000u);
  EXPECT_EQ(host_->Read32(sbrm + 0x14), 0x400u);
  EXPECT_EQ(host_->Read32(sbrm + 0x18), 0x10000u);
  EXPECT_EQ(host_->Read32(sbrm + 0x1C), 1u);
  EXPECT_EQ(host_->Read64(sbrm + 0x20), 0x20000u);
  EXPECT_EQ(host_->Read32(sbrm + 0x28), 0x30u);
  EXPECT_EQ(host_->Read64(sbrm + 0x2C), 0x30000u);
  EXPECT_EQ(host_->Read32(0x20000 + 0x10), 52u);
  EXPECT_EQ(host_->Read32(0x20000 + 0x14), 32u);
  EXPECT_EQ(host_->Read64(0x20000 + 0x08), 640u * 480u);
}

TEST_F(U3vGenCp, ManifestNamesTheDescriptionInMemory) {
  Start();
  const uint64_t manifest = host_->Read64(R::kManifestAddress);
  EXPECT_EQ(host_->Read64(manifest), 1u);
  tsGenCpAck entry = host_->ReadMem(manifest + 8, 64);
  ASSERT_EQ(entry.scd.size(), 64u);
  EXPECT_EQ(Load64(entry.scd, 0) & 0xFFFFFFFF, 0x01000000u);  // file version 1.0.0
  EXPECT_EQ(Load64(entry.scd, 0) >> 32, 0x01000000u);         // schema 1.0, XML, device
  const uint64_t address = Load64(entry.scd, 8);
  const uint64_t size = Load64(entry.scd, 16);
  const std::string xml = tcU3vRegisters({}).Xml();
  EXPECT_EQ(address, 0x100000u);
  EXPECT_EQ(size, xml.size());
  std::string read;
  for (uint64_t done = 0; done < size; done += 492) {
    tsGenCpAck piece =
        host_->ReadMem(address + done, static_cast<uint16_t>(std::min<uint64_t>(492, size - done)));
    ASSERT_EQ(piece.status, 0);
    read += std::string(piece.scd.begin(), piece.scd.end());
  }
  EXPECT_EQ(read, xml);
}

TEST_F(U3vGenCp, ManifestEntryCountFollowsTheOption) {
  tsU3vCameraOptions options;
  options.manifestEntries = 0;
  bench_.AddCamera(options);
  options.manifestEntries = 3;
  options.productId = 2;
  bench_.AddCamera(options);
  tcU3vHost host;
  ASSERT_TRUE(host.OpenProduct(1));
  EXPECT_EQ(host.Read64(host.Read64(R::kManifestAddress)), 0u);
  EXPECT_EQ(host.ReadMem(R::kManifest + 8, 8).status, 0x8003);
  tcU3vHost second;
  ASSERT_TRUE(second.OpenProduct(2));
  EXPECT_EQ(second.Read64(R::kManifest), 3u);
  EXPECT_EQ(second.Read64(R::kManifest + 8 + 2 * 64 + 8), 0x100000u);
}

TEST_F(U3vGenCp, WriteMemAcknowledgesWithSixteenBytes) {
  Start();
  host_->nextRequestId = 7;
  tsGenCpAck ack = host_->WriteMem32(R::kWidth, 320);
  EXPECT_EQ(ack.transferred, 16);
  EXPECT_EQ(ack.status, 0);
  EXPECT_EQ(ack.commandId, 0x0803);
  EXPECT_EQ(ack.scdLength, 4);
  EXPECT_EQ(ack.requestId, 7);
  EXPECT_EQ(ack.scd, (std::vector<uint8_t>{0, 0, 4, 0}));
  EXPECT_EQ(host_->Read32(R::kWidth), 320u);
  EXPECT_EQ(host_->Read32(R::kPayloadSize), 320u * 480u);
  EXPECT_EQ(host_->Read64(R::kSiRequiredPayloadSize), 320u * 480u);
}

TEST_F(U3vGenCp, TimestampLatchTakesTheCameraClock) {
  Start();
  EXPECT_EQ(host_->Read64(R::kTimestamp), 0u);
  ASSERT_EQ(host_->WriteMem32(R::kTimestampLatch, 1).status, 0);
  const uint64_t first = host_->Read64(R::kTimestamp);
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  ASSERT_EQ(host_->WriteMem32(R::kTimestampLatch, 1).status, 0);
  const uint64_t second = host_->Read64(R::kTimestamp);
  EXPECT_GT(first, 0u);
  EXPECT_GE(second - first, 20000000u);  // nanoseconds
  EXPECT_EQ(host_->Read64(R::kTimestampIncrement), 1u);
}

TEST_F(U3vGenCp, BadAccessesAnswerTheirStatus) {
  Start();
  tsGenCpAck ack = host_->ReadMem(0x9000, 4);
  EXPECT_EQ(ack.transferred, 12);
  EXPECT_EQ(ack.status, 0x8003);
  EXPECT_EQ(ack.scdLength, 0);
  ack = host_->WriteMem32(R::kSerialNumber, 1);
  EXPECT_EQ(ack.transferred, 16);
  EXPECT_EQ(ack.status, 0x8004);
  EXPECT_EQ(host_->WriteMem32(R::kWidth, 17).status, 0x8002);
  EXPECT_EQ(host_->ReadMem(0, 0x200 - 11).status, 0x8002);  // more than an acknowledge holds
  EXPECT_EQ(host_->ReadMem(0, 0x200 - 12).status, 0);
}

TEST_F(U3vGenCp, EveryStatusOnDemand) {
  Start();
  for (uint16_t status :
       {0x8001, 0x8002, 0x8003, 0x8004, 0x8005, 0x8006, 0x8007, 0x800B, 0x800E, 0x800F, 0x8FFF}) {
    bench_.Camera(0).Refuse(R::kHeight, status);
    EXPECT_EQ(host_->ReadMem(R::kWidth, 8).status, status);
    EXPECT_EQ(host_->WriteMem32(R::kHeight, 100).status, status);
  }
  bench_.Camera(0).Refuse(R::kHeight, 0);
  EXPECT_EQ(host_->ReadMem(R::kWidth, 8).status, 0);
  EXPECT_EQ(host_->ReadMem(R::kWidth, 4).status, 0);  // does not cover the refused address
}

TEST_F(U3vGenCp, PendingAckComesFirstThenTheAnswer) {
  Start();
  bench_.Camera(0).PendNext(1, 5000, 150);
  host_->nextRequestId = 0x55;
  auto start = std::chrono::steady_clock::now();
  tsGenCpAck pending = host_->ReadMem(R::kWidth, 4);
  EXPECT_EQ(pending.transferred, 16);
  EXPECT_EQ(pending.status, 0);
  EXPECT_EQ(pending.commandId, 0x0805);
  EXPECT_EQ(pending.scdLength, 4);
  EXPECT_EQ(pending.requestId, 0x55);
  EXPECT_EQ(pending.scd, (std::vector<uint8_t>{0, 0, 0x88, 0x13}));  // 5000 ms
  tsGenCpAck ack = host_->ReceiveAck();
  auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(ack.commandId, 0x0801);
  EXPECT_EQ(ack.requestId, 0x55);
  EXPECT_EQ(ack.scd, (std::vector<uint8_t>{0x80, 0x02, 0, 0}));  // 640
  EXPECT_GE(waited, std::chrono::milliseconds(150));
  EXPECT_EQ(host_->ReadMem(R::kWidth, 4).commandId, 0x0801);  // only the next command
}

}  // namespace

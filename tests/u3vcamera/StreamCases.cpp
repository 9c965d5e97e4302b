// The emulated camera's streaming endpoint as the host programs it through the SIRM: leader,
// payload transfers of a test pattern with the block id in its first bytes, trailer, and the
// faults on demand (trailer status, failed and short transfers, endpoint halt).
#include <gtest/gtest.h>

#include <cstring>

#include "sim/PatternGenerators.h"
#include "tcU3vCameraBench.h"
#include "tcU3vHost.h"
#include "tcU3vRegisters.h"

namespace {

using R = tcU3vRegisters;
constexpr uint8_t kStream = 0x83;

template <typename T>
T Load(const std::vector<uint8_t>& bytes, size_t offset) {
  T value{};
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

struct tsReceived {
  int result = 0;
  std::vector<uint8_t> bytes;
};

class U3vStream : public ::testing::Test {
 protected:
  // A 100 x 30 Mono8 camera: payload 3000 bytes, sent as 2048 + a final transfer of 952 that
  // the host asks for as 1024.
  void Start(uint32_t transferSize = 2048, uint32_t count = 1, uint32_t final1 = 1024,
             uint32_t final2 = 0) {
    tsU3vCameraOptions options;
    options.width = 100;
    options.height = 30;
    bench_.AddCamera(options);
    host_ = std::make_unique<tcU3vHost>();
    ASSERT_TRUE(host_->Open());
    ASSERT_EQ(libusb_claim_interface(host_->Handle(), 2), 0);
    for (auto [address, value] : {std::pair{R::kSiMaxLeaderSize, 52u},
                                  {R::kSiMaxTrailerSize, 32u},
                                  {R::kSiPayloadTransferSize, transferSize},
                                  {R::kSiPayloadTransferCount, count},
                                  {R::kSiFinalTransfer1Size, final1},
                                  {R::kSiFinalTransfer2Size, final2},
                                  {R::kAcquisitionStart, 1u},
                                  {R::kSiControl, 1u}}) {
      ASSERT_EQ(host_->WriteMem32(address, value).status, 0);
    }
  }
  tsReceived Receive(size_t capacity, unsigned timeoutMs = 2000) {
    tsReceived received;
    received.bytes.resize(capacity);
    int transferred = 0;
    received.result = libusb_bulk_transfer(host_->Handle(), kStream, received.bytes.data(),
                                           static_cast<int>(capacity), &transferred, timeoutMs);
    received.bytes.resize(static_cast<size_t>(transferred));
    return received;
  }
  std::vector<uint8_t> Expected(uint64_t blockId) {
    tsPatternParams params;
    params.pixelFormat = 0x01080001;
    params.width = params.sensorWidth = 100;
    params.height = params.sensorHeight = 30;
    params.frameId = blockId;
    std::vector<uint8_t> image(3000);
    MakePatternGenerators()[kPatternHorizontalRamp]->Draw(params, image.data(), image.size());
    std::memcpy(image.data(), &blockId, sizeof blockId);
    return image;
  }

  tcU3vCameraBench bench_;
  std::unique_ptr<tcU3vHost> host_;
};

TEST_F(U3vStream, FrameIsLeaderPayloadAndTrailer) {
  Start();
  tsReceived leader = Receive(52);
  ASSERT_EQ(leader.result, 0);
  ASSERT_EQ(leader.bytes.size(), 52u);
  EXPECT_EQ(Load<uint32_t>(leader.bytes, 0), 0x4C563355u);
  EXPECT_EQ(Load<uint16_t>(leader.bytes, 6), 52);
  EXPECT_EQ(Load<uint64_t>(leader.bytes, 8), 0u);
  EXPECT_EQ(Load<uint16_t>(leader.bytes, 18), 1);
  EXPECT_EQ(Load<uint32_t>(leader.bytes, 28), 0x01080001u);
  EXPECT_EQ(Load<uint32_t>(leader.bytes, 32), 100u);
  EXPECT_EQ(Load<uint32_t>(leader.bytes, 36), 30u);
  EXPECT_EQ(Load<uint32_t>(leader.bytes, 40), 0u);
  EXPECT_EQ(Load<uint32_t>(leader.bytes, 44), 0u);
  tsReceived payload = Receive(2048);
  tsReceived final1 = Receive(1024);
  EXPECT_EQ(payload.bytes.size(), 2048u);
  EXPECT_EQ(final1.bytes.size(), 952u);
  payload.bytes.insert(payload.bytes.end(), final1.bytes.begin(), final1.bytes.end());
  EXPECT_EQ(payload.bytes, Expected(0));
  tsReceived trailer = Receive(32);
  ASSERT_EQ(trailer.bytes.size(), 32u);
  EXPECT_EQ(Load<uint32_t>(trailer.bytes, 0), 0x54563355u);
  EXPECT_EQ(Load<uint16_t>(trailer.bytes, 6), 32);
  EXPECT_EQ(Load<uint64_t>(trailer.bytes, 8), 0u);
  EXPECT_EQ(Load<uint16_t>(trailer.bytes, 16), 0);
  EXPECT_EQ(Load<uint64_t>(trailer.bytes, 20), 3000u);
  EXPECT_EQ(Load<uint32_t>(trailer.bytes, 28), 30u);
  EXPECT_EQ(Load<uint64_t>(Receive(52).bytes, 8), 1u);  // the next frame
  Receive(2048);
  tsReceived next = Receive(1024);
  EXPECT_EQ(Load<uint64_t>(next.bytes, 0), Load<uint64_t>(Expected(1), 2048));
  EXPECT_EQ(bench_.Camera(0).FramesSent(), 1u);
}

TEST_F(U3vStream, SmallPayloadComesWithAZeroLengthTransfer) {
  Start(0, 1, 1024, 0);
  EXPECT_EQ(Receive(52).bytes.size(), 52u);
  tsReceived empty = Receive(0);
  EXPECT_EQ(empty.result, 0);
  EXPECT_EQ(empty.bytes.size(), 0u);
  EXPECT_EQ(Receive(1024).bytes.size(), 1024u);
  tsReceived trailer = Receive(32);
  EXPECT_EQ(Load<uint16_t>(trailer.bytes, 16), 0xA100);  // 3000 bytes do not fit in 1024
  EXPECT_EQ(Load<uint64_t>(trailer.bytes, 20), 1024u);
}

TEST_F(U3vStream, NothingFlowsWithoutStreamEnableOrAcquisition) {
  Start();
  ASSERT_EQ(host_->WriteMem32(R::kSiControl, 0).status, 0);
  EXPECT_EQ(Receive(52, 100).result, LIBUSB_ERROR_TIMEOUT);
  ASSERT_EQ(host_->WriteMem32(R::kSiControl, 1).status, 0);
  ASSERT_EQ(host_->WriteMem32(R::kAcquisitionStop, 1).status, 0);
  EXPECT_EQ(Receive(52, 100).result, LIBUSB_ERROR_TIMEOUT);
  ASSERT_EQ(host_->WriteMem32(R::kAcquisitionStart, 1).status, 0);
  EXPECT_EQ(Receive(52).bytes.size(), 52u);
}

TEST(U3vStreamOptions, AcquiringCameraStreamsOnceEnabled) {
  tcU3vCameraBench bench;
  tsU3vCameraOptions options;
  options.acquiring = true;
  options.width = 64;
  options.height = 16;
  bench.AddCamera(options);
  tcU3vHost host;
  ASSERT_TRUE(host.Open());
  ASSERT_EQ(libusb_claim_interface(host.Handle(), 2), 0);
  ASSERT_EQ(host.WriteMem32(R::kSiPayloadTransferSize, 1024).status, 0);
  ASSERT_EQ(host.WriteMem32(R::kSiPayloadTransferCount, 1).status, 0);
  ASSERT_EQ(host.WriteMem32(R::kSiControl, 1).status, 0);
  std::vector<uint8_t> leader(52);
  int transferred = 0;
  EXPECT_EQ(libusb_bulk_transfer(host.Handle(), kStream, leader.data(), 52, &transferred, 2000), 0);
  EXPECT_EQ(transferred, 52);
  EXPECT_EQ(Load<uint32_t>(leader, 0), 0x4C563355u);
}

TEST_F(U3vStream, SingleFrameModeStopsAfterOneFrame) {
  Start();
  ASSERT_EQ(host_->WriteMem32(R::kAcquisitionMode, 1).status, 0);
  for (size_t size : {52, 2048, 1024, 32})
    EXPECT_EQ(Receive(size).result, 0);
  EXPECT_EQ(host_->Read32(R::kAcquisitionActive), 0u);
  EXPECT_EQ(Receive(52, 100).result, LIBUSB_ERROR_TIMEOUT);
}

TEST_F(U3vStream, TrailerStatusOnDemand) {
  Start();
  bench_.Camera(0).SetTrailerStatus(0xA101);
  for (size_t size : {52, 2048, 1024})
    Receive(size);
  tsReceived trailer = Receive(32);
  EXPECT_EQ(Load<uint16_t>(trailer.bytes, 16), 0xA101);
  EXPECT_EQ(Load<uint64_t>(trailer.bytes, 20), 3000u);
}

TEST_F(U3vStream, FailedAndShortPayloadTransfers) {
  Start();
  bench_.Camera(0).FailPayloads(1);
  Receive(52);
  EXPECT_EQ(Receive(2048).result, LIBUSB_ERROR_IO);
  EXPECT_EQ(Receive(1024).bytes.size(), 952u);
  tsReceived trailer = Receive(32);
  EXPECT_EQ(Load<uint16_t>(trailer.bytes, 16), 0xA100);
  EXPECT_EQ(Load<uint64_t>(trailer.bytes, 20), 952u);
  bench_.Camera(0).ShortenPayloads(1);
  Receive(52);
  EXPECT_EQ(Receive(2048).bytes.size(), 1024u);
  EXPECT_EQ(Receive(1024).bytes.size(), 952u);
  EXPECT_EQ(Load<uint64_t>(Receive(32).bytes, 20), 1976u);
}

TEST_F(U3vStream, TooSmallTransferOverflows) {
  Start();
  EXPECT_EQ(Receive(40).result, LIBUSB_ERROR_OVERFLOW);
}

TEST_F(U3vStream, HaltedEndpointStallsUntilCleared) {
  Start();
  Receive(52);
  bench_.HaltStream(0);
  EXPECT_EQ(Receive(2048).result, LIBUSB_ERROR_PIPE);
  EXPECT_EQ(Receive(2048).result, LIBUSB_ERROR_PIPE);
  ASSERT_EQ(libusb_clear_halt(host_->Handle(), kStream), 0);
  tsReceived leader = Receive(52);  // the abandoned frame is not resumed
  EXPECT_EQ(Load<uint32_t>(leader.bytes, 0), 0x4C563355u);
  EXPECT_EQ(Load<uint64_t>(leader.bytes, 8), 0u);
}

TEST_F(U3vStream, SetFeatureHaltAndClearFeatureOnEndpointZero) {
  Start();
  ASSERT_EQ(libusb_control_transfer(host_->Handle(), 0x02, 3, 0, kStream, nullptr, 0, 1000), 0);
  EXPECT_EQ(Receive(52).result, LIBUSB_ERROR_PIPE);
  ASSERT_EQ(libusb_control_transfer(host_->Handle(), 0x02, 1, 0, kStream, nullptr, 0, 1000), 0);
  EXPECT_EQ(Receive(52).result, 0);
}

}  // namespace

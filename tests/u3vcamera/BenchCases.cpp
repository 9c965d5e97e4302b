// What the emulation costs: a GenCP round trip, and the bulk IN rate of the streaming endpoint
// with several transfers in flight. The figures are recorded as test properties.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>

#include "tcU3vCameraBench.h"
#include "tcU3vHost.h"
#include "tcU3vRegisters.h"

namespace {

using R = tcU3vRegisters;
using namespace std::chrono_literals;

TEST(U3vBench, GenCpRoundTrip) {
  tcU3vCameraBench bench;
  bench.AddCamera({});
  tcU3vHost host;
  ASSERT_TRUE(host.Open());
  constexpr int kRounds = 1000;
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kRounds; ++i)
    ASSERT_EQ(host.ReadMem(R::kWidth, 4).status, 0);
  auto each =
      std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start) / kRounds;
  RecordProperty("genCp_round_trip_us", static_cast<int>(each.count()));
  printf("GenCP READMEM of 4 bytes: %.0f us per round trip\n", each.count());
  EXPECT_LT(each.count(), 50000.0);  // generous: the figure is what matters, on a loaded machine
}

struct tsStreamLoad {
  tcU3vHost* host;
  uint64_t bytes = 0;
  uint64_t trailers = 0;
  bool stopping = false;
  int inFlight = 0;
};

void LIBUSB_CALL OnStreamTransfer(libusb_transfer* transfer) {
  auto* load = static_cast<tsStreamLoad*>(transfer->user_data);
  load->bytes += static_cast<uint64_t>(transfer->actual_length);
  if (transfer->length == 32 && transfer->actual_length == 32) ++load->trailers;
  if (load->stopping || transfer->status != LIBUSB_TRANSFER_COMPLETED ||
      libusb_submit_transfer(transfer) != 0) {
    --load->inFlight;
  }
}

// Frames of 4 MiB in 1 MiB transfers, two frames' transfers (8 x 1 MiB) in flight.
TEST(U3vBench, BulkInLimit) {
  tcU3vCameraBench bench;
  tsU3vCameraOptions options;
  options.width = 2048;
  options.height = 2048;
  bench.AddCamera(options);
  tcU3vHost host;
  ASSERT_TRUE(host.Open());
  ASSERT_EQ(libusb_claim_interface(host.Handle(), 2), 0);
  for (auto [address, value] : {std::pair{R::kTestPattern, 0u},
                                {R::kFrameRate, 0x447A0000u},  // 1000.0f
                                {R::kSiMaxLeaderSize, 52u},
                                {R::kSiMaxTrailerSize, 32u},
                                {R::kSiPayloadTransferSize, 1u << 20},
                                {R::kSiPayloadTransferCount, 4u},
                                {R::kAcquisitionStart, 1u}}) {
    ASSERT_EQ(host.WriteMem32(address, value).status, 0);
  }
  tsStreamLoad load{&host};
  const int sizes[] = {52, 1 << 20, 1 << 20, 1 << 20, 1 << 20, 32};
  std::vector<std::vector<uint8_t>> buffers;
  std::vector<libusb_transfer*> transfers;
  for (int frame = 0; frame < 2; ++frame) {
    for (int size : sizes) {
      buffers.emplace_back(static_cast<size_t>(size));
      transfers.push_back(libusb_alloc_transfer(0));
      libusb_fill_bulk_transfer(transfers.back(), host.Handle(), 0x83, buffers.back().data(), size,
                                OnStreamTransfer, &load, 0);
      ASSERT_EQ(libusb_submit_transfer(transfers.back()), 0);
      ++load.inFlight;
    }
  }
  ASSERT_EQ(host.WriteMem32(R::kSiControl, 1).status, 0);
  timeval tick{0, 10000};
  auto start = std::chrono::steady_clock::now();
  while (std::chrono::steady_clock::now() - start < 1s)
    libusb_handle_events_timeout(host.Context(), &tick);
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const uint64_t bytes = load.bytes;
  const uint64_t frames = load.trailers;
  load.stopping = true;
  for (libusb_transfer* transfer : transfers)
    libusb_cancel_transfer(transfer);
  auto deadline = std::chrono::steady_clock::now() + 2s;
  while (load.inFlight > 0 && std::chrono::steady_clock::now() < deadline)
    libusb_handle_events_timeout(host.Context(), &tick);
  EXPECT_EQ(load.inFlight, 0);
  for (libusb_transfer* transfer : transfers)
    libusb_free_transfer(transfer);
  const double megabytes = static_cast<double>(bytes) / 1e6 / seconds;
  RecordProperty("bulk_in_MB_per_s", static_cast<int>(megabytes));
  RecordProperty("frames_per_s", static_cast<int>(static_cast<double>(frames) / seconds));
  printf("bulk IN: %.0f MB/s, %.1f frames/s of 4 MiB\n", megabytes,
         static_cast<double>(frames) / seconds);
  EXPECT_GT(frames, 0u);
}

}  // namespace

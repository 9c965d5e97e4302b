// How the emulated camera behaves as a USB device over time: an idle host does not spin,
// discarded URBs complete as cancelled, and an unplugged camera ends its URBs and vanishes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <vector>

#include "tcU3vCameraBench.h"
#include "tcU3vHost.h"

namespace {

using namespace std::chrono_literals;

struct tsTransferDone {
  bool done = false;
  libusb_transfer_status status = LIBUSB_TRANSFER_COMPLETED;
};

void LIBUSB_CALL OnTransfer(libusb_transfer* transfer) {
  auto* done = static_cast<tsTransferDone*>(transfer->user_data);
  done->status = transfer->status;
  done->done = true;
}

// An IN transfer on the acknowledge endpoint, which stays pending until the camera has an answer.
libusb_transfer* SubmitAckRead(tcU3vHost& host, std::vector<uint8_t>& buffer,
                               tsTransferDone* done) {
  libusb_transfer* transfer = libusb_alloc_transfer(0);
  libusb_fill_bulk_transfer(transfer, host.Handle(), 0x81, buffer.data(),
                            static_cast<int>(buffer.size()), OnTransfer, done, 0);
  EXPECT_EQ(libusb_submit_transfer(transfer), 0);
  return transfer;
}

void WaitFor(tcU3vHost& host, const tsTransferDone& done) {
  auto deadline = std::chrono::steady_clock::now() + 2s;
  timeval tick{0, 10000};
  while (!done.done && std::chrono::steady_clock::now() < deadline)
    libusb_handle_events_timeout(host.Context(), &tick);
}

double ProcessCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

TEST(U3vLifecycle, IdleEventLoopUsesNoMeasurableCpu) {
  tcU3vCameraBench bench;
  bench.AddCamera({});
  tcU3vHost host;
  ASSERT_TRUE(host.Open());
  std::vector<uint8_t> buffer(512);
  tsTransferDone done;
  libusb_transfer* transfer = SubmitAckRead(host, buffer, &done);
  const double cpuBefore = ProcessCpuSeconds();
  auto end = std::chrono::steady_clock::now() + 1s;
  timeval tick{0, 100000};
  while (std::chrono::steady_clock::now() < end)
    libusb_handle_events_timeout(host.Context(), &tick);
  const double cpu = ProcessCpuSeconds() - cpuBefore;
  RecordProperty("idle_cpu_ms_per_s", static_cast<int>(cpu * 1000));
  EXPECT_LT(cpu, 0.02);  // under 2% of a core, with a URB pending
  EXPECT_FALSE(done.done);
  EXPECT_EQ(bench.UrbsInFlight(0), 1u);
  ASSERT_EQ(libusb_cancel_transfer(transfer), 0);
  WaitFor(host, done);
  EXPECT_EQ(done.status, LIBUSB_TRANSFER_CANCELLED);
  EXPECT_EQ(bench.UrbsInFlight(0), 0u);
  libusb_free_transfer(transfer);
}

TEST(U3vLifecycle, UnplugEndsPendingUrbsThenTheDevice) {
  tcU3vCameraBench bench;
  bench.AddCamera({});
  tcU3vHost host;
  ASSERT_TRUE(host.Open());
  std::vector<uint8_t> buffer(512);
  tsTransferDone done;
  libusb_transfer* transfer = SubmitAckRead(host, buffer, &done);
  bench.Unplug(0);
  WaitFor(host, done);
  EXPECT_TRUE(done.done);
  EXPECT_EQ(done.status, LIBUSB_TRANSFER_NO_DEVICE);
  libusb_free_transfer(transfer);
  EXPECT_EQ(host.ReadMem(0, 4).transferred, LIBUSB_ERROR_NO_DEVICE);
  auto deadline = std::chrono::steady_clock::now() + 2s;
  while (!host.Devices().empty() && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(10ms);
  EXPECT_TRUE(host.Devices().empty());
}

TEST(U3vLifecycle, SeveralCamerasAnswerIndependently) {
  tcU3vCameraBench bench;
  tsU3vCameraOptions options;
  for (uint16_t product = 1; product <= 3; ++product) {
    options.productId = product;
    options.serial = "S" + std::to_string(product);
    bench.AddCamera(options);
  }
  EXPECT_EQ(bench.DeviceNode(2), "/dev/bus/usb/001/004");
  EXPECT_EQ(bench.SysPath(2), "/sys/devices/1-4");
  tcU3vHost hosts[3];
  for (uint16_t product = 1; product <= 3; ++product) {
    ASSERT_TRUE(hosts[product - 1].OpenProduct(product));
    tsGenCpAck ack = hosts[product - 1].ReadMem(0x144, 8);
    EXPECT_EQ(std::string(ack.scd.begin(), ack.scd.begin() + 2), "S" + std::to_string(product));
  }
  EXPECT_EQ(bench.Camera(1).CommandsReceived(), 1u);
}

// A process that closes the device node with a URB waiting loses that URB (noticed at the next
// ioctl of any client): the next client gets its own acknowledges.
TEST(U3vLifecycle, ClosedClientLosesItsUrbs) {
  tcU3vCameraBench bench;
  bench.AddCamera({});
  int fd = open("/dev/bus/usb/001/002", O_RDWR | O_CLOEXEC);
  ASSERT_GE(fd, 0);
  std::vector<uint8_t> buffer(512);
  usbdevfs_urb urb{};
  urb.type = USBDEVFS_URB_TYPE_BULK;
  urb.endpoint = 0x81;
  urb.buffer = buffer.data();
  urb.buffer_length = static_cast<int>(buffer.size());
  ASSERT_EQ(ioctl(fd, USBDEVFS_SUBMITURB, &urb), 0);
  EXPECT_EQ(bench.UrbsInFlight(0), 1u);
  close(fd);
  tcU3vHost host;
  ASSERT_TRUE(host.Open());
  EXPECT_EQ(host.ReadMem(0x144, 8).transferred, 20);
  EXPECT_EQ(bench.UrbsInFlight(0), 0u);
}

}  // namespace

namespace {

TEST(U3vLifecycle, CameraPluggedInLaterAppears) {
  tcU3vCameraBench bench;
  tcU3vHost host;
  EXPECT_TRUE(host.Devices().empty());
  bench.AddCamera({});
  auto deadline = std::chrono::steady_clock::now() + 2s;
  while (host.Devices().empty() && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(10ms);
  ASSERT_EQ(host.Devices().size(), 1u);
  ASSERT_TRUE(host.Open());
  EXPECT_EQ(host.String(5), "U3VEMU0001");
}

}  // namespace

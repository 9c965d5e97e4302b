// tcPortU3V against an emulated camera, its request-id counter set near the wrap: the command
// that carries id 0xFFFF fails, the next one (id 0) succeeds.
#include <gtest/gtest.h>

#include <memory>

#include "tcU3vCameraBench.h"
#include "tcU3vHost.h"
#include "tcU3vRegisters.h"
#include "u3v/UsbOwners.h"
#include "u3v/tcPortU3V.h"

using namespace GenTL;

namespace {

class PortU3VUnit : public ::testing::Test {
 protected:
  // One emulated camera, its control interface claimed by the test host, and a port on it.
  void SetUp() override {
    bench_.AddCamera(tsU3vCameraOptions{});
    host_ = std::make_unique<tcU3vHost>();
    ASSERT_TRUE(host_->Open());
    libusb_config_descriptor* config = nullptr;
    ASSERT_EQ(libusb_get_config_descriptor(libusb_get_device(host_->Handle()), 0, &config), 0);
    config_.reset(config);
    port_ = std::make_unique<tcPortU3V>(nullptr, host_->Handle(), config_.get(), 0);
  }

  GC_ERROR ReadWidth(uint32_t* width) {
    size_t size = sizeof *width;
    return port_->ReadPort(tcU3vRegisters::kWidth, width, &size);
  }
  uint16_t LastRequestId() { return bench_.Camera(0).LastRequestId(); }

  tcU3vCameraBench bench_;
  std::unique_ptr<tcU3vHost> host_;
  tUsbConfig config_;
  std::unique_ptr<tcPortU3V> port_;
};

TEST_F(PortU3VUnit, TheAccessThatUsesRequestId0xFFFFFailsWithIo) {
  port_->SetNextRequestId(0xFFFD);
  uint32_t width = 0;
  ASSERT_EQ(ReadWidth(&width), GC_ERR_SUCCESS);
  ASSERT_EQ(ReadWidth(&width), GC_ERR_SUCCESS);
  EXPECT_EQ(LastRequestId(), 0xFFFEu);
  EXPECT_EQ(ReadWidth(&width), GC_ERR_IO);  // answered correctly, with id 0xFFFF
  EXPECT_EQ(LastRequestId(), 0xFFFFu);
  width = 0;
  EXPECT_EQ(ReadWidth(&width), GC_ERR_SUCCESS);  // id 0 matches again
  EXPECT_EQ(width, 640u);
  EXPECT_EQ(LastRequestId(), 0u);
}

}  // namespace

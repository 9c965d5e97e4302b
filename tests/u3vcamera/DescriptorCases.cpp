// The emulated camera as libusb sees it through the umockdev preload: device, configuration,
// interface association and device info descriptors, and the strings behind them.
#include <gtest/gtest.h>

#include "tcU3vCameraBench.h"
#include "tcU3vHost.h"

namespace {

TEST(U3vDescriptors, DeviceDescriptorCarriesTheOptions) {
  tcU3vCameraBench bench;
  tsU3vCameraOptions options;
  options.productId = 0x4711;
  bench.AddCamera(options);
  tcU3vHost host;
  auto devices = host.Devices();
  ASSERT_EQ(devices.size(), 1u);
  libusb_device_descriptor descriptor{};
  ASSERT_EQ(libusb_get_device_descriptor(devices[0], &descriptor), 0);
  EXPECT_EQ(descriptor.idVendor, 0x1209);
  EXPECT_EQ(descriptor.idProduct, 0x4711);
  EXPECT_EQ(descriptor.bcdUSB, 0x0300);
  EXPECT_EQ(descriptor.bDeviceClass, 0xEF);
  EXPECT_EQ(descriptor.bDeviceSubClass, 0x02);
  EXPECT_EQ(descriptor.bDeviceProtocol, 0x01);
  EXPECT_EQ(descriptor.bNumConfigurations, 1);
  EXPECT_EQ(libusb_get_bus_number(devices[0]), 1);
  EXPECT_EQ(libusb_get_device_address(devices[0]), 2);
}

TEST(U3vDescriptors, ConfigurationHoldsTheIadAndThreeInterfaces) {
  tcU3vCameraBench bench;
  bench.AddCamera({});
  tcU3vHost host;
  auto devices = host.Devices();
  ASSERT_EQ(devices.size(), 1u);
  libusb_config_descriptor* config = nullptr;
  ASSERT_EQ(libusb_get_config_descriptor(devices[0], 0, &config), 0);
  EXPECT_EQ(config->bConfigurationValue, 1);
  ASSERT_EQ(config->bNumInterfaces, 3);
  // The IAD sits between the configuration header and interface 0, so it lands in extra.
  ASSERT_EQ(config->extra_length, 8);
  const uint8_t iad[8] = {8, 0x0B, 0, 3, 0xEF, 0x05, 0x00, 4};
  EXPECT_EQ(std::vector<uint8_t>(config->extra, config->extra + 8),
            std::vector<uint8_t>(iad, iad + 8));
  const uint8_t protocols[3] = {0x00, 0x01, 0x02};
  const uint8_t endpoints[3][2] = {{0x01, 0x81}, {0x82, 0}, {0x83, 0}};
  for (int i = 0; i < 3; ++i) {
    const libusb_interface_descriptor& setting = config->interface[i].altsetting[0];
    EXPECT_EQ(setting.bInterfaceNumber, i);
    EXPECT_EQ(setting.bInterfaceClass, 0xEF);
    EXPECT_EQ(setting.bInterfaceSubClass, 0x05);
    EXPECT_EQ(setting.bInterfaceProtocol, protocols[i]);
    ASSERT_EQ(setting.bNumEndpoints, i == 0 ? 2 : 1);
    for (int e = 0; e < setting.bNumEndpoints; ++e) {
      EXPECT_EQ(setting.endpoint[e].bEndpointAddress, endpoints[i][e]);
      EXPECT_EQ(setting.endpoint[e].bmAttributes, 0x02);
      EXPECT_EQ(setting.endpoint[e].wMaxPacketSize, 1024);
      EXPECT_EQ(setting.endpoint[e].extra_length, 6);  // SuperSpeed companion
    }
  }
  // The device info descriptor follows the control interface.
  const libusb_interface_descriptor& control = config->interface[0].altsetting[0];
  ASSERT_EQ(control.extra_length, 20);
  const uint8_t info[20] = {20, 0x24, 0x01, 0, 0, 1, 0,  0,  0,  1,
                            0,  5,    6,    7, 8, 9, 10, 11, 12, 0x08};
  EXPECT_EQ(std::vector<uint8_t>(control.extra, control.extra + 20),
            std::vector<uint8_t>(info, info + 20));
  libusb_free_config_descriptor(config);
}

TEST(U3vDescriptors, StringsAsTheInfoDescriptorIndexesThem) {
  tcU3vCameraBench bench;
  tsU3vCameraOptions options;
  options.guid = "ABC";
  options.serial = "SN42";
  options.userName = "left";
  bench.AddCamera(options);
  tcU3vHost host;
  ASSERT_TRUE(host.Open());
  EXPECT_EQ(host.String(4), "USB3 Vision Device");
  EXPECT_EQ(host.String(5), "ABC");
  EXPECT_EQ(host.String(6), "GenTL Project");
  EXPECT_EQ(host.String(7), "U3V-Emulator");
  EXPECT_EQ(host.String(8), "Emulators");
  EXPECT_EQ(host.String(9), "1.0");
  EXPECT_EQ(host.String(11), "SN42");
  EXPECT_EQ(host.String(12), "left");
  EXPECT_EQ(host.String(13), "error " + std::to_string(LIBUSB_ERROR_PIPE));
}

TEST(U3vDescriptors, OptionsChangeClassesAndDropDescriptors) {
  tcU3vCameraBench bench;
  tsU3vCameraOptions options;
  options.iadProtocol = 0x01;
  options.infoDescriptor = false;
  options.extraInterfaces = 1;
  bench.AddCamera(options);
  options.iad = false;
  options.vendorId = 0x1234;
  bench.AddCamera(options);
  tcU3vHost host;
  auto devices = host.Devices();
  ASSERT_EQ(devices.size(), 1u);
  libusb_config_descriptor* config = nullptr;
  ASSERT_EQ(libusb_get_config_descriptor(devices[0], 0, &config), 0);
  EXPECT_EQ(config->bNumInterfaces, 2);
  ASSERT_EQ(config->extra_length, 8);
  EXPECT_EQ(config->extra[3], 2);
  EXPECT_EQ(config->extra[6], 0x01);
  EXPECT_EQ(config->interface[0].altsetting[0].extra_length, 0);
  libusb_free_config_descriptor(config);
  auto others = host.Devices(0x1234);
  ASSERT_EQ(others.size(), 1u);
  ASSERT_EQ(libusb_get_config_descriptor(others[0], 0, &config), 0);
  EXPECT_EQ(config->extra_length, 0);
  libusb_free_config_descriptor(config);
}

}  // namespace

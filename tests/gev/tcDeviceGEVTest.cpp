// tcDeviceGEV made from a discovery record: identity fields, display name, MAC comparison and
// the information answers of a closed device.
#include "gev/tcDeviceGEV.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace GenTL;

namespace {

tcDeviceGEV::tsRecord Record(const char* model, uint32_t address, uint8_t macLow) {
  tcDeviceGEV::tsRecord record{};
  const uint8_t mac[6] = {0x00, 0x11, 0x22, 0x33, 0x44, macLow};
  memcpy(record.data() + 0x0A, mac, sizeof mac);
  const uint8_t ip[4] = {static_cast<uint8_t>(address >> 24), static_cast<uint8_t>(address >> 16),
                         static_cast<uint8_t>(address >> 8), static_cast<uint8_t>(address)};
  memcpy(record.data() + 0x24, ip, sizeof ip);
  strcpy(reinterpret_cast<char*>(record.data() + 0x48), "Vendor");
  strcpy(reinterpret_cast<char*>(record.data() + 0x68), model);
  strcpy(reinterpret_cast<char*>(record.data() + 0x88), "1.2");
  memset(record.data() + 0xD8, 'S', 16);  // a serial number that fills its field, no NUL
  return record;
}

std::string Text(tcDeviceGEV& device, int32_t command) {
  char text[128] = "";
  size_t size = sizeof text;
  int32_t type = 0;
  EXPECT_EQ(device.GetInfo(command, &type, text, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(type, INFO_DATATYPE_STRING);
  return text;
}

TEST(DeviceGEVUnit, IdentityFromTheRecord) {
  tcDeviceGEV::tsRecord record = Record("Cam", 0xC0A8010A, 1);  // 192.168.1.10
  EXPECT_EQ(tcDeviceGEV::DeviceId(record), "Cam:SSSSSSSSSSSSSSSS");
  tcDeviceGEV device(record, tcDeviceGEV::DeviceId(record), nullptr, 0x0A000001);
  EXPECT_EQ(Text(device, DEVICE_INFO_DISPLAYNAME), "Cam [192.168.1.10]");
  EXPECT_EQ(Text(device, DEVICE_INFO_ID), "Cam:SSSSSSSSSSSSSSSS");
  EXPECT_EQ(Text(device, DEVICE_INFO_VENDOR), "Vendor");
  EXPECT_EQ(Text(device, DEVICE_INFO_MODEL), "Cam");
  EXPECT_EQ(Text(device, DEVICE_INFO_SERIAL_NUMBER), "SSSSSSSSSSSSSSSS");
  EXPECT_EQ(Text(device, DEVICE_INFO_VERSION), "1.2");
  EXPECT_EQ(Text(device, DEVICE_INFO_TLTYPE), "GEV");
  EXPECT_EQ(Text(device, DEVICE_INFO_USER_DEFINED_NAME), "");
  EXPECT_EQ(device.CameraAddress(), 0xC0A8010Au);
  EXPECT_EQ(device.LocalAddress(), 0x0A000001u);
  EXPECT_EQ(device.seen, 1u);
  EXPECT_EQ(device.RemotePort(), nullptr);
  EXPECT_EQ(device.PortGEV(), nullptr);
}

TEST(DeviceGEVUnit, RediscoveredAtAnotherAddress) {
  tcDeviceGEV device(Record("Cam", 0xC0A8010A, 1), "Cam:1", nullptr, 0x0A000001);
  device.Rediscovered(Record("Cam", 0xC0A80114, 1), 0x0A000005);  // 192.168.1.20
  EXPECT_EQ(device.CameraAddress(), 0xC0A80114u);
  EXPECT_EQ(device.LocalAddress(), 0x0A000005u);
  EXPECT_EQ(Text(device, DEVICE_INFO_DISPLAYNAME), "Cam [192.168.1.20]");
  char small[4];
  size_t size = sizeof small;
  int32_t type = 0;
  EXPECT_EQ(device.GetInfo(DEVICE_INFO_DISPLAYNAME, &type, small, &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(device.GetInfo(DEVICE_INFO_DISPLAYNAME, &type, nullptr, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(size, 19u);
}

TEST(DeviceGEVUnit, SameCameraIsTheSameMac) {
  tcDeviceGEV device(Record("Cam", 1, 1), "Cam:1", nullptr, 0);
  EXPECT_TRUE(device.SameCamera(Record("Other", 2, 1)));
  EXPECT_FALSE(device.SameCamera(Record("Cam", 1, 2)));
}

TEST(DeviceGEVUnit, ClosedDeviceAnswersFrequencyZeroAndAccessStatus) {
  tcDeviceGEV device(Record("Cam", 1, 1), "Cam:1", nullptr, 0);
  uint64_t frequency = 7;
  size_t size = sizeof frequency;
  int32_t type = 0;
  EXPECT_EQ(device.GetInfo(DEVICE_INFO_TIMESTAMP_FREQUENCY, &type, &frequency, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(type, INFO_DATATYPE_UINT64);
  EXPECT_EQ(frequency, 0u);
  EXPECT_EQ(device.AccessStatus(), DEVICE_ACCESS_STATUS_READWRITE);
  EXPECT_EQ(device.Open(DEVICE_ACCESS_READONLY), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_FALSE(device.IsOpen());
}

}  // namespace

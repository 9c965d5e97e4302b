// The descriptor walks: the IAD in the configuration's extra bytes or behind interface 0, and
// the device info descriptor among the control interface's class-specific descriptors.
#include "u3v/U3vDescriptors.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/LogMatch.h"
#include "support/TestModules.h"

namespace {

const std::vector<uint8_t> kIad = {0x08, 0x0B, 0x00, 0x03, 0xEF, 0x05, 0x00, 0x04};
// A device info descriptor of 20 bytes: GUID string 5, vendor 6, model 7, family 8, version 9,
// manufacturer info 10, serial 11, user-defined name 12, speeds 0x0F.
const std::vector<uint8_t> kDeviceInfo = {0x14, 0x24, 0x01, 0x00, 0x00, 0x01, 0x00,
                                          0x00, 0x00, 0x01, 0x00, 0x05, 0x06, 0x07,
                                          0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0F};

std::vector<uint8_t> Join(std::initializer_list<std::vector<uint8_t>> parts) {
  std::vector<uint8_t> bytes;
  for (const auto& part : parts)
    bytes.insert(bytes.end(), part.begin(), part.end());
  return bytes;
}

TEST(U3vDescriptors, FindsTheIadInTheConfigurationExtraBytes) {
  std::vector<uint8_t> extra = Join({{0x04, 0x30, 0x00, 0x00}, kIad});
  tsIAD iad = u3v::FindConfigurationIad(extra, {});
  EXPECT_EQ(iad.bLength, 8u);
  EXPECT_EQ(iad.bDescriptorType, 0x0Bu);
  EXPECT_EQ(iad.bFirstInterface, 0u);
  EXPECT_EQ(iad.bInterfaceCount, 3u);
  EXPECT_EQ(iad.bFunctionClass, 0xEFu);
  EXPECT_EQ(iad.bFunctionSubClass, 0x05u);
  EXPECT_EQ(iad.bFunctionProtocol, 0x00u);
  EXPECT_EQ(iad.iFunction, 4u);
}

TEST(U3vDescriptors, TakesTheIadBehindInterfaceZeroWhenTheConfigurationHasNone) {
  std::vector<uint8_t> behind = {0x08, 0x0B, 0x02, 0x02, 0xEF, 0x05, 0x00, 0x09};
  tsIAD iad = u3v::FindConfigurationIad({}, behind);
  EXPECT_EQ(iad.bLength, 8u);
  EXPECT_EQ(iad.bFirstInterface, 2u);
  EXPECT_EQ(iad.bInterfaceCount, 2u);
  EXPECT_EQ(iad.iFunction, 9u);
}

TEST(U3vDescriptors, PrefersTheConfigurationIad) {
  std::vector<uint8_t> behind = {0x08, 0x0B, 0x02, 0x02, 0xEF, 0x05, 0x00, 0x09};
  EXPECT_EQ(u3v::FindConfigurationIad(kIad, behind).iFunction, 4u);
}

TEST(U3vDescriptors, NoIadGivesLengthZero) {
  EXPECT_EQ(u3v::FindConfigurationIad({}, {}).bLength, 0u);
  EXPECT_EQ(u3v::FindIad(std::vector<uint8_t>{0x04, 0x30, 0x00, 0x00}).bLength, 0u);
}

TEST(U3vDescriptors, AnIadCutShortOrBehindABrokenLengthIsNotFound) {
  EXPECT_EQ(u3v::FindIad(std::vector<uint8_t>(kIad.begin(), kIad.begin() + 7)).bLength, 0u);
  EXPECT_EQ(u3v::FindIad(Join({{0x01, 0x30}, kIad})).bLength, 0u);
  EXPECT_EQ(u3v::FindIad(std::vector<uint8_t>{0x08, 0x0B, 0x00}).bLength, 0u);
  // A descriptor of type 0x0B that claims fewer than 8 bytes is not an IAD.
  EXPECT_EQ(u3v::FindIad(std::vector<uint8_t>{0x04, 0x0B, 0x00, 0x03}).bLength, 0u);
}

TEST(U3vDescriptors, FindsTheDeviceInfoAfterOtherDescriptorsAndLogsEachOne) {
  std::vector<uint8_t> extra = Join({{0x05, 0x24, 0x02, 0x00, 0x00}, kDeviceInfo});
  tsU3VDID info;
  uint64_t before = LogRingTotal();
  ASSERT_TRUE(u3v::FindDeviceInfo(extra, &info));
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: debug \[u3v::FindDeviceInfo\] ptr\[0\]: 0x05 ptr\[1\]: 0x24 ptr\[2\]: 0x02)"))
      << log;
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: debug \[u3v::FindDeviceInfo\] ptr\[0\]: 0x14 ptr\[1\]: 0x24 ptr\[2\]: 0x01)"));
  EXPECT_EQ(info.bLength, 20u);
  EXPECT_EQ(info.iDeviceGUID, 5u);
  EXPECT_EQ(info.iVendorName, 6u);
  EXPECT_EQ(info.iModelName, 7u);
  EXPECT_EQ(info.iDeviceVersion, 9u);
  EXPECT_EQ(info.iSerialNumber, 11u);
  EXPECT_EQ(info.iUserDefinedName, 12u);
  EXPECT_EQ(info.bmSpeedSupport, 0x0Fu);
}

TEST(U3vDescriptors, DeviceInfoOfWrongTypeSubtypeOrLengthIsSkipped) {
  tsU3VDID info;
  std::vector<uint8_t> other = kDeviceInfo;
  other[2] = 0x02;
  EXPECT_FALSE(u3v::FindDeviceInfo(other, &info));
  other = kDeviceInfo;
  other[1] = 0x21;
  EXPECT_FALSE(u3v::FindDeviceInfo(other, &info));
  other = std::vector<uint8_t>(kDeviceInfo.begin(), kDeviceInfo.begin() + 19);
  other[0] = 19;
  EXPECT_FALSE(u3v::FindDeviceInfo(other, &info));
}

TEST(U3vDescriptors, DeviceInfoWalkStopsAtBrokenLengthsAndShortData) {
  tsU3VDID info;
  EXPECT_FALSE(u3v::FindDeviceInfo(std::vector<uint8_t>{0x14}, &info));
  EXPECT_FALSE(u3v::FindDeviceInfo({}, &info));
  EXPECT_FALSE(u3v::FindDeviceInfo(Join({{0x00, 0x24}, kDeviceInfo}), &info));
  EXPECT_FALSE(u3v::FindDeviceInfo(Join({{0x01, 0x24}, kDeviceInfo}), &info));
  // A descriptor that claims more than is there ends the walk.
  EXPECT_FALSE(u3v::FindDeviceInfo(Join({{0x30, 0x24, 0x02}, kDeviceInfo}), &info));
  // The device info itself cut short.
  EXPECT_FALSE(u3v::FindDeviceInfo(
      std::vector<uint8_t>(kDeviceInfo.begin(), kDeviceInfo.begin() + 12), &info));
}

}  // namespace

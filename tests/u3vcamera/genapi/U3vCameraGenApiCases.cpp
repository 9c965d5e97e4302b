// u3v-camera's GenApi description in Aravis's GenApi engine, over the camera's own memory: the
// features read and write the registers the camera acts on.
#include <gtest/gtest.h>

#include "ArvPortDevice.h"
#include "tcReadCycleCheck.h"
#include "tcU3vRegisters.h"

namespace {

using R = tcU3vRegisters;

class U3vCameraGenApi : public ::testing::Test {
 protected:
  U3vCameraGenApi()
      : registers_(tsU3vCameraOptions{}),
        device_(NewPortDevice(
            {[this](uint64_t address, void* buffer, size_t size) {
               return registers_.Read(address, {static_cast<uint8_t*>(buffer), size}) == 0;
             },
             [this](uint64_t address, const void* buffer, size_t size) {
               return registers_.Write(address, {static_cast<const uint8_t*>(buffer), size}) == 0;
             }})),
        gc_(NewGenApi(device_.get(), registers_.Xml())) {
    UseRegisterCache(gc_.get(), false);
  }

  R registers_;
  tcGObjectPtr<ArvDevice> device_;
  tcGObjectPtr<ArvGc> gc_;
};

TEST_F(U3vCameraGenApi, DescriptionLoadsWithoutReadCycles) {
  ASSERT_NE(gc_, nullptr);
  EXPECT_TRUE(tcReadCycleCheck(registers_.Xml()).CyclePaths().empty());
  std::vector<std::string> features;
  ASSERT_EQ(GetCategoryFeatures(gc_.get(), "Root", &features), "");
  EXPECT_EQ(features, (std::vector<std::string>{"DeviceControl", "ImageFormatControl",
                                                "AcquisitionControl", "TransportLayerControl"}));
}

TEST_F(U3vCameraGenApi, IdentityComesFromTheAbrm) {
  std::string text;
  ASSERT_EQ(GetString(gc_.get(), "DeviceVendorName", &text), "");
  EXPECT_EQ(text, "GenTL Project");
  ASSERT_EQ(GetString(gc_.get(), "DeviceModelName", &text), "");
  EXPECT_EQ(text, "U3V-Emulator");
  ASSERT_EQ(GetString(gc_.get(), "DeviceSerialNumber", &text), "");
  EXPECT_EQ(text, "U3V0001");
  ASSERT_EQ(SetString(gc_.get(), "DeviceUserID", "bench"), "");
  ASSERT_EQ(GetString(gc_.get(), "DeviceUserID", &text), "");
  EXPECT_EQ(text, "bench");
}

TEST_F(U3vCameraGenApi, ImageFormatDrivesThePayloadSize) {
  int64_t value = 0;
  ASSERT_EQ(GetInteger(gc_.get(), "Width", &value), "");
  EXPECT_EQ(value, 640);
  ASSERT_EQ(GetInteger(gc_.get(), "PayloadSize", &value), "");
  EXPECT_EQ(value, 640 * 480);
  std::vector<std::pair<std::string, int64_t>> entries;
  ASSERT_EQ(GetEnumEntryValues(gc_.get(), "PixelFormat", &entries), "");
  EXPECT_EQ(entries.size(), 5u);
  ASSERT_EQ(SetEnumeration(gc_.get(), "PixelFormat", "Mono12p"), "");
  ASSERT_EQ(SetInteger(gc_.get(), "Height", 100), "");
  ASSERT_EQ(GetInteger(gc_.get(), "PayloadSize", &value), "");
  EXPECT_EQ(value, 640 * 100 * 12 / 8);
  EXPECT_EQ(registers_.Get(R::kSiRequiredPayloadSize, 8), 640u * 100 * 12 / 8);
  ASSERT_EQ(SetEnumeration(gc_.get(), "PixelFormat", "RGB8"), "");
  ASSERT_EQ(GetInteger(gc_.get(), "PayloadSize", &value), "");
  EXPECT_EQ(value, 640 * 100 * 3);
}

TEST_F(U3vCameraGenApi, AcquisitionFeatures) {
  double rate = 0;
  ASSERT_EQ(GetFloat(gc_.get(), "AcquisitionFrameRate", &rate), "");
  EXPECT_EQ(rate, 30.0);
  std::string entry;
  ASSERT_EQ(GetEnumeration(gc_.get(), "TestPattern", &entry), "");
  EXPECT_EQ(entry, "GreyHorizontalRamp");
  ASSERT_EQ(SetEnumeration(gc_.get(), "AcquisitionMode", "SingleFrame"), "");
  EXPECT_EQ(registers_.Get(R::kAcquisitionMode), 1u);
  ASSERT_EQ(ExecuteCommand(gc_.get(), "AcquisitionStart"), "");
  EXPECT_EQ(registers_.Get(R::kAcquisitionStart), 1u);
}

}  // namespace

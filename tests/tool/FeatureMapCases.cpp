// tcFeatureMap: from feature names and values to register writes, on the shipped camera file
// and on small descriptions made for the purpose.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tcFeatureMap.h"
#include "tcToolError.h"

namespace {

using tBytes = std::vector<uint8_t>;

const tcFeatureMap& CameraFile() {
  static const tcFeatureMap map = [] {
    std::ifstream file(SIMCAM_DEFAULT_XML);
    std::ostringstream text;
    text << file.rdbuf();
    return tcFeatureMap(text.str());
  }();
  return map;
}

// The message of the tcToolError that resolving throws, or "".
std::string ErrorOf(const tcFeatureMap& map, const std::string& name, const std::string& value) {
  try {
    map.Resolve(name, value);
  } catch (const tcToolError& error) {
    return error.what();
  }
  return "";
}

}  // namespace

TEST(FeatureMap, EnumerationEntryBecomesItsValue) {
  const auto write = CameraFile().Resolve("PixelFormat", "RGB8");
  EXPECT_EQ(write.address, 0x3000u);  // ImageBaseAddress 0x3000 + 0x0
  EXPECT_EQ(write.bytes, (tBytes{0x14, 0x00, 0x18, 0x02}));
  EXPECT_EQ(CameraFile().Resolve("TestPattern", "Grid").bytes, (tBytes{4, 0, 0, 0}));
}

TEST(FeatureMap, IntegerFollowsPValueAndPAddress) {
  const auto write = CameraFile().Resolve("Width", "64");
  EXPECT_EQ(write.address, 0x3050u);
  EXPECT_EQ(write.bytes, (tBytes{64, 0, 0, 0}));
  EXPECT_EQ(CameraFile().Resolve("AcquisitionFramePeriod", "0x1388").address, 0x2010u);
}

TEST(FeatureMap, BooleanAndIntRegByName) {
  EXPECT_EQ(CameraFile().Resolve("IsCameraColor", "true").bytes, (tBytes{1, 0, 0, 0}));
  EXPECT_EQ(CameraFile().Resolve("IsCameraColor", "false").bytes, (tBytes{0, 0, 0, 0}));
  EXPECT_EQ(CameraFile().Resolve("GridOffsetXRegister", "3").address, 0x3010u);
}

TEST(FeatureMap, SaysWhyAFeatureCannotBeSet) {
  EXPECT_EQ(ErrorOf(CameraFile(), "Nope", "1"), "the camera has no feature named \"Nope\".");
  EXPECT_NE(ErrorOf(CameraFile(), "SensorWidth", "1").find("read-only"), std::string::npos);
  EXPECT_NE(ErrorOf(CameraFile(), "AcquisitionFrameRate", "1").find("it is a Converter"),
            std::string::npos);
  EXPECT_NE(ErrorOf(CameraFile(), "PixelFormat", "Mono7").find("no entry \"Mono7\""),
            std::string::npos);
  EXPECT_NE(ErrorOf(CameraFile(), "Width", "wide").find("must be a decimal"), std::string::npos);
}

TEST(FeatureMap, BigEndianRegisterAndSummedAddress) {
  const tcFeatureMap map(R"(<RegisterDescription>
      <Integer Name="Base"><Value>0x100</Value></Integer>
      <Integer Name="Gain"><pValue>GainReg</pValue></Integer>
      <IntReg Name="GainReg"><Address>0x10</Address><Address>0x2</Address>
        <pAddress>Base</pAddress><Length>2</Length><AccessMode>RW</AccessMode>
        <Endianess>BigEndian</Endianess></IntReg>
    </RegisterDescription>)");
  const auto write = map.Resolve("Gain", "0x1234");
  EXPECT_EQ(write.address, 0x112u);
  EXPECT_EQ(write.bytes, (tBytes{0x12, 0x34}));
  EXPECT_NE(ErrorOf(map, "Gain", "0x10000").find("does not fit"), std::string::npos);
}

TEST(FeatureMap, RejectsTextThatIsNotXml) {
  EXPECT_THROW(tcFeatureMap("PK\x03\x04 zipped"), tcToolError);
}

// Regions follow the sensor size, as on a real camera whose maximum size changes: every region
// is clamped when the sensor shrinks, so each stays configurable.
#include "support/SimConsumer.h"

using namespace GenTL;

namespace {

class SimRegionClamp : public SimStreamConsumerTest {
 protected:
  void SelectRegion(uint32_t index) {
    ASSERT_EQ(WriteU32(port_, simcam::kRegionSelector, index), GC_ERR_SUCCESS);
  }
};

TEST_F(SimRegionClamp, ShrinkingTheSensorShrinksThenMovesEveryRegion) {
  SelectRegion(0);
  ASSERT_EQ(WriteU32(port_, simcam::kWidth, 500), GC_ERR_SUCCESS);
  ASSERT_EQ(WriteU32(port_, simcam::kOffsetX, 1400), GC_ERR_SUCCESS);
  ASSERT_EQ(WriteU32(port_, simcam::kSensorWidth, 1000), GC_ERR_SUCCESS);
  ASSERT_EQ(WriteU32(port_, simcam::kSensorHeight, 600), GC_ERR_SUCCESS);
  EXPECT_EQ(ReadU32(port_, simcam::kWidth), 500u);
  EXPECT_EQ(ReadU32(port_, simcam::kOffsetX), 500u);
  EXPECT_EQ(ReadU32(port_, simcam::kHeight), 600u);
  EXPECT_EQ(ReadU32(port_, simcam::kOffsetY), 0u);
  SelectRegion(7);  // never enabled: clamped all the same
  EXPECT_EQ(ReadU32(port_, simcam::kWidth), 1000u);
  EXPECT_EQ(ReadU32(port_, simcam::kHeight), 600u);
}

TEST_F(SimRegionClamp, AnotherRegionIsConfigurableAfterTheSensorShrank) {
  ASSERT_EQ(WriteU32(port_, simcam::kSensorWidth, 800), GC_ERR_SUCCESS);
  SelectRegion(1);
  EXPECT_EQ(WriteU32(port_, simcam::kRegionMode, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(ReadU32(port_, simcam::kRegionMode), 1u);
  EXPECT_EQ(WriteU32(port_, simcam::kRegionMode, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(WriteU32(port_, simcam::kWidth, 400), GC_ERR_SUCCESS);
  EXPECT_EQ(WriteU32(port_, simcam::kOffsetX, 400), GC_ERR_SUCCESS);
  // A write that would leave the sensor is still refused.
  EXPECT_EQ(WriteU32(port_, simcam::kOffsetX, 401), GC_ERR_INVALID_VALUE);
}

}  // namespace

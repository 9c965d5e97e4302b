// Every module description the producer generates is free of read cycles, fetched through the
// module's port as a consumer fetches it (the camera files have their own check).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "support/SimConsumer.h"
#include "tcReadCycleCheck.h"

using ::testing::ElementsAre;

namespace {

class DescriptionReadCycleTest : public SimConsumerTest {
 protected:
  // The read cycles of the description behind `port`; a description that does not parse fails.
  std::vector<std::string> Cycles(void* port) {
    const std::string text = Description(port);
    try {
      return tcReadCycleCheck(text).CyclePaths();
    } catch (const std::runtime_error& error) {
      ADD_FAILURE() << "the description of " << Url(port) << " does not parse: " << error.what();
      return {"(unparsed)"};
    }
  }
};

TEST_F(DescriptionReadCycleTest, System) {
  EXPECT_THAT(Cycles(system_), ElementsAre());
}

TEST_F(DescriptionReadCycleTest, EachInterface) {
  for (const char* id : {"Simulated", "GEV", "U3V"}) {
    SCOPED_TRACE(id);
    void* interface = OpenInterface(id);
    ASSERT_NE(interface, nullptr);
    EXPECT_THAT(Cycles(interface), ElementsAre());
  }
}

TEST_F(DescriptionReadCycleTest, SimulatedDevice) {
  void* device = OpenDevice();
  ASSERT_NE(device, nullptr);
  EXPECT_THAT(Cycles(device), ElementsAre());
}

TEST_F(DescriptionReadCycleTest, SimulatedDataStream) {
  void* device = OpenDevice();
  ASSERT_NE(device, nullptr);
  void* stream = OpenStream(device);
  ASSERT_NE(stream, nullptr);
  EXPECT_THAT(Cycles(stream), ElementsAre());
}

}  // namespace

// LogLevel is read once per process from GENTL_DEBUG; ctest runs this program once per
// variable value with EXPECTED_LOG_LEVEL naming the threshold that value must give.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "base/Log.h"

namespace {

TEST(LogLevel, ThresholdFromEnvironmentKeepsExactlyThatManyLevels) {
  const char* expected = getenv("EXPECTED_LOG_LEVEL");
  ASSERT_NE(expected, nullptr);
  int level = atoi(expected);
  ASSERT_EQ(LogRingTotal(), 0u);
  for (int l = 1; l <= 5; ++l)
    LogPrint(l, "Test::Level", "line at %d", l);
  EXPECT_EQ(LogLevel(), level);
  std::string ring(LogRingTotal(), '\0');
  size_t size = ring.size();
  LogRingRead(0, ring.data(), &size);
  std::string expectedText;
  const char* names[] = {"error", "warning", "info", "debug", "verbose"};
  for (int l = 1; l <= level; ++l) {
    expectedText += std::string("gentl: ") + names[l - 1] + " [Test::Level] line at " +
                    std::to_string(l) + "\n";
  }
  EXPECT_EQ(ring, expectedText);
}

}  // namespace

// The producer's USB3 Vision cases run under the umockdev preload (the test binary re-executes
// itself with it) with every log line on, so that the cases can check them.
#include <gtest/gtest.h>

#include <cstdlib>

#include "U3vPreload.h"

int main(int argc, char** argv) {
  setenv("GENTL_DEBUG", "5", 0);
  EnsureUmockdevPreload(argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

// The emulator tests run under the umockdev preload: the test binary re-executes itself with it.
#include <gtest/gtest.h>

#include "U3vPreload.h"

int main(int argc, char** argv) {
  EnsureUmockdevPreload(argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

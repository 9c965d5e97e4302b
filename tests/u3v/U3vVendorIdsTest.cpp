// The accepted vendor table and its override from GENTL_U3V_VENDOR_IDS.
#include "u3v/U3vVendorIds.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/LogMatch.h"
#include "support/TestModules.h"

namespace {

TEST(U3vVendorIds, DefaultTableWhenTheVariableIsUnset) {
  unsetenv("GENTL_U3V_VENDOR_IDS");
  EXPECT_EQ(u3v::AcceptedVendorIds(), (std::vector<uint16_t>{0x1209, 0x0000}));
}

TEST(U3vVendorIds, TheVariableReplacesTheTableAtEachCall) {
  setenv("GENTL_U3V_VENDOR_IDS", "2a3b, 0x1209,0X04B4", 1);
  EXPECT_EQ(u3v::AcceptedVendorIds(), (std::vector<uint16_t>{0x2A3B, 0x1209, 0x04B4}));
  setenv("GENTL_U3V_VENDOR_IDS", "ffff", 1);
  EXPECT_EQ(u3v::AcceptedVendorIds(), (std::vector<uint16_t>{0xFFFF}));
  unsetenv("GENTL_U3V_VENDOR_IDS");
}

TEST(U3vVendorIds, InvalidTokensAreWarnedAboutAndSkipped) {
  uint64_t before = LogRingTotal();
  EXPECT_EQ(u3v::ParseVendorIds("1209,xyz,12345,,0x,1d6b"),
            (std::vector<uint16_t>{0x1209, 0x1D6B}));
  std::string log = LogSince(before);
  for (const char* token : {"xyz", "12345", "", "0x"}) {
    EXPECT_TRUE(HasLogLine(log, std::string(R"(gentl: warning \[u3v::ParseVendorIds\] )") +
                                    "GENTL_U3V_VENDOR_IDS: \"" + token +
                                    "\" is not a hexadecimal vendor ID, skipped"))
        << token << "\n"
        << log;
  }
}

TEST(U3vVendorIds, AnEmptyVariableAcceptsNoVendor) {
  EXPECT_EQ(u3v::ParseVendorIds(""), std::vector<uint16_t>{});
}

}  // namespace

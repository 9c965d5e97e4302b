// The USB vendor IDs whose USB3 Vision cameras this producer offers, and their override from
// the environment.
#pragma once

#include <cstdint>
#include <vector>

namespace u3v {

// The built-in table U3vAcceptedVendorIds: pid.codes (0x1209) and 0x0000.
inline constexpr uint16_t U3vAcceptedVendorIds[2] = {0x1209, 0x0000};

// Comma-separated hexadecimal IDs ("0x" optional); an invalid token is warned about and
// skipped.
std::vector<uint16_t> ParseVendorIds(const char* text);
// GENTL_U3V_VENDOR_IDS when set (read at each call), else U3vAcceptedVendorIds.
std::vector<uint16_t> AcceptedVendorIds();

}  // namespace u3v

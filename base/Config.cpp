// Environment switches.
#include "base/Config.h"

#include <climits>
#include <cstdlib>
#include <cstring>

namespace config {

bool CompatOpen() {
  const char* value = getenv("GENTL_COMPAT_OPEN");
  return value != nullptr && strcmp(value, "1") == 0;
}

int GevReceiveBuffer() {
  const char* value = getenv("GENTL_GEV_RCVBUF");
  if (value == nullptr) return 0;
  char* end = nullptr;
  long long bytes = strtoll(value, &end, 10);
  bool valid = end != value && *end == '\0' && bytes > 0 && bytes <= INT_MAX;
  return valid ? static_cast<int>(bytes) : 0;
}

bool GevPacketRing() {
  const char* value = getenv("GENTL_GEV_PACKET_RING");
  return value == nullptr || strcmp(value, "0") != 0;
}

}  // namespace config

// Environment switches.
#include "base/Config.h"

#include <cstdlib>
#include <cstring>

namespace config {

bool CompatOpen() {
  const char* value = getenv("GENTL_COMPAT_OPEN");
  return value != nullptr && strcmp(value, "1") == 0;
}

}  // namespace config

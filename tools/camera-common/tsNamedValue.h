// A named value, as an enumeration entry of a GenApi description lists it.
#pragma once

#include <cstdint>

struct tsNamedValue {
  const char* name;
  uint32_t value;
};

// The GenApi description of the emulated USB3 Vision camera.
#pragma once

#include <string>

#include "tsU3vCameraOptions.h"

// Addresses are tcU3vRegisters'; every register is little-endian.
std::string U3vCameraXml(const tsU3vCameraOptions& options);

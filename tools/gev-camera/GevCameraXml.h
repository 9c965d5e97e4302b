// The GenApi description gev-camera serves from its memory (first_url).
#pragma once

#include <string>

#include "tsGevCameraOptions.h"

// The XML text for a camera with `options` (vendor and model name the description).
std::string GevCameraXml(const tsGevCameraOptions& options);
